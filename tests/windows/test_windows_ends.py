"""Programs for Windows that the system ends at once: a game in its file is whole, and nothing is left behind."""

from __future__ import annotations

import os
import pathlib
import random
import subprocess
import tempfile
import time
import unittest

import grammar
import test_datagen
from client import engine_path

HERE = pathlib.Path(__file__).resolve().parent
PROGRAM = pathlib.Path(engine_path()).parent / "morvane.exe"
WINE = "/usr/lib/wine/wine64"
ENDED = 70  # the status that the helper gives
TIMES = 20


class Terminated(test_datagen.DataGenTest):
    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.helper = pathlib.Path(folder.name) / "terminate.exe"
        subprocess.run(["x86_64-w64-mingw32-g++-posix", "-std=c++20", "-static", HERE / "terminate.cpp", "-o",
                        cls.helper], check=True)

    def ended(self, milliseconds: int, *arguments: str, stdin=subprocess.DEVNULL) -> subprocess.CompletedProcess:
        return subprocess.run([WINE, self.helper, str(milliseconds), PROGRAM, *arguments], cwd=self.folder,
                              stdin=stdin, capture_output=True, check=False, timeout=60)

    def test_a_search(self) -> None:
        with tempfile.TemporaryFile() as commands:
            commands.write(b"setoption name Threads value 4\ngo infinite\n" + 10**6 * b"isready\n")
            commands.seek(0)
            result = self.ended(500, stdin=commands)
        self.assertEqual((result.returncode, result.stderr), (ENDED, b""))
        whole = result.stdout[: result.stdout.rindex(b"\n")].decode().split("\n")
        self.assertIn("readyok", whole)
        for line in whole:
            self.assertTrue(grammar.is_protocol(line), line)

    def test_games_in_the_file_are_whole(self) -> None:
        options, games = test_datagen.Interrupted.OPTIONS["long"], 40
        sizes = test_datagen.boundaries(options, games)
        whole = test_datagen.file_of(f"{options} games={games}")
        arguments = ("datagen", *options.split(), f"games={games}", "out=data.txt")
        start = time.monotonic()
        self.assertEqual(self.ended(0, "tuneparams").returncode, ENDED)
        before = time.monotonic() - start
        self.assertEqual(self.ended(60_000, *arguments).returncode, 0)
        milliseconds = int(1000 * (time.monotonic() - start - 2 * before))
        rng, left = random.Random(7), []
        while len(left) < TIMES or len(set(left)) < 4:
            self.assertLess(len(left), 10 * TIMES, "always at the same moment")
            result = self.ended(rng.randint(0, milliseconds), *arguments)
            self.assertIn(result.returncode, (0, ENDED), result.stderr)
            data = self.read() if os.path.exists(self.path("data.txt")) else b""
            self.assert_same_file(data, whole[: len(data)])
            self.assertIn(len(data), sizes)
            left.append(len(data))
            if data:
                os.remove(self.path("data.txt"))


if __name__ == "__main__":
    unittest.main()
