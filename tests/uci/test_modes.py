"""The command-line modes: output and exit status, byte for byte where the output is known."""

import os
import re
import unittest

import grammar
from client import START_FEN, run_mode

KIWIPETE = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"
MATED = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3"
BAD_FEN = "невалідний FEN\n"
DATA = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "data")


def divide(a: int, b: int) -> int:
    """The quotient rounded toward zero."""
    return abs(a) // b * (1 if a >= 0 else -1)


def bad_depth(word: str) -> str:
    return f"{word}: глибина має бути цілим числом >= 1\n"


class ModeTest(unittest.TestCase):
    maxDiff = None

    def run_ok(self, *arguments: str, stdin: bytes = b"") -> str:
        """Standard output of a run that must succeed and leave standard error empty."""
        result = run_mode(*arguments, stdin=stdin)
        self.assertEqual((result.returncode, result.stderr), (0, b""), arguments)
        return result.stdout.decode()

    def assert_fails(self, arguments: list[str], message: str) -> None:
        with self.subTest(arguments):
            result = run_mode(*arguments, stdin=b"isready\n")
            self.assertEqual(result.returncode, 1)
            self.assertEqual((result.stdout, result.stderr), (b"", message.encode()))


class ProtocolLoop(ModeTest):
    def assert_speaks_uci(self, *arguments: str) -> None:
        """What standard error tells then is in test_introduction.py."""
        result = run_mode(*arguments, stdin=b"isready\nquit\n")
        self.assertEqual((result.returncode, result.stdout), (0, b"readyok\n"))

    def test_words_that_are_no_mode(self) -> None:
        for word in ("uci", "go", "", " ", "PERFT", "Bench", "BENCHSEARCH", "--help", "-h",
                     "benches", "benchsearch ", " bench", "perf", "quit"):
            for more in ([], ["1"], [START_FEN, "2"]):
                with self.subTest(word=word, more=more):
                    self.assert_speaks_uci(word, *more)

    def test_modes_without_their_arguments(self) -> None:
        for arguments in (["perft"], ["perft", START_FEN], ["evaltrace"], ["featureexport"],
                          ["featureexport", "only-one-path"]):
            with self.subTest(arguments):
                self.assert_speaks_uci(*arguments)

    def test_modes_do_not_enter_it(self) -> None:
        for arguments in (["perft", START_FEN, "1"], ["benchsearch", "1"],
                          ["evaltrace", START_FEN]):
            with self.subTest(arguments):
                output = self.run_ok(*arguments, stdin=b"isready\nuci\n")
                self.assertNotIn("readyok", output)
                self.assertNotIn("uciok", output)


class Perft(ModeTest):
    def counts(self, output: str) -> tuple[dict[str, int], int]:
        """The count of each move, and the total."""
        *moves, empty, total = output.removesuffix("\n").split("\n")
        self.assertEqual(empty, "")
        pairs = [re.fullmatch(rf"({grammar.MOVE}): (\d+)", line).groups() for line in moves]
        return {move: int(n) for move, n in pairs}, int(total.removeprefix("Nodes searched: "))

    def test_known_output(self) -> None:
        fen = "8/8/8/8/8/5k2/7p/7K w - - 0 1"
        self.assertEqual(self.run_ok("perft", fen, "1"), "h1h2: 1\n\nNodes searched: 1\n")
        fen = "7k/P7/8/8/8/8/7p/7K w - - 0 1"  # promotions, and a king's move
        lines = self.run_ok("perft", fen, "1").split("\n")
        moves = ["a7a8q: 1", "a7a8r: 1", "a7a8b: 1", "a7a8n: 1", "h1g2: 1", "h1h2: 1"]
        self.assertEqual(sorted(lines[:-3]), sorted(moves))
        self.assertEqual(lines[-3:], ["", "Nodes searched: 6", ""])

    def test_start_position(self) -> None:
        moves, total = self.counts(self.run_ok("perft", START_FEN, "1"))
        pawns = [f"{file}2{file}{rank}" for file in "abcdefgh" for rank in "34"]
        self.assertEqual(sorted(moves), sorted(pawns + ["b1a3", "b1c3", "g1f3", "g1h3"]))
        self.assertEqual((set(moves.values()), total), ({1}, 20))

    def test_the_total_is_the_sum(self) -> None:
        for fen, depth, nodes in ((START_FEN, 5, 4865609), (KIWIPETE, 4, 4085603),
                                  ("8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", 6, 11030083)):
            with self.subTest(fen):
                moves, total = self.counts(self.run_ok("perft", fen, str(depth)))
                self.assertEqual((sum(moves.values()), total), (nodes, nodes))

    def test_without_moves(self) -> None:
        for depth in ("1", "4", "1024"):
            self.assertEqual(self.run_ok("perft", MATED, depth), "\nNodes searched: 0\n")

    def test_more_arguments_are_ignored(self) -> None:
        output = self.run_ok("perft", START_FEN, "2")
        self.assertEqual(self.run_ok("perft", START_FEN, "2", "x", "9"), output)

    def test_depth_is_read_strictly(self) -> None:
        output = self.run_ok("perft", START_FEN, "2")
        for depth in (" 2 ", "+2", "\t2\n", "002"):
            self.assertEqual(self.run_ok("perft", START_FEN, depth), output)
        for depth in ("0", "-1", "x", "", " ", "2x", "1.5", "0x2", "2 2", "2147483648", "1025",
                      "2147483647", "99999999999999999999"):
            self.assert_fails(["perft", START_FEN, depth], bad_depth("perft"))

    def test_bad_fen(self) -> None:
        for fen in ("", "x", "8/8/8/8/8/8/8/8 w - - 0 1", START_FEN.replace("w", "x"),
                    "4k3/4R3/8/8/8/8/8/4K3 w - - 0 1"):
            self.assert_fails(["perft", fen, "3"], BAD_FEN)

    def test_the_depth_is_looked_at_first(self) -> None:
        self.assert_fails(["perft", "x", "y"], bad_depth("perft"))
        self.assert_fails(["perft", "x", "0"], bad_depth("perft"))
        self.assert_fails(["perft", "x", "1025"], bad_depth("perft"))


