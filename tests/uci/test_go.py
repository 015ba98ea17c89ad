"""The `go` command: its limits, the lines of the search, and its answer under any limit."""

import itertools
import os
import re
import time
import unittest

import grammar
from client import Engine, EngineTest

DATA = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "data")

# The fifty-move rule ends every line after one move: any depth is reached at once.
LAST_MOVE = "position fen 8/8/4k3/8/8/3K4/8/8 w - - 99 80"
RICH = "position fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"
BLACK_TO_MOVE = "position startpos moves e2e4"
MATED = "position startpos moves f2f3 e7e5 g2g4 d8h4"
STALEMATED = "position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"

ITERATION = re.compile(
    rf"info depth (?P<depth>\d+) seldepth (?P<seldepth>\d+) score (?P<score>{grammar.SCORE})"
    r" nodes (?P<nodes>\d+) nps (?P<nps>\d+) time (?P<time>\d+) pv (?P<pv>.+)"
)


def first_move(line: str) -> str:
    return line.partition(" pv ")[2].split()[0]


def without_a_helpers_line(lines: list[str], depth: int) -> list[str]:
    """Of a search by several threads: a helper's line comes last, if its move is another."""
    *_, own, last, best = lines
    if len(depths(lines)) == depth + 1 and depths([last])[0] >= depth \
            and best == f"bestmove {first_move(last)}" and first_move(own) != first_move(last):
        return [*lines[:-2], best]
    return lines


def depths(lines: list[str]) -> list[int]:
    return [int(m["depth"]) for line in lines if (m := ITERATION.fullmatch(line))]


