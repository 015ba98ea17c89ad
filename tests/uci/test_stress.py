"""Sessions of random commands at random moments, with what must be printed between them.

Every session has a seed of its own.  The environment variable MORVANE_STRESS_SECONDS says how long
the sessions go on altogether: under a sanitizer, longer runs find more.
"""

import dataclasses
import os
import random
import time
import unittest

import grammar
from client import START_FEN, Engine, EngineTest
from rules import Position
from test_go import STALEMATED, sample_positions
from test_options import bad_value
from test_position import bad_fen, illegal, unknown

SECONDS = float(os.environ.get("MORVANE_STRESS_SECONDS", "12"))
THREADS = (1, 2, 4, 8)
COMMANDS = 120  # of a session
MOST_QUEENS = 6  # captures among more of them go on for long after a limit


def positions() -> list[str]:
    """FENs, with a mate, a stalemate and games that the fifty-move rule ends."""
    fens = [fen for fen in sample_positions(60) if fen.lower().count("q") <= MOST_QUEENS]
    fens += [STALEMATED.removeprefix("position fen "), "4k3/8/8/8/8/8/R7/4K3 w - - 100 90",
             "8/8/4k3/8/8/3K4/8/8 w - - 99 80", "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR"
             " w KQkq - 1 3"]
    return fens


@dataclasses.dataclass(frozen=True)
class Mark:
    """A line that must come when so many searches have been answered."""

    line: str
    least: int
    most: int


class Session:
    """Sends commands and keeps account of what must come of them."""

    def __init__(self, engine: Engine, seed: int, fens: list[str]) -> None:
        self.engine = engine
        self.random = random.Random(seed)
        self.fens = fens
        self.fen = START_FEN
        self.searches: list[str] = []  # the position of each
        self.running = False  # whether nothing that was sent has surely ended the last search
        self.may_end = True  # whether the last search can end by itself
        self.ends_soon = True  # and without a long wait
        self.marks: list[Mark] = []
        self.said: list[str] = []  # diagnostics
        self.lines: list[str] = []

    def expect(self, *lines: str) -> None:
        most = len(self.searches)
        least = most - self.running
        if self.running and not self.may_end:
            most = least
        self.marks += [Mark(line, least, most) for line in lines]

    def expect_message(self, message: str) -> None:
        self.expect("info string " + message)
        self.said.append(message)

    def send_stopping(self, *lines: str) -> None:
        self.engine.send(*lines)
        self.running = False

    # --- commands ---

    def go(self) -> None:
        number = self.random.randint
        limits, self.ends_soon = self.random.choice([
            ("infinite", False), ("infinite", False), ("", False), ("wtime 9000000", False),
            ("depth 1", True), (f"depth {number(2, 5)}", True), (f"nodes {number(1, 20000)}", True),
            (f"movetime {number(1, 40)}", True),
            (f"wtime {number(1, 300)} btime {number(1, 300)} winc {number(0, 20)}", True),
        ])
        self.may_end = limits != "infinite"
        self.engine.send(f"go {limits}")
        self.searches.append(self.fen)
        self.running = True

    def stop(self) -> None:
        self.send_stopping("stop")

    def position(self) -> None:
        position = Position(self.random.choice(self.fens))
        command, moves = f"position fen {position.fen()}", []
        for _ in range(self.random.randint(0, 4)):
            if legal := position.legal_moves():
                moves.append(self.random.choice(legal))
                position.play(moves[-1])
        self.send_stopping(" ".join([command, "moves", *moves]))
        self.fen = position.fen()

    def refused_position(self) -> None:
        text, message = self.random.choice([
            ("x", unknown("x")), ("fen x", bad_fen("x")), ("fen 8/8 w", bad_fen("8/8 w")),
        ])
        self.send_stopping(f"position {text}")
        self.expect_message(message)

    def illegal_move(self) -> None:
        self.send_stopping("position startpos moves e2e5 e7e5")
        self.expect_message(illegal("e2e5"))
        self.fen = START_FEN

    def new_game(self) -> None:
        self.send_stopping("ucinewgame")
        self.fen = START_FEN

    def hash(self) -> None:
        self.send_stopping(f"setoption name Hash value {self.random.choice([1, 1, 2, 5, 16, 33])}")

    def threads(self) -> None:
        self.send_stopping(f"setoption name Threads value {self.random.choice(THREADS)}")

    def overhead(self) -> None:
        self.engine.send(f"setoption name Move Overhead value {self.random.randint(-5, 60)}")

    def refused_option(self) -> None:
        name = self.random.choice(["Hash", "Threads", "Move Overhead"])
        self.engine.send(f"setoption name {name} value many")
        self.expect_message(bad_value(name.lower(), "many"))

    def is_ready(self) -> None:
        self.engine.send("isready")
        self.expect("readyok")

    def display(self) -> None:
        self.engine.send("d")
        self.expect(f"fen: {self.fen}")

    def identify(self) -> None:
        self.engine.send("uci")
        self.expect(*grammar.IDENTIFICATION)

    def unknown_word(self) -> None:
        self.engine.send("ponderhit", "xyzzy", "")

    def wait(self) -> None:
        """Lets the search end by itself."""
        if self.running and self.ends_soon:
            while sum(x.startswith("bestmove") for x in self.lines) < len(self.searches):
                self.lines.append(self.engine.read_line())
            self.running = False

    def pause(self) -> None:
        time.sleep(self.random.random() * self.random.choice([0.001, 0.01, 0.1]))

    OFTEN = [go, go, go, go, stop, stop, position, position, pause, pause, pause, is_ready,
             is_ready, display]
    SELDOM = [refused_position, illegal_move, new_game, hash, threads, overhead, refused_option,
              identify, unknown_word, wait]

    def run(self, threads: int) -> None:
        self.send_stopping(f"setoption name Threads value {threads}", "setoption name Hash value 4")
        for _ in range(COMMANDS):
            command = self.random.choice(self.random.choice([self.OFTEN, self.OFTEN, self.SELDOM]))
            command(self)
        if self.random.random() < 0.7:
            self.go()
            self.pause()
        if self.random.random() < 0.5:
            self.engine.close_input()
        else:
            self.engine.send("quit")


