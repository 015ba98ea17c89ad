"""What a GUI shows is right: every line of hundreds of searches of all kinds, judged by a library.

MORVANE_SEARCHES=20000 makes so many of them, MORVANE_SEED=2 others.
"""

from __future__ import annotations

import os
import random
import threading
import time
import unittest
from collections import defaultdict

from client import START_FEN, EngineTest
from display import (ANOTHER_MATE, ANOTHER_MOVE, BACKWARDS, ILLEGAL_VARIATION, KINDS,
                     MALFORMED_LINE, NO_VARIATION, NOT_THE_END, OTHER_MATE, PAST_REPETITION,
                     WRONG_DEPTH, WRONG_SPEED, Display)
from library import Rules
from rules import Position
from test_rules import OPENINGS, lines_of

SEARCHES = int(os.environ.get("MORVANE_SEARCHES", "300"))
SEED = int(os.environ.get("MORVANE_SEED", "1"))
LONGEST = 0.4  # seconds after which any search is stopped: boards full of queens take minutes

# Mates in a few moves, for either side.
MATES = (
    "7k/8/5K2/8/8/8/8/R7 w - - 0 1",
    "8/8/8/8/8/4k3/7q/4K3 b - - 0 1",
    "k7/8/2K5/8/8/8/8/1Q6 w - - 0 1",
    "k7/8/1K6/8/8/8/8/7R b - - 0 1",
    "6k1/5ppp/8/8/8/8/5PPP/3RR1K1 w - - 0 1",
    "3rr1k1/5ppp/8/8/8/8/5PPP/R5K1 b - - 0 1",
    "8/1P6/k1K5/8/8/8/8/8 w - - 0 1",
    "8/8/8/8/8/1k6/1q6/K7 w - - 0 1",
    "5rk1/5ppp/8/6N1/8/1B6/5PPP/2Q3K1 w - - 0 1",
    "kbK5/pp6/1P6/8/8/8/8/R7 w - - 0 1",
)
# Mates and stalemates that stand on the board.
ENDS = (
    "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3",
    "R5k1/5ppp/8/8/8/8/5PPP/6K1 b - - 1 1",
    "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1",
    "8/8/8/8/8/2k5/2p5/2K5 w - - 0 1",
    "k7/P7/K7/8/8/8/8/8 b - - 99 120",
)


class Searches:
    """What to search and how: positions as commands, and limits, by chance."""

    def __init__(self, seed: int) -> None:
        self._random = random.Random(seed)
        self._many = [*lines_of("positions.epd"), *lines_of(OPENINGS)[:40]]
        self._tactics = [line.partition(" bm ")[0] + " 0 1" for line in lines_of("tactics.epd")]

    def chance(self, probability: float) -> bool:
        return self._random.random() < probability

    def pause(self) -> float:
        return self._random.uniform(0, 0.03)

    def position(self) -> tuple[str, list[str]]:
        """A FEN and moves to be played from it."""
        kinds = (self._any, self._tactical, self._mating, self._near_the_fifty_move_rule,
                 self._repeated, self._ended)
        return self._random.choices(kinds, (45, 15, 10, 14, 14, 2))[0]()

    def _any(self) -> tuple[str, list[str]]:
        return self._random.choice(self._many), []

    def _tactical(self) -> tuple[str, list[str]]:
        return self._random.choice(self._tactics), []

    def _mating(self) -> tuple[str, list[str]]:
        return self._random.choice(MATES), []

    def _ended(self) -> tuple[str, list[str]]:
        return self._random.choice(ENDS), []

    def _near_the_fifty_move_rule(self) -> tuple[str, list[str]]:
        fields = self._random.choice(self._many + self._tactics + list(MATES)).split()
        return " ".join([*fields[:3], "-", str(self._random.randint(85, 101)), "80"]), []

    def _repeated(self) -> tuple[str, list[str]]:
        """Two pieces have gone to and fro, once or twice, and perhaps away again."""
        while True:
            fen = self._random.choice(self._many)
            position, moves = Position(fen), []
            for _ in range(2):
                quiet = sorted(move for move in position.legal_moves()
                               if self._is_quiet(position, move))
                if not quiet:
                    break
                moves.append(self._random.choice(quiet))
                position.play(moves[-1])
            back = [move[2:] + move[:2] for move in moves]
            round_trip = [*moves, *back]
            if len(moves) == 2 and self._are_legal(fen, round_trip):
                wanted = self._random.choice((4, 6, 8, 9))
                return fen, (2 * round_trip + moves)[:wanted]

    @staticmethod
    def _is_quiet(position: Position, move: str) -> bool:
        after = position.copy()
        after.play(move)
        return after.clock > 0 and after.castling == position.castling

    @staticmethod
    def _are_legal(fen: str, moves: list[str]) -> bool:
        position = Position(fen)
        for move in moves:
            if move not in position.legal_moves():
                return False
            position.play(move)
        return True

    def limits(self) -> str:
        number = self._random.randint
        return self._random.choice((
            f"depth {number(1, 10)}",
            f"nodes {number(1, 40000)}",
            f"movetime {number(1, 25)}",
            f"wtime {number(20, 1500)} btime {number(20, 1500)} winc {number(0, 20)} binc 5",
            f"wtime {number(20, 600)} btime {number(20, 600)} movestogo {number(1, 40)}",
            "infinite",
        ))