class BenchSearch(ModeTest):
    def test_lines(self) -> None:
        for depth in (1, 2, 6):
            with self.subTest(depth):
                *positions, total = self.run_ok("benchsearch", str(depth)).splitlines()
                self.assertEqual(len(positions), 10)
                sums = [0, 0, 0]
                for i, line in enumerate(positions, 1):
                    fields = re.fullmatch(grammar.BENCH_POSITION, line)
                    self.assertIsNotNone(fields, line)
                    self.assertEqual((int(fields[1]), int(fields[2])), (i, depth))
                    self.assertEqual(fields[9].split()[0], fields[3], "pv starts elsewhere")
                    nodes, qnodes, elapsed, speed = map(int, fields.group(5, 6, 7, 8))
                    self.assertLessEqual(qnodes, nodes)
                    self.assertEqual(speed, nodes * 1000 // elapsed if elapsed else 0)
                    sums = [a + b for a, b in zip(sums, (nodes, qnodes, elapsed))]
                speed = sums[0] * 1000 // sums[2] if sums[2] else 0
                expected = f"bench: {sums[0]} nodes {sums[1]} qnodes {sums[2]} ms {speed} nps"
                self.assertEqual(total, expected)

    def test_pv_is_playable(self) -> None:
        fens = [START_FEN, KIWIPETE]  # the first two positions
        lines = self.run_ok("benchsearch", "7").splitlines()
        for fen, line in zip(fens, lines):
            pv = re.fullmatch(grammar.BENCH_POSITION, line)[9]
            command = f"position fen {fen} moves {pv}\nisready\n"
            self.assertEqual(self.run_ok(stdin=command.encode()), "readyok\n")

    def test_depth_is_read_strictly(self) -> None:
        for depth in (" 1 ", "+1", "01"):
            self.assertRegex(self.run_ok("benchsearch", depth), r"\Apos 1 depth 1 ")
        for depth in ("0", "-1", "x", "", " ", "1x", "1.0", "2147483648"):
            self.assert_fails(["benchsearch", depth], bad_depth("benchsearch"))

    def test_more_arguments_are_ignored(self) -> None:
        self.assertRegex(self.run_ok("benchsearch", "1", "x"), r"\Apos 1 depth 1 ")


class EvalTrace(ModeTest):
    LABELS = ["material+psqt", "king", "bishop pair", "mobility", "king safety", "rooks (files)",
              "pawns", "total"]

    def test_start_position(self) -> None:
        expected = (
            "eval trace (з точки зору білих, mg / eg):\n"
            "  material+psqt    0 /  0\n"
            "  king             0 /  0\n"
            "  bishop pair      0 /  0\n"
            "  mobility         0 /  0\n"
            "  king safety      0 /  0\n"
            "  rooks (files)    0 /  0\n"
            "  pawns            0 /  0\n"
            "  ----------------\n"
            "  total            0 /  0\n"
            "  phase           24 / 24\n"
            "  eg scale        64 / 64\n"
            "  final (white)   0\n"
            "  final (stm=w)      0\n"
        )
        self.assertEqual(self.run_ok("evaltrace", START_FEN), expected)
        black = START_FEN.replace(" w ", " b ")
        self.assertEqual(self.run_ok("evaltrace", black, "x"), expected.replace("=w", "=b"))

    def test_numbers_belong_together(self) -> None:
        with open(os.path.join(DATA, "positions.epd"), encoding="utf-8") as file:
            fens = file.read().splitlines()[::13]
        for fen in fens:
            with self.subTest(fen):
                self.check(fen, self.run_ok("evaltrace", fen).splitlines())

    def check(self, fen: str, lines: list[str]) -> None:
        self.assertEqual(len(lines), 14)
        self.assertEqual(lines[0], "eval trace (з точки зору білих, mg / eg):")
        self.assertEqual(lines.pop(8), "  ----------------")
        pairs = []
        for label, line in zip(self.LABELS, lines[1:9]):
            self.assertRegex(line, r"^  .{16}( \d+|-\d+) / ( \d+|-\d+)$")
            self.assertEqual(line[2:18], f"{label:16}")
            pairs.append(tuple(int(n) for n in line[18:].split(" / ")))
        total = tuple(map(sum, zip(*pairs[:-1])))
        self.assertEqual(pairs[-1], total)

        phase = int(re.fullmatch(r"  phase           (\d+) / 24", lines[9])[1])
        scale = int(re.fullmatch(r"  eg scale        (\d+) / 64", lines[10])[1])
        white = int(re.fullmatch(r"  final \(white\)   (-?\d+)", lines[11])[1])
        side = fen.split()[1]
        own = re.fullmatch(rf"  final \(stm={side}\)      (-?\d+)", lines[12])
        self.assertEqual(int(own[1]), white if side == "w" else -white)

        blended = divide(phase * total[0] + divide(scale * total[1], 64) * (24 - phase), 24)
        clock = min(int(fen.split()[4]), 100)
        self.assertEqual(white, divide(blended * (200 - clock), 200))

    def test_bad_fen(self) -> None:
        for fen in ("", "x", "8/8/8/8/8/8/8/8 w - - 0 1"):
            self.assert_fails(["evaltrace", fen], BAD_FEN)


class EgScale(ModeTest):
    KNOWN = [
        (START_FEN, 64),
        ("4k3/p7/8/2b5/2B5/8/P7/4K3 w - - 0 1", 32),  # bishops of different colours
        ("4k3/2b5/8/8/8/8/8/R3K3 w - - 0 1", 8),  # rook against bishop
        ("4k3/8/8/8/8/8/8/2NNK3 w - - 0 1", 0),  # two knights
        ("4k3/2nn4/8/8/8/8/8/4K3 b - - 0 1", 0),  # the same for Black
        ("7k/8/8/8/2B5/8/7P/4K3 w - - 0 1", 0),  # the wrong bishop
        ("7k/8/8/8/1B6/8/7P/4K3 w - - 0 1", 64),  # and the right one
        ("k7/8/8/8/8/8/P7/K7 w - - 0 1", 0),  # a pawn that does not win
        ("8/4P3/4K3/8/8/8/8/k7 w - - 0 1", 64),  # and one that does
        ("8/8/4k3/8/8/3K4/8/8 w - - 0 1", 8),  # nothing left
        ("4k3/8/8/8/8/8/8/3QK3 b - - 0 1", 64),  # a queen more
    ]

    def test_known_scales(self) -> None:
        text = "".join(fen + "\n" for fen, _ in self.KNOWN)
        expected = "".join(f"{scale}\n" for _, scale in self.KNOWN)
        self.assertEqual(self.run_ok("egscale", stdin=text.encode()), expected)
        self.assertEqual(self.run_ok("egscale", "x", "y", stdin=text.encode()), expected)

    def test_empty_input(self) -> None:
        self.assertEqual(self.run_ok("egscale"), "")

    def test_text_after_a_semicolon_is_ignored(self) -> None:
        text = f"{START_FEN};D1 20;D2 400\n{START_FEN} ; x\n; {START_FEN}\n{START_FEN};"
        self.assertEqual(self.run_ok("egscale", stdin=text.encode()), "64\n64\nerr\n64\n")

    def test_bad_lines_do_not_end_it(self) -> None:
        text = f"x\n{START_FEN}\n\n   \n8/8/8/8/8/8/8/8 w - - 0 1\n{START_FEN}"
        output = self.run_ok("egscale", stdin=text.encode())
        self.assertEqual(output, "err\n64\nerr\nerr\nerr\n64\n")

    def test_a_bad_line_is_not_served_with_the_position_before(self) -> None:
        knights = self.KNOWN[3][0]
        illegal = "4k3/4R3/8/8/8/8/8/4K3 w - - 0 1"  # found out only after it was set up
        text = f"{knights}\n{illegal}\nx\n{knights}\n"
        self.assertEqual(self.run_ok("egscale", stdin=text.encode()), "0\nerr\nerr\n0\n")

    def test_lines_ended_as_on_other_systems(self) -> None:
        text = f"{START_FEN}\r\n{START_FEN};x\r\n\r\n"
        self.assertEqual(self.run_ok("egscale", stdin=text.encode()), "64\n64\nerr\n")


class Bench(ModeTest):
    def test_output(self) -> None:
        expected = (
            "pos 1: 4865609 nodes\n"
            "pos 2: 193690690 nodes\n"
            "pos 3: 674624 nodes\n"
            "Total: 199230923 nodes\n"
        )
        self.assertEqual(self.run_ok("bench", "ignored"), expected)


if __name__ == "__main__":
    unittest.main()
