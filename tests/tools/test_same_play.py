"""The program that compares the lines of two builds."""

from __future__ import annotations

import os
import pathlib
import subprocess
import unittest

from client import FolderTest

ROOT = pathlib.Path(__file__).resolve().parents[2]
ENGINE = os.environ["MORVANE_ENGINE"]
# Another engine: the score of its third depth differs.
OTHER = """#!/bin/sh
{engine} | while read -r line; do
    case $line in "info depth 3 "*) echo "$line" | sed 's/score cp [-0-9]*/score cp 999/' ;; *) echo "$line" ;; esac
done
"""


class SamePlay(FolderTest):
    def setUp(self) -> None:
        super().setUp()
        self.positions = pathlib.Path(self.folder) / "positions"
        self.positions.write_text("# a comment\n4k3/8/8/8/8/8/4P3/4K3 w - - 0 1\n\n"
                                  "qqqqkqqq/8/8/8/8/8/8/QQQQKQQQ w - - 0 1 ; left out\n"
                                  "4k3/4p3/8/8/8/8/8/4K3 w - - 0 1 ; a name\n")

    def call(self, after: str, depth: int) -> subprocess.CompletedProcess:
        return subprocess.run([ROOT / "scripts/same-play", ENGINE, after, "--depth", str(depth), "--hash", "1", "2",
                               "--positions", self.positions], capture_output=True, text=True, timeout=60,
                              check=False)

    def other(self) -> str:
        path = pathlib.Path(self.folder) / "other"
        path.write_text(OTHER.format(engine=ENGINE))
        path.chmod(0o755)
        return str(path)

    def test_the_same(self) -> None:
        done = self.call(ENGINE, 4)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(done.stdout, "1 MiB: 10 lines of 2 positions are the same\n"
                                      "2 MiB: 10 lines of 2 positions are the same\n")

    def test_another(self) -> None:
        self.assertEqual(self.call(self.other(), 2).returncode, 0)
        done = self.call(self.other(), 3)
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        self.assertRegex(done.stdout, r"\A4k3/\S+ w - - 0 1, 1 MiB\nbefore: info depth 3 .*\n"
                                      r"after:  info depth 3 .* score cp 999 .*\n\Z")

    def test_no_positions(self) -> None:
        self.positions.write_text("# none\n")
        done = self.call(ENGINE, 1)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertRegex(done.stderr, r"\Asame-play: no position in .*\n\Z")


if __name__ == "__main__":
    unittest.main()
