"""Programs for Windows that the system ends at once: a game in its file is whole, and nothing is left behind."""

from __future__ import annotations

import bisect
import pathlib
import random
import subprocess
import tempfile
import unittest

import grammar
import test_datagen
from client import engine_path

HERE = pathlib.Path(__file__).resolve().parent
PROGRAM = pathlib.Path(engine_path()).parent / "morvane.exe"
WINE = "/usr/lib/wine/wine64"
ENDED = 70  # the status that the helper gives
TIMES = 24


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
        rng, ends, found = random.Random(7), 0, set()
        while ends < TIMES:
            result = self.ended(rng.randrange(20, 150), "datagen", *options.split(), f"games={games}", "out=data.txt")
            self.assertIn(result.returncode, (0, ENDED), result.stderr)
            ends += result.returncode == ENDED
            self.assert_same_file(self.read(), whole[: len(self.read())])
            self.assertIn(len(self.read()), sizes)
            found.add(bisect.bisect(sizes, len(self.read())) - 1)
        self.assertGreater(len(found), 3)  # at various moments


if __name__ == "__main__":
    unittest.main()
