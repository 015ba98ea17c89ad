"""Files and arguments where Windows has rules of its own; the messages are those of every system."""

from __future__ import annotations

import os
import re
import resource
import signal
import unittest

import grammar
import test_datagen
from client import START_FEN, Engine, run_mode
from test_datagen import CANNOT_OPEN, header
from test_determinism import DEPTH, launch, usual
from test_signature import without_times


class Arguments(test_datagen.DataGenTest):
    def test_as_many_as_the_system_takes(self) -> None:
        result = launch("benchsearch", DEPTH, *1000 * ["x" * 30])
        self.assertEqual(without_times(result.stdout.decode().splitlines()), usual())

    def test_blanks_and_quotation_marks(self) -> None:
        for word in ("", " ", "a b", '"', 'a "b" c', "\\", "a\\ b\\\\", '\\"', "ход '%PATH%' *"):
            with self.subTest(word):
                self.assertEqual(run_mode(word, stdin=b"quit\n").stderr.decode(),
                                 f'morvane: невідомий режим "{word}" — запущено UCI\n')

    def test_a_path_of_blanks(self) -> None:
        """The system cuts them off."""
        result = self.launch("0", " ")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.decode().splitlines()[-1] + "\n", CANNOT_OPEN.format(" "))

    def test_paths(self) -> None:
        os.mkdir(self.path("тека"))
        for out in ("a=b.txt", "дані.txt", "-hh", r"тека\x.txt", "тека/y z.txt", "тека/" + 200 * "x"):
            with self.subTest(out):
                result = self.launch("games=0", f"out={out}")
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertEqual(result.stderr.decode().splitlines()[0], header(games=0, out=out))
                self.assertTrue(os.path.exists(self.path(out.replace("\\", "/"))))


class Refused(test_datagen.FullDisk):
    """Only whole games stay. The system below Wine, whose superuser may write anywhere, is what refuses."""

    test_full_device = None

    def limited(self, options: str, limit: int, ignored: bool):
        def set_limit() -> None:
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

        self.write("data.txt", b"x" * 100)
        return self.launch(*options.split(), preexec_fn=set_limit)

    def test_a_folder(self) -> None:
        os.mkdir(self.path("folder"))
        self.assert_refused(["games=1", "nodes=1", "out=folder"], CANNOT_OPEN.format("folder"))
        result = run_mode("featureexport", self.path("folder"), self.path("rows"))
        self.assertEqual((result.returncode, result.stderr.decode()),
                         (1, f"featureexport: помилка читання: {self.path('folder')}\n"))


class LineEnds(unittest.TestCase):
    def test_both_are_taken_and_one_is_given(self) -> None:
        commands = ["uci", "position startpos moves e2e4", "d", "setoption name Hash value 3", "go depth 4",
                    "position fen x", "quit"]
        told = [self.session(commands, end) for end in ("\n", "\r\n")]
        self.assertEqual(*(re.sub(f" {grammar.SPEED}", "", engine.stdout.decode()).split("\n") for engine in told))
        self.assertIn(f"fen: {START_FEN.split()[0][:20]}", told[0].stdout.decode())
        for engine in told:
            self.assertEqual((engine.stdout.count(b"\r"), engine.stderr.count(b"\r")), (0, 0))

    def session(self, commands: list[str], end: str) -> Engine:
        engine = Engine()
        self.addCleanup(engine.kill)
        for command in commands:
            engine.send_bytes((command + end).encode())
            if command.startswith("go "):  # what comes next would end the search
                engine.read_until(grammar.BEST_MOVE)
        self.assertEqual(engine.wait(), 0)
        return engine

    def test_of_positions_on_standard_input(self) -> None:
        positions = [START_FEN, "8/8/4k3/8/2b5/8/4KB2/8 w - - 0 1"]
        told = [run_mode("egscale", stdin="".join(fen + end for fen in positions).encode()).stdout
                for end in ("\n", "\r\n")]
        self.assertEqual(told[0].count(b"\n"), 2)
        self.assertEqual(*told)


if __name__ == "__main__":
    unittest.main()
