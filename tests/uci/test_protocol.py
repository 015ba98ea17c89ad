"""The command loop: which lines it serves, what they print, and how it ends."""

import re
import subprocess
import unittest

import grammar
from client import START_FEN, EngineTest, engine_path, run_mode

KIWIPETE = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"
PERFT_REFUSAL = "perft: глибина має бути цілим числом >= 1"


class Identification(EngineTest):
    def test_block(self) -> None:
        self.engine.send("uci", "quit")
        self.assertEqual(self.engine.wait(), 0)
        self.assertEqual(self.engine.stdout.decode(), "\n".join(grammar.IDENTIFICATION) + "\n")
        self.assertEqual(self.engine.stderr, b"")

    def test_nothing_is_printed_unasked(self) -> None:
        self.assertEqual(self.engine.quit(), 0)
        self.assertEqual((self.engine.stdout, self.engine.stderr), (b"", b""))

    def test_block_is_the_same_after_options_changed_and_during_a_search(self) -> None:
        self.engine.send("setoption name Hash value 7", "setoption name Threads value 2")
        self.engine.send("setoption name Move Overhead value 77", "go infinite")
        lines = [line for line in self.engine.answers("uci") if not grammar.is_search_line(line)]
        self.assertEqual(lines, grammar.IDENTIFICATION)


class Lines(EngineTest):
    def test_isready(self) -> None:
        self.engine.send("isready", "isready", "quit")
        self.engine.wait()
        self.assertEqual(self.engine.stdout, b"readyok\nreadyok\n")

    def test_unknown_commands_are_silent(self) -> None:
        commands = ["xyzzy", "debug on", "register later", "ponderhit", "help", "fen", "moves"]
        self.assertEqual(self.engine.answers(*commands, "e2e4", "-1", "#", "?", "1"), [])
        self.assertEqual(self.engine.stderr, b"")

    def test_commands_are_case_sensitive(self) -> None:
        commands = ["UCI", "Uci", "ISREADY", "IsReady", "D", "Go depth 1", "GO", "Perft 1"]
        commands += ["Position", "SetOption name Hash value x", "BenchSearch 1", "QUIT", "Quit"]
        self.assertEqual(self.engine.answers(*commands), [])

    def test_words_that_only_begin_like_a_command(self) -> None:
        self.assertEqual(self.engine.answers("isready2", "ucix", "dd", "gogo", "perft1"), [])

    def test_empty_lines_and_blanks(self) -> None:
        self.engine.send_bytes(b"\n\n   \n\t\n \t \n\r\n\r\r\n\v\n\f\n")
        self.assertEqual(self.engine.answers(), [])

    def test_blanks_around_a_command(self) -> None:
        self.engine.send_bytes(b"  isready\n\tisready\nisready   \nisready\t\nisready \t \r\n")
        self.engine.send_bytes(b"isready\r\nisready\r\r\nisready now\nisready\tnow\n")
        self.engine.send("quit")
        self.assertEqual(self.engine.wait(), 0)
        self.assertEqual(self.engine.stdout, 9 * b"readyok\n")

    def test_lines_ended_as_on_other_systems(self) -> None:
        conversation = "uci\r\nposition startpos moves e2e4\r\nd\r\ngo depth 1\r\n"
        self.engine.send_bytes(conversation.encode())
        lines = self.engine.read_until(grammar.BEST_MOVE)
        after = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1"
        self.assertEqual(lines[:7], grammar.IDENTIFICATION + [f"fen: {after}"])
        self.engine.send_bytes(b"quit\r\n")
        self.assertEqual(self.engine.wait(), 0)
        self.assertNotIn(b"\r", self.engine.stdout + self.engine.stderr)

    def test_tabs_separate_words(self) -> None:
        self.assertEqual(self.engine.answers("position\tstartpos\tmoves\te2e4\te7e5\t"), [])
        fen = "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6 0 2"
        self.assertEqual(self.engine.fen(), fen)

    def test_bytes_that_are_no_text(self) -> None:
        self.engine.send_bytes(b"\xff\xfe\x80\n\x00\n\x00isready\n")
        self.assertEqual(self.engine.answers(), [])
        self.engine.send_bytes(b"position \xff\xfe\n")
        message = "position: невідомий аргумент \"".encode() + b"\xff\xfe"
        message += "\" — позицію не змінено\n".encode()
        self.assertEqual(len(self.engine.answers()), 1)
        self.engine.quit()
        self.assertIn(b"info string " + message, self.engine.stdout)
        self.assertEqual(self.engine.stderr, message)

    def test_a_very_long_line(self) -> None:
        self.assertEqual(self.engine.answers("xyzzy " * 500_000), [])
        self.assertEqual(self.engine.answers("x" * 3_000_000), [])