def sample_positions(count: int) -> list[str]:
    with open(os.path.join(DATA, "positions.epd"), encoding="utf-8") as file:
        fens = [line.strip() for line in file if line.strip() and line[0] != "#"]
    return fens[:: max(len(fens) // count, 1)]


class Depth(EngineTest):
    def test_one_line_an_iteration_then_the_answer(self) -> None:
        lines = self.engine.search("go depth 7")
        self.assertEqual(depths(lines), [1, 2, 3, 4, 5, 6, 7])
        self.assertEqual(len(lines), 8)
        self.assertEqual(lines[-1].split()[1], ITERATION.fullmatch(lines[-2])["pv"].split()[0])

    def test_fields_of_an_iteration(self) -> None:
        nodes = 0
        for line in self.engine.search(RICH, "go depth 9")[:-1]:
            fields = ITERATION.fullmatch(line)
            self.assertGreaterEqual(int(fields["seldepth"]), 0)
            self.assertGreater(int(fields["nodes"]), nodes)
            nodes, elapsed = int(fields["nodes"]), int(fields["time"])
            speed = nodes * 1000 // elapsed if elapsed else 0
            self.assertEqual(int(fields["nps"]), speed, line)
            moves = fields["pv"]
            self.assertEqual(self.engine.answers(f"{RICH} moves {moves}"), [], "illegal pv")

    def test_below_1_searches_nothing(self) -> None:
        for depth in ("0", "-1", "-2147483648", "-99999999999"):
            with self.subTest(depth):
                self.assertEqual(self.engine.search(f"go depth {depth}"), ["bestmove 0000"])

    def test_is_capped_at_128(self) -> None:
        for depth in ("128", "129", "2147483647", "99999999999"):
            with self.subTest(depth):
                lines = self.engine.search("ucinewgame", LAST_MOVE, f"go depth {depth}")
                self.assertEqual(depths(lines), list(range(1, 129)))

    def test_is_100_by_default(self) -> None:
        for go in ("go", "go depth", "go x", "go Depth 3", "go nodes 0", "go movetime 0",
                   "go wtime -5 btime -5", "go winc 1000 binc 1000", "go movestogo 5"):
            with self.subTest(go):
                lines = self.engine.search("ucinewgame", LAST_MOVE, go)
                self.assertEqual(depths(lines)[-1], 100)

    def test_is_read_like_a_stream_reads_it(self) -> None:
        for text, depth in (("+3", 3), ("3x", 3), ("3.7", 3), ("003", 3), ("3 depth 2", 2)):
            with self.subTest(text):
                self.assertEqual(depths(self.engine.search(f"go depth {text}"))[-1], depth)

    def test_value_that_is_no_number_is_0_and_ends_the_list(self) -> None:
        self.assertEqual(self.engine.search("go depth abc"), ["bestmove 0000"])
        self.assertEqual(self.engine.search("go depth abc depth 3"), ["bestmove 0000"])
        self.assertEqual(self.engine.search("go depth depth 3"), ["bestmove 0000"])
        self.assertEqual(depths(self.engine.search("go depth 2 movetime x depth 4")), [1, 2])
        self.assertEqual(depths(self.engine.search("go depth 2 nodes x infinite")), [1, 2])

    def test_blanks_between_words(self) -> None:
        self.assertEqual(depths(self.engine.search("go\t depth \t 2 ")), [1, 2])


class UnknownWords(EngineTest):
    def test_are_skipped_one_by_one(self) -> None:
        for go in ("go ponder depth 3", "go searchmoves e2e4 d2d4 depth 3", "go mate 5 depth 3",
                   "go depth 3 ponder", "go 7 depth 3", "go perft 5 depth 3", "go - depth 3"):
            with self.subTest(go):
                self.assertEqual(depths(self.engine.search(go)), [1, 2, 3])

    def test_words_after_them_still_count(self) -> None:
        lines = self.engine.search("go depth 3 movetime 90000 ponder wtime 3000")
        self.assertEqual(depths(lines), [1, 2, 3])
        lines = self.engine.search("ucinewgame", "go ponder wtime 50")
        self.assertRegex(lines[-1], grammar.BEST_MOVE)

    def test_searchmoves_does_not_restrict(self) -> None:
        best = self.engine.best_move("ucinewgame", "go depth 6")
        restricted = self.engine.best_move("ucinewgame", "go searchmoves a2a3 depth 6")
        self.assertEqual(restricted, best)


class NoMoves(EngineTest):
    def test_mated(self) -> None:
        for go in ("go depth 5", "go", "go movetime 1", "go depth 0", "go wtime 1000"):
            with self.subTest(go):
                lines = self.engine.search(MATED, go)
                self.assertEqual(lines, ["info depth 0 score mate 0", "bestmove 0000"])

    def test_stalemated(self) -> None:
        for go in ("go depth 5", "go", "go nodes 1"):
            with self.subTest(go):
                lines = self.engine.search(STALEMATED, go)
                self.assertEqual(lines, ["info depth 0 score cp 0", "bestmove 0000"])

    def test_infinite_waits_for_stop(self) -> None:
        self.engine.send(MATED, "go infinite")
        self.assertEqual(self.engine.read_line(), "info depth 0 score mate 0")
        self.assertEqual(self.engine.answers(), [])
        self.assertEqual(self.engine.answers("stop"), ["bestmove 0000"])

    def test_with_more_threads(self) -> None:
        self.engine.send("setoption name Threads value 4")
        lines = self.engine.search(MATED, "go depth 5")
        self.assertEqual(lines, ["info depth 0 score mate 0", "bestmove 0000"])


class Mate(EngineTest):
    def test_given(self) -> None:
        lines = self.engine.search("position fen 7k/8/5KQ1/8/8/8/8/8 w - - 0 1", "go depth 4")
        self.assertRegex(lines[-2], " score mate 1 ")
        self.assertEqual(lines[-1], "bestmove g6g7")

    def test_suffered(self) -> None:
        # The only move runs into the mate.
        lines = self.engine.search("position fen 7k/8/6KQ/8/8/8/8/8 b - - 0 1", "go depth 6")
        self.assertRegex(lines[-2], " score mate -1 ")
        self.assertEqual(lines[-1], "bestmove h8g8")


class DrawnRoots(EngineTest):
    """A game that the rules could end here still gets a move."""

    def test_fifty_moves_are_over(self) -> None:
        for fen in ("4k3/8/8/8/8/8/R7/4K3 w - - 100 90", "4k3/8/8/8/8/8/R7/4K3 b - - 100 90"):
            with self.subTest(fen):
                self.engine.send(f"position fen {fen}")
                for go in ("go depth 6", "go movetime 50", "go nodes 1"):
                    self.assert_legal(self.engine, self.engine.best_move(go))

    def test_repeated_three_times(self) -> None:
        moves = " ".join(3 * ["g1f3", "g8f6", "f3g1", "f6g8"])
        self.engine.send(f"position startpos moves {moves}")
        self.assert_legal(self.engine, self.engine.best_move("go depth 6"))

    def test_nothing_left_to_mate_with(self) -> None:
        for fen in ("4k3/8/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/8/2B1K3 b - - 0 1"):
            with self.subTest(fen):
                self.engine.send(f"position fen {fen}")
                self.assert_legal(self.engine, self.engine.best_move("go depth 6"))


class Infinite(EngineTest):
    def test_answers_only_when_stopped(self) -> None:
        self.engine.send(LAST_MOVE, "go infinite")
        while depths([self.engine.read_line()]) != [128]:
            pass
        time.sleep(0.2)
        self.assertEqual(self.engine.answers(), [])
        lines = self.engine.answers("stop")
        self.assertEqual(len(lines), 1)
        self.assertRegex(lines[0], grammar.BEST_MOVE)

    def test_overrides_a_depth(self) -> None:
        for go in ("go depth 1 infinite", "go infinite depth 1"):
            with self.subTest(go):
                self.engine.send("ucinewgame", go)
                while depths([self.engine.read_line()]) != [3]:
                    pass
                self.assertRegex(self.engine.answers("stop")[-1], grammar.BEST_MOVE)

    def test_no_progress_lines_without_a_clock(self) -> None:
        self.engine.send(RICH, "go infinite")
        time.sleep(1.5)
        for line in self.engine.answers("stop")[:-1]:
            self.assertIsNotNone(ITERATION.fullmatch(line), line)

    def test_stop_right_behind(self) -> None:
        for threads in (1, 4):
            self.engine.send(f"setoption name Threads value {threads}", RICH)
            legal = self.engine.legal_moves()
            for _ in range(50):
                lines = self.engine.answers("go infinite", "stop")
                best = [line.split()[1] for line in lines if line.startswith("bestmove")]
                self.assertEqual(len(best), 1)
                self.assertIn(best[0], legal)


class Nodes(EngineTest):
    def test_limit(self) -> None:
        lines = self.engine.search(RICH, "go nodes 20000")
        nodes = [int(m["nodes"]) for line in lines if (m := ITERATION.fullmatch(line))]
        self.assertGreater(nodes[-1], 1000)
        self.assertLess(nodes[-1], 21000)  # a quiescence search is not cut off in the middle

    def test_limit_repeats(self) -> None:
        first = self.engine.search("ucinewgame", RICH, "go nodes 30000")
        second = self.engine.search("ucinewgame", RICH, "go nodes 30000")
        self.assertEqual(*([re.sub(f" {grammar.SPEED}", "", line) for line in lines] for lines in (first, second)))

    def test_1(self) -> None:
        best = self.engine.best_move(RICH, "go nodes 1")
        self.assert_legal(self.engine, best)

    def test_below_1_is_none(self) -> None:
        for go in ("go nodes 0 depth 3", "go nodes -1 depth 3", "go depth 3 nodes",
                   "go depth 3 nodes -9223372036854775808"):
            with self.subTest(go):
                self.assertEqual(depths(self.engine.search(go)), [1, 2, 3])

    def test_64_bits(self) -> None:
        for number in ("4294967297", "9223372036854775807"):
            with self.subTest(number):
                lines = self.engine.search(f"go nodes {number} depth 4")
                self.assertEqual(depths(lines), [1, 2, 3, 4])
        lines = self.engine.search("go depth 4 nodes 99999999999999999999")
        self.assertEqual(depths(lines), [1, 2, 3, 4])


class Clock(EngineTest):
    def test_movetime_ends_the_search_not_before_its_time(self) -> None:
        start = time.monotonic()
        best = self.engine.best_move(RICH, "go movetime 500")
        self.assertGreaterEqual(time.monotonic() - start, 0.49)  # 10 ms are kept back
        self.assert_legal(self.engine, best)

    def test_only_the_clock_of_the_side_to_move_counts(self) -> None:
        for position, mine, other in (("position startpos", "wtime", "btime"),
                                      (BLACK_TO_MOVE, "btime", "wtime")):
            with self.subTest(position):
                self.engine.best_move(position, f"go {mine} 60 {other} 90000000")
                self.engine.send("ucinewgame", position, f"go {other} 60")
                time.sleep(0.3)
                lines = self.engine.answers()
                self.assertFalse(any(line.startswith("bestmove") for line in lines))
                self.assertRegex(self.engine.answers("stop")[-1], grammar.BEST_MOVE)

    def test_a_clock_ends_the_search(self) -> None:
        for go in ("go wtime 2000 btime 1", "go wtime 2000 winc 100", "go wtime 2000 movestogo 1",
                   "go wtime 2000 winc 100000", "go wtime 2000 movestogo 1000"):
            with self.subTest(go):
                lines = self.engine.search("ucinewgame", RICH, go)
                last = [m for line in lines if (m := ITERATION.fullmatch(line))][-1]
                self.assertLess(int(last["time"]), 10000)  # far more than a busy machine needs

    def test_progress_lines_tell_the_iteration_in_progress(self) -> None:
        self.engine.send(RICH, "go wtime 100000000")
        completed = 0
        for _ in range(1000):
            line = self.engine.read_line()
            if re.fullmatch(grammar.PROGRESS, line):
                break
            completed = depths([line])[0]
        self.assertEqual(int(line.split()[2]), completed + 1)
        self.engine.answers("stop")

    def test_depth_ends_a_search_with_a_clock(self) -> None:
        for go in ("go depth 3 wtime 90000000", "go movetime 90000000 depth 3"):
            with self.subTest(go):
                lines = [x for x in self.engine.search(go) if not re.match(grammar.PROGRESS, x)]
                self.assertEqual(depths(lines), [1, 2, 3])


class ExtremeLimits(EngineTest):
    LIMITS = ["go nodes 1", "go movetime 1", "go wtime 1 btime 1", "go depth 1",
              "go wtime 1 btime 1 winc -1000 binc -1000", "go wtime 1000 btime 1000 winc -100000"
              " binc -100000", "go wtime 1 btime 1 movestogo 1", "go nodes 2 movetime 1",
              "go wtime 40 btime 40 movestogo 2147483647",
              "go wtime 2147483647 btime 2147483647 winc 2147483647 binc 2147483647 depth 3",
              "go wtime 100 btime 100 winc -2147483648 binc -2147483648", "go infinite"]

    def run_limits(self, engine: Engine, positions: list[str]) -> None:
        for fen, go in zip(positions, itertools.cycle(self.LIMITS)):
            with self.subTest(fen, go=go):
                engine.send(f"position fen {fen}")
                legal = engine.legal_moves() or ["0000"]
                # Captures of dozens of queens go on without end, and limits do not cut them off.
                endless = "infinite" in go or fen.lower().count("q") > 12
                self.assertIn(engine.best_move(go, *(["stop"] if endless else [])), legal)

    def test_the_answer_is_legal(self) -> None:
        self.run_limits(self.engine, sample_positions(400))

    def test_the_answer_is_legal_with_more_threads(self) -> None:
        self.engine.send("setoption name Threads value 4")
        self.run_limits(self.engine, sample_positions(200))


class GoBehindGo(EngineTest):
    def test_each_is_answered(self) -> None:
        lines = self.engine.answers("go infinite", "go infinite", "go depth 3", "stop")
        self.assertEqual(sum(line.startswith("bestmove") for line in lines), 3)

    def test_the_second_searches_its_own_position(self) -> None:
        mate = "position fen 7k/8/5KQ1/8/8/8/8/8 w - - 0 1"
        for _ in range(20):
            lines = self.engine.answers(RICH, "go infinite", mate, "go infinite", "stop")
            best = [line.split()[1] for line in lines if line.startswith("bestmove")]
            self.assertEqual(len(best), 2)
            self.engine.send(mate)
            self.assertIn(best[1], self.engine.legal_moves())

    def test_limits_do_not_carry_over(self) -> None:
        self.engine.search("ucinewgame", "go depth 2 nodes 100 movetime 1")
        self.assertEqual(depths(self.engine.search("go depth 6"))[-1], 6)


class Threads(EngineTest):
    def test_main_thread_reports_alone(self) -> None:
        self.engine.send("setoption name Threads value 4")
        for fen in sample_positions(10):
            with self.subTest(fen):
                self.engine.send(f"position fen {fen}")
                legal = self.engine.legal_moves()
                lines = self.engine.search("go depth 8")
                if legal:
                    own = without_a_helpers_line(lines, 8)
                    self.assertEqual(depths(own), list(range(1, 9)))
                    self.assertEqual(len(own), 9)
                    self.assertEqual(first_move(lines[-2]), lines[-1].split()[1])
                    self.assertIn(lines[-1].split()[1], legal)


if __name__ == "__main__":
    unittest.main()