class Stress(EngineTest):
    def setUp(self) -> None:
        self.fens = positions()

    def check(self, session: Session) -> None:
        """One legal answer a search, and everything in the order of the commands."""
        answered = 0
        marks = iter(session.marks)
        for line in session.lines + session.engine.rest():
            if line.startswith("bestmove "):
                self.assertLess(answered, len(session.searches), "nobody asked")
                fen = session.searches[answered]
                self.assertIn(line.split()[1], Position(fen).legal_moves() or ["0000"], fen)
                answered += 1
            elif not grammar.is_search_line(line):
                mark = next(marks, None)
                self.assertIsNotNone(mark, line)
                self.assertEqual(line, mark.line)
                self.assertTrue(mark.least <= answered <= mark.most, (answered, mark))
        self.assertEqual(next(marks, None), None)
        self.assertEqual(answered, len(session.searches))
        self.assertEqual(session.engine.stderr.decode(), "".join(x + "\n" for x in session.said))

    def run_sessions(self, threads: int) -> None:
        end = time.monotonic() + SECONDS / len(THREADS)
        seed = 1000 * threads
        while seed == 1000 * threads or time.monotonic() < end:
            with self.subTest(seed=seed):
                engine = self.start()
                session = Session(engine, seed, self.fens)
                session.run(threads)
                self.assertEqual(engine.wait(), 0, engine.stderr)
                self.check(session)
                self.check_protocol(engine)
            self.doCleanups()
            seed += 1
        print(f"{seed - 1000 * threads} sessions", end=" ", flush=True)

    def test_1_thread(self) -> None:
        self.run_sessions(1)

    def test_2_threads(self) -> None:
        self.run_sessions(2)

    def test_4_threads(self) -> None:
        self.run_sessions(4)

    def test_8_threads(self) -> None:
        self.run_sessions(8)


if __name__ == "__main__":
    unittest.main()