class End(EngineTest):
    def test_quit(self) -> None:
        self.engine.send("quit", "uci", "isready")
        self.assertEqual(self.engine.wait(), 0)
        self.assertEqual(self.engine.stdout, b"")

    def test_quit_with_arguments_and_blanks(self) -> None:
        for text in (b"quit now\n", b"  quit\n", b"quit\t\n", b"quit\r\n", b"quit"):
            with self.subTest(text):
                self.assertEqual(run_mode(stdin=text).returncode, 0)

    def test_end_of_input(self) -> None:
        self.engine.close_input()
        self.assertEqual(self.engine.wait(), 0)
        self.assertEqual((self.engine.stdout, self.engine.stderr), (b"", b""))

    def test_last_line_without_an_end_is_served(self) -> None:
        result = run_mode(stdin=b"isready\nuci")
        output = "\n".join(["readyok", *grammar.IDENTIFICATION]) + "\n"
        self.assertEqual((result.returncode, result.stdout.decode()), (0, output))

    def test_quit_in_a_search_answers_first(self) -> None:
        for go in ("go infinite", "go", "go depth 100", "go wtime 9000000 btime 9000000"):
            for threads in (1, 3):
                with self.subTest(go, threads=threads):
                    engine = self.start()
                    engine.send(f"setoption name Threads value {threads}", go)
                    engine.read_line()
                    self.assertEqual(engine.quit(), 0)
                    self.assertRegex(engine.rest()[-1], grammar.BEST_MOVE)

    def test_end_of_input_in_a_search_answers_first(self) -> None:
        for go in ("go infinite", "go movetime 9000000"):
            with self.subTest(go):
                engine = self.start()
                engine.send(go)
                engine.read_line()
                engine.close_input()
                self.assertEqual(engine.wait(), 0)
                self.assertRegex(engine.rest()[-1], grammar.BEST_MOVE)

    def test_everything_sent_at_once(self) -> None:
        result = run_mode(stdin=b"uci\nisready\ngo infinite\nquit\n")
        lines = result.stdout.decode().splitlines()
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertEqual(lines[:7], [*grammar.IDENTIFICATION, "readyok"])
        self.assertRegex(lines[-1], rf"^bestmove {grammar.MOVE}$")
        self.assertEqual(sum(line.startswith("bestmove") for line in lines), 1)


class MissingStreams(unittest.TestCase):
    def run_shell(self, redirection: str, text: bytes):
        command = ["sh", "-c", f'exec "$0" {redirection}', engine_path()]
        return subprocess.run(command, input=text, capture_output=True, timeout=60, check=False)

    def test_no_input(self) -> None:
        result = self.run_shell("<&-", b"")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))

    def test_no_standard_error(self) -> None:
        result = self.run_shell("2>&-", b"position x\nisready\n")
        lines = result.stdout.decode().splitlines()
        self.assertEqual((result.returncode, lines[1:]), (0, ["readyok"]))
        self.assertTrue(lines[0].startswith("info string position: "))


class NewGame(EngineTest):
    def test_position_returns_to_the_start(self) -> None:
        self.assertEqual(self.engine.answers(f"position fen {KIWIPETE}", "ucinewgame"), [])
        self.assertEqual(self.engine.fen(), START_FEN)

    def test_search_starts_from_an_empty_table(self) -> None:
        first = self.engine.nodes("ucinewgame", "go depth 8")
        self.assertNotEqual(self.engine.nodes("position startpos", "go depth 8"), first)
        self.assertEqual(self.engine.nodes("ucinewgame", "go depth 8"), first)

    def test_stops_a_search(self) -> None:
        self.engine.send("go infinite")
        self.engine.read_line()
        lines = self.engine.answers("ucinewgame")
        self.assertRegex(lines[-1], grammar.BEST_MOVE)


class Display(EngineTest):
    def test_start_position(self) -> None:
        self.assertEqual(self.engine.answers("d"), [f"fen: {START_FEN}"])
        self.assertEqual(self.engine.answers("d all of it"), [f"fen: {START_FEN}"])

    def test_during_a_search(self) -> None:
        self.engine.send(f"position fen {KIWIPETE}", "go infinite")
        lines = [line for line in self.engine.answers("d") if not grammar.is_search_line(line)]
        self.assertEqual(lines, [f"fen: {KIWIPETE}"])
        self.assertEqual(self.engine.answers("stop")[-1].split()[0], "bestmove")


