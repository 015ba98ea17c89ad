"""Walks the table of hostile input: the engine stays alive, answers exactly what it must, keeps
its position and goes on playing."""

import functools
import os
import random
import re
import subprocess
import tempfile
import time
import unittest

import grammar
from client import START_FEN, Engine, EngineError, EngineTest, run_mode
from conditions import is_instrumented
from hostile_cases import (BASE, BENCH_DEPTHS, ENDS, LAST_MOVE, MATED, QUEENS, SECTIONS, Best,
                           Case, decode)
from rules import Position

SEED = 20261121
READY_IN = 1.0  # seconds

# Whether the machine has the memory or the threads asked for is its own affair.
OF_THE_MACHINE = re.compile(
    r"info string setoption "
    r"(hash: \d+ МБ — більше за 3/4 фізичної RAM \(\d+ МБ\); використано \d+ МБ"
    r"|hash: не вдалося виділити \d+ МБ — лишається попередній розмір"
    r"|threads: не вдалося створити \d+ потоків — лишається попередня кількість)"
)
ITERATION = re.compile(r"info depth (\d+) .*score .*")
CROWD = 30  # men besides the kings: captures among more of them go on without end


@functools.cache
def legal_moves(fen: str) -> list[str]:
    return sorted(Position(fen).legal_moves())


def is_crowded(fen: str) -> bool:
    return len(re.findall("[qrbnp]", fen.split()[0], re.IGNORECASE)) > CROWD


def short(text: object) -> str:
    return repr(text)[:300]


class HostileTest(EngineTest):
    def setUp(self) -> None:
        # A file takes diagnostics of any length at once; from a pipe that is read too slowly the
        # engine would turn away.
        file = tempfile.NamedTemporaryFile()
        self.addCleanup(file.close)
        self.diagnostics = file
        self.engine = self.start_logged()

    def start_logged(self) -> Engine:
        """An engine with a standard error of its own, empty file."""
        self.diagnostics.truncate(0)
        return self.start(wrapper=["sh", "-c", 'exec "$1" 2>"$0"', self.diagnostics.name])

    def check_answers(self, lines: list[str], answers: list) -> None:
        """What was printed besides the lines of searches, and the depth that these reached."""
        expected = iter(answers)
        depth = 0
        for line in lines:
            self.assertTrue(grammar.is_protocol(line), short(line))
            if match := ITERATION.fullmatch(line):
                depth = int(match[1])
            if grammar.is_search_line(line) or OF_THE_MACHINE.fullmatch(line):
                continue
            answer = next(expected, None)
            if isinstance(answer, Best):
                self.assertRegex(line, f"^{grammar.BEST_MOVE}$")
                self.assertIn(line.split()[1], legal_moves(answer.fen) or ["0000"], answer.fen)
                self.assertIn(answer.depth, (None, depth))
                depth = 0
            elif isinstance(answer, re.Pattern):
                self.assertRegex(line, answer)
            else:
                self.assertTrue(line == answer, f"{short(line)} instead of {short(answer)}")
        self.assertIsNone(next(expected, None), "an answer is missing")

    def check_ready(self, engine: Engine) -> None:
        """A busy machine may be late, but not three times in a row."""
        times = []
        while not times or (times[-1] > READY_IN and len(times) < 3):
            start = time.monotonic()
            self.check_answers(engine.answers(), [])
            times.append(time.monotonic() - start)
        if not is_instrumented():
            self.assertLess(min(times), READY_IN)

    def check_position(self, engine: Engine, fen: str) -> None:
        self.assertEqual(engine.fen(), fen)
        self.assertEqual(sorted(engine.legal_moves()), legal_moves(fen))
        go = ["go depth 4", "stop"] if is_crowded(fen) else ["go depth 2"]
        lines = engine.search(*go)
        if legal_moves(fen):
            self.assertIn(lines[-1].split()[1], legal_moves(fen))
        else:
            score = "mate 0" if Position(fen).in_check() else "cp 0"
            self.assertEqual(lines, [f"info depth 0 score {score}", "bestmove 0000"])

    def check_case(self, engine: Engine, case: Case) -> None:
        self.assertEqual(engine.answers(f"position fen {case.before}"), [])
        engine.send_bytes(case.text)
        # A search that ends by itself may still run when the commands behind it are served.
        lines = []
        searches = sum(isinstance(a, Best) or a == "bestmove 0000" for a in case.answers)
        for _ in range(searches):
            lines += engine.read_until(grammar.BEST_MOVE)
        engine.send("isready")
        for _ in range(case.answers.count("readyok") - lines.count("readyok") + 1):
            lines += engine.read_until("readyok")
        self.check_answers(lines[:-1], case.answers)
        self.check_ready(engine)
        self.check_position(engine, case.after or case.before)

    def check_diagnostics(self, engine: Engine) -> None:
        """Each diagnostic comes on standard error too, and nothing else does."""
        self.assertEqual(engine.quit(), 0)
        prefix = b"info string "
        said = [x[len(prefix):] for x in engine.stdout.split(b"\n") if x.startswith(prefix)]
        with open(self.diagnostics.name, "rb") as file:
            diagnostics = file.read()
        self.assertTrue(diagnostics == b"".join(text + b"\n" for text in said),
                        diagnostics[-1000:])

    def walk(self, cases: list[Case]) -> None:
        engine = self.engine
        for case in cases:
            with self.subTest(case.name):
                try:
                    self.check_case(engine, case)
                except (AssertionError, EngineError, BrokenPipeError):
                    # What it prints next may belong to this case: the others get a new engine.
                    engine.abandon()
                    engine = self.start_logged()
                    raise
        self.check_diagnostics(engine)


