"""Each line of output goes to the system whole, in one write, whatever thread prints it."""

import os
import re
import tempfile
import time
import unittest

from client import EngineTest
from conditions import STRACE, needs_strace

WRITE = re.compile(r'^\d+ +write\(([12]), "((?:\\x[0-9a-f]{2})*)", (\d+)')


@needs_strace
class Writes(EngineTest):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.trace = os.path.join(folder.name, "trace")
        options = ["-f", "-xx", "-s", "100000", "-e", "trace=write,writev", "-o", self.trace]
        self.engine = self.start(wrapper=[STRACE, *options])

    def writes(self, stream: int) -> list[bytes]:
        """What was written, write by write.  The engine must have ended."""
        found = []
        with open(self.trace, encoding="ascii") as file:
            for line in file:
                self.assertNotIn("writev(", line)
                if (match := WRITE.match(line)) and int(match[1]) == stream:
                    text = bytes.fromhex(match[2].replace("\\x", ""))
                    self.assertEqual(len(text), int(match[3]))
                    found.append(text)
        return found

    def assert_one_line_each(self, writes: list[bytes]) -> None:
        for text in writes:
            self.assertEqual(text.find(b"\n"), len(text) - 1, text)

    def test_search_with_4_threads(self) -> None:
        self.engine.send("uci", "setoption name Threads value 4", "go wtime 3000000")
        end = time.monotonic() + 4
        while time.monotonic() < end:
            self.engine.answers("isready", "d")
            time.sleep(0.01)
        self.engine.answers("stop", "position x", "setoption name Hash value x")
        self.engine.search("position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", "go depth 3")
        self.assertEqual(self.engine.quit(), 0)
        self.assertEqual(b"".join(self.writes(1)), self.engine.stdout)
        self.assert_one_line_each(self.writes(1))
        self.assertEqual(b"".join(self.writes(2)), self.engine.stderr)
        self.assert_one_line_each(self.writes(2))

    def test_benchsearch(self) -> None:
        self.engine.send("benchsearch 4")
        self.assertEqual(self.engine.quit(), 0)
        self.assertEqual(len(self.writes(1)), 11)
        self.assert_one_line_each(self.writes(1))

    def test_perft(self) -> None:
        self.engine.answers("perft 2")
        self.assertEqual(self.engine.quit(), 0)
        self.assertEqual(b"".join(self.writes(1)), self.engine.stdout)
        self.assertTrue(all(text.endswith(b"\n") for text in self.writes(1)))

    def test_long_lines(self) -> None:
        # Longer than any buffer: the message repeats the argument.
        self.assertEqual(len(self.engine.answers("position " + 20000 * "x")), 1)
        self.engine.quit()
        self.assert_one_line_each(self.writes(1))
        # A reader of diagnostics who does not read must not stop the engine, so these come in pieces
        # that a pipe takes without waiting.
        self.assert_one_line_each([b"".join(self.writes(2))])


if __name__ == "__main__":
    unittest.main()