class Perft(EngineTest):
    def test_start_position(self) -> None:
        lines = self.engine.answers("perft 1")
        self.assertEqual(lines[-2:], ["", "Nodes searched: 20"])
        self.assertEqual(len(lines), 22)
        self.assertTrue(all(re.fullmatch(f"{grammar.MOVE}: 1", line) for line in lines[:-2]))

    def test_depth_is_1_when_none_follows(self) -> None:
        self.assertEqual(self.engine.answers("perft"), self.engine.answers("perft 1"))

    def test_counts(self) -> None:
        self.assertEqual(self.engine.answers("perft 4")[-1], "Nodes searched: 197281")
        self.engine.send(f"position fen {KIWIPETE}")
        self.assertEqual(self.engine.answers("perft 3")[-1], "Nodes searched: 97862")
        self.assertEqual(self.engine.fen(), KIWIPETE)

    def test_same_as_the_mode(self) -> None:
        self.engine.send(f"position fen {KIWIPETE}")
        mode = run_mode("perft", KIWIPETE, "2").stdout.decode().splitlines()
        self.assertEqual(self.engine.answers("perft 2"), mode)

    def test_moves_into_check_are_left_out(self) -> None:
        self.engine.send("position fen 4r2k/8/8/8/8/8/4N3/r3K3 w - - 0 1")
        lines = self.engine.answers("perft 1")
        self.assertEqual(sorted(lines), ["", "Nodes searched: 2", "e1d2: 1", "e1f2: 1"])

    def test_without_moves(self) -> None:
        self.engine.send("position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1")
        self.assertEqual(self.engine.answers("perft 3"), ["", "Nodes searched: 0"])

    def test_refused_depths(self) -> None:
        for depth in ("0", "-1", "-2147483648", "x", "1x", "1.5", "1025", "99999999999", "abc 3"):
            with self.subTest(depth):
                self.assert_info_string(self.engine.answers(f"perft {depth}"), PERFT_REFUSAL)
        self.engine.quit()
        self.assertEqual(self.engine.stderr.decode(), 9 * (PERFT_REFUSAL + "\n"))

    def test_depth_up_to_the_room_in_the_history(self) -> None:
        # Mate: nothing is counted, so the greatest depth ends at once.
        fen = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3"
        self.engine.send(f"position fen {fen}")
        self.assertEqual(self.engine.answers("perft 1024"), ["", "Nodes searched: 0"])
        self.engine.send("position startpos moves f2f3 e7e5 g2g4 d8h4")
        self.assertEqual(self.engine.answers("perft 1020"), ["", "Nodes searched: 0"])
        self.assert_info_string(self.engine.answers("perft 1021"), PERFT_REFUSAL)

    def test_does_not_stop_a_search(self) -> None:
        self.engine.send("go infinite")
        self.engine.read_line()
        lines = [line for line in self.engine.answers("perft 3") if re.match("Nodes|best", line)]
        self.assertEqual(lines, ["Nodes searched: 8902"])
        self.assertRegex(self.engine.answers("stop")[-1], grammar.BEST_MOVE)


class BenchSearch(EngineTest):
    def counts(self, lines: list[str]) -> list[tuple[str, ...]]:
        matches = [re.fullmatch(grammar.BENCH_POSITION, line) for line in lines[-11:-1]]
        return [match.group(1, 2, 3, 4, 5, 6, 9) for match in matches]

    def bench(self, command: str) -> list[str]:
        self.engine.send(command)
        return self.engine.read_until(grammar.BENCH_TOTAL, 600)

    def test_ten_lines_and_a_total(self) -> None:
        lines = self.bench("benchsearch 3")
        self.assertEqual(len(lines), 11)
        self.assertEqual([c[:2] for c in self.counts(lines)], [(str(i), "3") for i in range(1, 11)])

    def test_default_depth(self) -> None:
        commands = ["benchsearch", "benchsearch x", "benchsearch 99999999999", "benchsearch 0"]
        for command in [*commands, "benchsearch -3", "benchsearch -99999999999"]:
            with self.subTest(command):
                engine = self.start()
                engine.send(command)
                line = engine.read_line(600)
                self.assertEqual(re.fullmatch(grammar.BENCH_POSITION, line)[2], "11")
                engine.abandon()

    def test_what_follows_the_depth_is_ignored(self) -> None:
        self.assertEqual(self.counts(self.bench("benchsearch 2 9"))[0][1], "2")
        self.assertEqual(self.counts(self.bench("benchsearch 2x"))[0][1], "2")

    def test_stops_a_search_and_leaves_the_position(self) -> None:
        self.engine.send(f"position fen {KIWIPETE}", "go infinite")
        self.engine.read_line()
        lines = self.bench("benchsearch 1")
        self.assertRegex(lines[-12], grammar.BEST_MOVE)
        self.assertEqual(self.engine.fen(), KIWIPETE)
        self.assert_legal(self.engine, self.engine.best_move("go depth 3"))


class DuringASearch(EngineTest):
    def test_isready_is_answered_and_the_search_goes_on(self) -> None:
        self.engine.send("go infinite")
        for _ in range(50):
            lines = self.engine.answers()
            self.assertTrue(all(map(grammar.is_search_line, lines)), lines)
        last = self.engine.answers("stop")
        self.assertRegex(last[-1], grammar.BEST_MOVE)
        self.assertEqual(sum(line.startswith("bestmove") for line in last), 1)

    def test_unknown_commands_do_not_stop_it(self) -> None:
        self.engine.send("go infinite")
        lines = self.engine.answers("xyzzy", "ponderhit", "", "setoption name Nothing value 1")
        self.assertTrue(all(map(grammar.is_search_line, lines)), lines)

    def test_stop_without_a_search_is_silent(self) -> None:
        self.assertEqual(self.engine.answers("stop", "stop"), [])
        self.engine.search("go depth 1")
        self.assertEqual(self.engine.answers("stop", "stop"), [])


if __name__ == "__main__":
    unittest.main()