class Table(HostileTest):
    """One engine serves each section of the table."""

    def test_names_are_unique(self) -> None:
        names = [(section, case.name) for section, cases in SECTIONS.items() for case in cases]
        self.assertEqual(len(set(names)), len(names))

    def test_bytes_that_are_no_text(self) -> None:
        self.walk(SECTIONS["bytes_that_are_no_text"])

    def test_ends_of_lines(self) -> None:
        self.walk(SECTIONS["ends_of_lines"])

    def test_long_lines(self) -> None:
        self.walk(SECTIONS["long_lines"])

    def test_numbers_of_go(self) -> None:
        self.walk(SECTIONS["numbers_of_go"])

    def test_numbers_of_options(self) -> None:
        self.walk(SECTIONS["numbers_of_options"])

    def test_numbers_of_perft(self) -> None:
        self.walk(SECTIONS["numbers_of_perft"])

    def test_numbers_of_a_fen(self) -> None:
        self.walk(SECTIONS["numbers_of_a_fen"])

    def test_words_out_of_place(self) -> None:
        self.walk(SECTIONS["words_out_of_place"])

    def test_odd_positions(self) -> None:
        self.walk(SECTIONS["odd_positions"])

    def test_refused_positions(self) -> None:
        self.walk(SECTIONS["refused_positions"])

    def test_moves_of_a_game(self) -> None:
        self.walk(SECTIONS["moves_of_a_game"])

    def test_ends_of_games(self) -> None:
        self.walk(SECTIONS["ends_of_games"])

    def test_while_searching(self) -> None:
        self.walk(SECTIONS["while_searching"])

    def test_in_haste(self) -> None:
        self.walk(SECTIONS["in_haste"])


class Shuffled(HostileTest):
    def test_one_engine_serves_all_in_any_order(self) -> None:
        cases = [case for section in SECTIONS.values() for case in section if case.repeat]
        random.Random(SEED).shuffle(cases)
        self.walk(cases)


class Pieces(HostileTest):
    def test_byte_by_byte(self) -> None:
        text = b"position startpos moves e2e4\r\ngo depth 3\nd\n\xff\x00\nisready\n"
        for byte in text:
            self.engine.send_bytes(bytes([byte]))
            time.sleep(0.001)
        after = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1"
        lines = self.engine.read_until("readyok")
        self.assertIn(f"fen: {after}", lines)
        self.check_position(self.engine, after)

    def test_half_a_line_waits_for_the_rest(self) -> None:
        self.engine.send_bytes(b"go infinite\nposition startpos moves e2e4 e7")
        time.sleep(0.2)
        self.assertNotIn(b"bestmove", self.engine.stdout)
        self.engine.send_bytes(b"e5\n")
        self.check_answers(self.engine.answers(), [Best(START_FEN)])
        self.check_position(self.engine,
                            "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6 0 2")


class Ready(HostileTest):
    def test_during_any_search(self) -> None:
        for threads in (1, 4, 8):
            self.engine.send(f"setoption name Threads value {threads}")
            for fen in (BASE, LAST_MOVE, MATED, f"{QUEENS[0]} w - - 0 1"):
                with self.subTest(fen, threads=threads):
                    self.engine.send(f"position fen {fen}", "go infinite")
                    for _ in range(5):
                        self.check_ready(self.engine)
                        time.sleep(0.02)
                    self.check_answers(self.engine.answers("stop"), [Best(fen)])


class EndOfInput(HostileTest):
    def test_whole_inputs(self) -> None:
        for text, answers in ENDS.items():
            with self.subTest(text[:60]):
                result = run_mode(stdin=text)
                self.assertEqual(result.returncode, 0, result.stderr)
                *lines, rest = decode(result.stdout).split("\n")
                self.assertEqual(rest, "", "the last line has no end")
                self.check_answers(lines, answers)


class Bench(HostileTest):
    def test_depths(self) -> None:
        for text, depth in BENCH_DEPTHS.items():
            with self.subTest(text[:30]):
                engine = self.start()
                engine.send(f"benchsearch {text}")
                line = engine.read_line(600)
                fields = re.fullmatch(grammar.BENCH_POSITION, line)
                self.assertEqual(fields[2], str(depth or 11))
                engine.abandon()

    def test_the_greatest_depth_goes_on_without_end(self) -> None:
        self.engine.send("benchsearch 2147483647")
        with self.assertRaises(subprocess.TimeoutExpired):
            self.engine.wait(1)
        self.assertEqual(self.engine.stdout, b"")
        self.assertEqual(os.path.getsize(self.diagnostics.name), 0)
        self.engine.abandon()


if __name__ == "__main__":
    unittest.main()
