"""The program that measures what users feel measures it: each of its commands, with few and short runs.

The figures mean nothing here.
"""

from __future__ import annotations

import contextlib
import io
import os
import shutil
import sys
import tempfile
import unittest
import unittest.mock

from client import engine_path

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "benchmarks"))

import measure  # noqa: E402

FEW_AND_SHORT = {"RUNS": 1, "MOVE_TIME_MS": 20, "LONG_SEARCH_MS": 20, "SHORT_SEARCH_MS": 5,
                 "COMPARED_RUNS": 4, "STARTS": 2, "STOPS": 4, "STOPPED_WITHIN_SECONDS": 0.01,
                 "INSTRUCTION_DEPTH": 3, "WARM_UP_SECONDS": 0, "PAGES_SECONDS": 0}
NUMBER = r"\d+\.\d\d"


class Measure(unittest.TestCase):
    def printed(self, *arguments: str) -> str:
        output = io.StringIO()
        with contextlib.ExitStack() as stack:
            for name, value in FEW_AND_SHORT.items():
                stack.enter_context(unittest.mock.patch.object(measure, name, value))
            stack.enter_context(unittest.mock.patch.object(sys, "argv", ["measure.py", *arguments]))
            stack.enter_context(contextlib.redirect_stdout(output))
            measure.main()
        return output.getvalue()

    def test_nodes(self) -> None:
        rate = rf"{NUMBER} M nodes per processor second \(from {NUMBER} to {NUMBER}\);"
        lines = self.printed("nodes", engine_path(), engine_path()).splitlines()
        self.assertEqual(len(lines), 2)
        for line in lines:
            self.assertRegex(line, rf": {rate} .* is 1\.00 times as fast$")  # as itself

    def test_threads(self) -> None:
        first, second = self.printed("threads", engine_path(), "2").splitlines()
        self.assertRegex(first, rf"^\d+ processors; one thread: {NUMBER} M nodes per second$")
        self.assertRegex(second, rf"^2 threads: {NUMBER} times the nodes per second of one \(from ")

    def test_latency(self) -> None:
        times = rf": median {NUMBER} ms, 99 % within {NUMBER} ms, longest {NUMBER} ms, \d+ times$"
        lines = self.printed("latency", engine_path()).splitlines()
        self.assertEqual(len(lines), 7)  # the start, and two of each number of threads
        for line in lines:
            self.assertRegex(line, times)

    def test_compare(self) -> None:
        self.assertRegex(self.printed("compare", engine_path()),
                         r": \d+\.\d{3} s; 1\.000 times as fast as .* \(middle half 1\.000 to 1\.000\)")

    def test_an_engine_in_this_folder(self) -> None:
        self.addCleanup(os.chdir, os.getcwd())
        with tempfile.TemporaryDirectory() as folder:
            os.symlink(os.path.realpath(engine_path()), f"{folder}/before-engine")
            os.chdir(folder)
            self.assertRegex(self.printed("hash", "before-engine", "16"), "^16 MiB: ")

    @unittest.skipUnless(shutil.which("valgrind"), "valgrind is not installed")
    def test_instructions(self) -> None:
        try:
            printed = self.printed("instructions", engine_path())
        except measure.subprocess.CalledProcessError:
            self.skipTest("valgrind does not know the instructions of this build")
        self.assertRegex(printed, r"^\d+ instructions per node over benchsearch 3 \(\d+ nodes\)\n")
        self.assertRegex(printed, r"\n +\d+\.\d +\d+\.\d%  seeGE\n")

    def test_instructions_without_valgrind(self) -> None:
        errors = io.StringIO()
        with (unittest.mock.patch.dict(os.environ, PATH="/none"), contextlib.redirect_stderr(errors),
              self.assertRaises(SystemExit) as ended):
            self.printed("instructions", os.path.realpath(engine_path()))
        self.assertEqual(ended.exception.code, 2)
        self.assertRegex(errors.getvalue(), r"^\S+: valgrind is not installed \(Debian package: valgrind\)\n$")

    def test_hash(self) -> None:
        self.assertRegex(self.printed("hash", engine_path(), "16"),
                         r"^16 MiB: sized in .* ms, cleared in .* ms, \d+ nodes in the 5 ms that follow$")

    def test_what_is_refused(self) -> None:
        engine = engine_path()
        for arguments, message in (((), "required: COMMAND, ENGINE"), (("dance", engine), "dance"),
                                   (("nodes", "/none"), "/none is no program"),
                                   (("compare", engine, "/none"), "/none is no program"),
                                   (("threads", engine, "0"), "not above 0: 0"),
                                   (("hash", engine, "much"), "much"),
                                   (("latency", engine, "2"), "takes an engine alone")):
            errors = io.StringIO()
            with self.subTest(arguments), contextlib.redirect_stderr(errors):
                with self.assertRaises(SystemExit) as ended:
                    self.printed(*arguments)
                self.assertEqual((ended.exception.code, errors.getvalue().count("\n")), (2, 1))
                self.assertIn(message, errors.getvalue())


if __name__ == "__main__":
    unittest.main()