class SearchesAreShown(EngineTest):
    def setUp(self) -> None:
        super().setUp()
        self.rules = Rules()
        self.addCleanup(self.rules.close)
        self.display = Display(self.rules)
        self.searches = Searches(SEED)

    def settings(self) -> int:
        """Changes options now and then; returns the number of threads."""
        if self.searches.chance(0.2):
            self.engine.send("ucinewgame")
        if self.searches.chance(0.1):
            self.engine.send(f"setoption name Hash value {16 if self.searches.chance(0.5) else 1}")
        threads = 2 if self.searches.chance(0.25) else 1
        self.engine.send(f"setoption name Threads value {threads}")
        return threads

    def search(self, command: str, limits: str) -> list[str]:
        pause = self.searches.pause() if limits == "infinite" else LONGEST
        stop = threading.Timer(pause, self.engine.send, ["stop"])
        self.engine.send(command, f"go {limits}")
        stop.start()
        lines = self.engine.read_until("bestmove .*")
        stop.cancel()
        stop.join()
        return lines

    def test_searches(self) -> None:
        found: dict[str, list[str]] = defaultdict(list)
        start = time.monotonic()
        for number in range(SEARCHES):
            threads = self.settings()
            fen, moves = self.searches.position()
            command = f"position fen {fen}" + (" moves " + " ".join(moves) if moves else "")
            limits = self.searches.limits()
            lines = self.search(command, limits)
            root = self.rules.play(fen, moves).exact
            for kind, what in self.display.faults(root, lines, threads):
                found[kind].append(
                    f"search {number}, threads {threads}, {command}, go {limits}: {what}")
        print(", ".join(f"{kind}: {count}" for kind, count in sorted(self.display.seen.items())),
              f"in {time.monotonic() - start:.0f} s")
        self.assertGreaterEqual(self.display.seen["mate scores"], SEARCHES // 5)
        self.assertLessEqual(self.display.seen[ANOTHER_MATE], 5 + SEARCHES // 100)
        for kind in KINDS:
            with self.subTest(kind):
                self.assertEqual(found[kind], [])

    def test_searches_that_report_progress(self) -> None:
        """Iterations long enough for lines of progress, which may be the last before the time is up."""
        for number, milliseconds in enumerate(range(500, 1300, 100)):
            threads = 1 + number % 2
            self.engine.send("ucinewgame", f"setoption name Threads value {threads}")
            limits = f"movetime {milliseconds}"
            self.engine.send("position startpos", f"go {limits}")
            lines = self.engine.read_until("bestmove .*")
            self.assertEqual(list(self.display.faults(START_FEN, lines, threads)), [], limits)


class Faults(unittest.TestCase):
    """The judge sees what there is to see."""

    LONE_PAWN = "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"
    BACK_RANK = "6k1/5ppp/8/8/8/8/5PPP/R5K1 w - - 0 1"

    @classmethod
    def setUpClass(cls) -> None:
        cls.rules = Rules()
        cls.addClassCleanup(cls.rules.close)

    def setUp(self) -> None:
        self.display = Display(self.rules)

    def assert_faults(self, fen: str, lines: list[str], *kinds: str, threads: int = 1) -> None:
        faults = list(self.display.faults(fen, lines, threads))
        self.assertEqual([kind for kind, _ in faults], list(kinds), faults)

    @staticmethod
    def line(variation: str, depth: int = 1, nodes: int = 5, milliseconds: int = 0, speed: int = 0,
             score: str = "cp 7") -> str:
        return (f"info depth {depth} seldepth 1 score {score} nodes {nodes} nps {speed}"
                f" time {milliseconds} pv {variation}")

    def test_what_a_search_may_print(self) -> None:
        self.assert_faults(self.LONE_PAWN, [
            self.line("e2e4 e8e7"),
            "info depth 2 seldepth 3 nodes 12 nps 2400 time 5",
            self.line("e1f2 e8d7 e2e4", 2, 12, 5, 2400),
            "bestmove e1f2"])
        self.assertEqual(self.display.seen["lines"], 4)
        self.assertEqual(self.display.seen["variations"], 2)

    def test_malformed_lines(self) -> None:
        self.assert_faults(
            self.LONE_PAWN, ["info depth", "info string", self.line("e2e4"), "bestmove e2e4 "],
            MALFORMED_LINE, MALFORMED_LINE, MALFORMED_LINE, ANOTHER_MOVE)

    def test_counts_that_run_backwards(self) -> None:
        self.assert_faults(
            self.LONE_PAWN,
            [self.line("e2e4", 1, 5, 6, 833), self.line("e2e4", 2, 4, 6, 666),
             self.line("e2e4", 3, 4, 5, 800), "info depth 4 seldepth 9 nodes 3 nps 600 time 5",
             "bestmove e2e4"],
            BACKWARDS, BACKWARDS, BACKWARDS, NO_VARIATION)

    def test_depths(self) -> None:
        answer = "bestmove e2e4"
        skipped = [self.line("e2e4"), self.line("e2e4", 3), answer]
        self.assert_faults(self.LONE_PAWN, skipped, WRONG_DEPTH)
        self.assert_faults(self.LONE_PAWN, [self.line("e2e4", 2), answer], WRONG_DEPTH)
        progress = "info depth 1 seldepth 9 nodes 5 nps 0 time 0"
        self.assert_faults(
            self.LONE_PAWN, [self.line("e2e4"), progress, answer], WRONG_DEPTH, NO_VARIATION)

    def test_an_earlier_line_comes_again_after_progress(self) -> None:
        progress = "info depth 2 seldepth 9 nodes 9 nps 0 time 0"
        first, answer = self.line("e2e4"), "bestmove e2e4"
        again = self.line("e2e4", nodes=9)
        self.assert_faults(self.LONE_PAWN, [first, progress, again, answer])
        self.assert_faults(self.LONE_PAWN, [first, progress, answer], NO_VARIATION)
        self.assert_faults(self.LONE_PAWN, [first, again, answer], WRONG_DEPTH)
        self.assert_faults(
            self.LONE_PAWN, [first, progress, again, self.line("e2e4", 2, 9), answer], WRONG_DEPTH)

    def test_the_last_line_may_be_another_threads(self) -> None:
        def lines(depth: int) -> list[str]:
            return [self.line("e2e4"), self.line("e2e4", 2), self.line("e2e3", depth),
                    "bestmove e2e3"]

        self.assert_faults(self.LONE_PAWN, lines(2), threads=2)
        self.assert_faults(self.LONE_PAWN, lines(5), threads=2)
        self.assert_faults(self.LONE_PAWN, lines(1), WRONG_DEPTH, threads=2)
        self.assert_faults(self.LONE_PAWN, lines(2), WRONG_DEPTH)

    def test_speed(self) -> None:
        self.assert_faults(
            self.LONE_PAWN, [self.line("e2e4", 1, 5, 2, 2499), "bestmove e2e4"], WRONG_SPEED)
        self.assert_faults(
            self.LONE_PAWN, [self.line("e2e4", 1, 5, 0, 5000), "bestmove e2e4"], WRONG_SPEED)

    def test_illegal_variations(self) -> None:
        self.assert_faults(
            self.LONE_PAWN, [self.line("e2e4 e8e7 e4e6"), "bestmove e2e4"], ILLEGAL_VARIATION)
        self.assert_faults(  # past the mate
            self.BACK_RANK, [self.line("a1a8 g8h8", score="mate 1"), "bestmove a1a8"],
            ILLEGAL_VARIATION)

    def test_repetitions(self) -> None:
        there_and_back = "e1f2 e8f7 f2e1 f7e8"
        for ending, kinds in (("", ()), (" e1f2", ()), (" e1f2 e8f7", (PAST_REPETITION,))):
            self.assert_faults(
                self.LONE_PAWN, [self.line(there_and_back + ending), "bestmove e1f2"], *kinds)
        later = "e2e3 e8f7 e1f2 f7e8 f2e1"  # the position after the pawn's move
        for ending, kinds in (("", ()), (" e8f7", (PAST_REPETITION,))):
            self.assert_faults(self.LONE_PAWN, [self.line(later + ending), "bestmove e2e3"], *kinds)
        double_step = "e2e4 e8f7 e1f2 f7e8 f2e1 e8f7"  # it leaves another position
        self.assert_faults(self.LONE_PAWN, [self.line(double_step), "bestmove e2e4"])

    def test_mates(self) -> None:
        def lines(score: str, variation: str) -> list[str]:
            return [self.line(variation, score=f"mate {score}"), f"bestmove {variation.split()[0]}"]

        self.assert_faults(self.BACK_RANK, lines("1", "a1a8"))
        self.assert_faults(self.BACK_RANK, lines("2", "a1a8"))  # a quicker one
        self.assert_faults(self.BACK_RANK, lines("1", "a1b1 g8h8 b1b8"))  # a slower one
        self.assert_faults(self.BACK_RANK, lines("-1", "a1a8"), OTHER_MATE)
        self.assert_faults(self.BACK_RANK, lines("1", "a1b1"), OTHER_MATE)
        self.assert_faults(self.BACK_RANK, lines("2", "a1b1 g8f8"))  # the table knew no more
        self.assert_faults(self.BACK_RANK, lines("2", "a1b1 g8f8 b1a1"), OTHER_MATE)
        threatened = "6k1/5ppp/8/8/8/8/r4PPP/1R4K1 b - - 0 1"
        self.assert_faults(threatened, lines("-1", "h7h6 b1b8"), OTHER_MATE)  # no mate: Kh7
        self.assert_faults(threatened, lines("-1", "a2a8 b1a1"), OTHER_MATE)
        self.assert_faults(threatened, lines("-1", "a2a1 b1a1"), OTHER_MATE)
        self.assert_faults(threatened, lines("-1", "a2a3 b1b8"))
        self.assertEqual(self.display.seen["mate scores whose variation mates"], 5)
        self.assertEqual(self.display.seen[ANOTHER_MATE], 3)

    def test_mates_of_other_threads(self) -> None:
        late = self.line("a1b1 g8f8 b1b8", score="mate 1")
        self.assert_faults(self.BACK_RANK, [late, "bestmove a1b1"], OTHER_MATE)
        self.assert_faults(self.BACK_RANK, [late, "bestmove a1b1"], threads=2)
        self.assertEqual(self.display.seen[ANOTHER_MATE], 1)
        wrong_side = self.line("a1a8", score="mate -1")
        self.assert_faults(self.BACK_RANK, [wrong_side, "bestmove a1a8"], OTHER_MATE, threads=2)

    def test_answers(self) -> None:
        self.assert_faults(self.LONE_PAWN, ["bestmove e2e4"], NO_VARIATION)
        lines = [self.line("e2e4"), self.line("e2e3", 2), "bestmove e2e4"]
        self.assert_faults(self.LONE_PAWN, lines, ANOTHER_MOVE)

    def test_ends(self) -> None:
        for fen, score in ((ENDS[0], "mate 0"), (ENDS[2], "cp 0")):
            self.assert_faults(fen, [f"info depth 0 score {score}", "bestmove 0000"])
            self.assert_faults(fen, ["info depth 0 score cp 5", "bestmove 0000"],
                               MALFORMED_LINE, NOT_THE_END)
            self.assert_faults(fen, ["bestmove 0000"], NOT_THE_END)
        self.assert_faults(ENDS[0], ["info depth 0 score cp 0", "bestmove 0000"], NOT_THE_END)


if __name__ == "__main__":
    unittest.main()
