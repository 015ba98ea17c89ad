"""The program that measures what users feel measures it: each of its commands, with few and short runs.

The figures mean nothing here.
"""

from __future__ import annotations

import collections
import contextlib
import io
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

from client import FolderTest, engine_path

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "benchmarks"))

import instructions  # noqa: E402
import measure  # noqa: E402
import waits  # noqa: E402

FEW_AND_SHORT = {"RUNS": 1, "DEPTH_RUNS": 1, "MOVE_TIME_MS": 20, "DEPTH_TIME_MS": 5, "LONG_SEARCH_MS": 20,
                 "SHORT_SEARCH_MS": 5, "COMPARED_RUNS": 4, "STARTS": 2, "STOPS": 4, "STOPPED_WITHIN_SECONDS": 0.01,
                 "WARM_UP_SECONDS": 0, "PAGES_SECONDS": 0, "LOOK_SECONDS": 0.001}
NUMBER = r"\d+\.\d\d"
BOUND = pathlib.Path(__file__).resolve().parents[1] / "data" / "instructions.txt"
# An engine that answers, and works on for a new game: for so many seconds of processor time.
BUSY = """#!/usr/bin/env python3
import sys, threading, time

def work():
    end = time.process_time() + {seconds}
    while time.process_time() < end:
        pass

for line in sys.stdin:
    if line.startswith("ucinewgame"):
        threading.Thread(target=work, daemon=True).start()
    answer = {{"uci": "uciok", "isready": "readyok", "quit": ""}}.get(line.strip())
    if answer == "":
        break
    if answer:
        print(answer, flush=True)
"""


def printed(*arguments: str) -> str:
    output = io.StringIO()
    with contextlib.ExitStack() as stack:
        for name, value in FEW_AND_SHORT.items():
            stack.enter_context(unittest.mock.patch.object(measure, name, value))
        stack.enter_context(unittest.mock.patch.object(instructions, "DEPTH", 3))
        stack.enter_context(unittest.mock.patch.object(sys, "argv", ["measure.py", *arguments]))
        stack.enter_context(contextlib.redirect_stdout(output))
        measure.main()
    return output.getvalue()


def refused(*arguments: str) -> tuple[int, str]:
    """Its status and what it says."""
    errors = io.StringIO()
    with contextlib.redirect_stderr(errors):
        try:
            printed(*arguments)
        except SystemExit as ended:
            return ended.code, errors.getvalue()
    return 0, errors.getvalue()


class Measure(unittest.TestCase):
    def test_nodes(self) -> None:
        rate = rf"{NUMBER} M nodes per processor second \(from {NUMBER} to {NUMBER}\);"
        lines = printed("nodes", engine_path(), engine_path()).splitlines()
        self.assertEqual(len(lines), 2)
        for line in lines:
            self.assertRegex(line, rf": {rate} .* is 1\.00 times as fast$")  # as itself

    def test_threads(self) -> None:
        first, second = printed("threads", engine_path(), "2").splitlines()
        self.assertRegex(first, rf"^\d+ processors; one thread: {NUMBER} M nodes per second$")
        self.assertRegex(second, rf"^2 threads: {NUMBER} times the nodes per second of one \(from ")

    def test_threads_with_a_table_of_another_size(self) -> None:
        sizes = []
        with unittest.mock.patch.object(measure, "wall_rate", lambda *arguments: sizes.append(arguments[2]) or 1.0):
            printed("threads", engine_path(), "2", "--hash", "4096")
            printed("threads", engine_path(), "2")
        self.assertEqual(sizes, [4096, 4096, 64, 64])

    def test_depth(self) -> None:
        first, *rows = printed("depth", engine_path(), "2", "1", "3", "--hash", "16").splitlines()
        self.assertRegex(first, r"^\d+ processors; one thread: \d+\.\d s for 20 positions, to depths from \d+ to \d+$")
        self.assertEqual([row.partition(":")[0] for row in rows], ["2 threads", "3 threads"])
        for row in rows:
            self.assertRegex(row, rf": there {NUMBER} times as soon as one \(geometric means of 1 runs from {NUMBER} to"
                                  rf" {NUMBER}; middle half of the positions {NUMBER} to {NUMBER}\)$")

    def test_positions_to_search_to_a_depth(self) -> None:
        """Half and more are middle games; the rest are end games."""
        text = pathlib.Path(measure.DEPTH_POSITIONS).read_text(encoding="ascii")
        boards = [line.split()[0] for line in text.splitlines() if not line.startswith("#")]
        men = [sum(map(str.isalpha, board)) for board in boards]
        self.assertEqual(["q" in board.lower() for board in boards], [True] * 14 + [False] * 6)
        self.assertTrue(all(men[i] <= 26 for i in range(14)) and all(men[i] <= 12 for i in range(14, 20)), men)

    def test_latency(self) -> None:
        times = rf": median {NUMBER} ms, 99 % within {NUMBER} ms, longest {NUMBER} ms, \d+ times$"
        lines = printed("latency", engine_path()).splitlines()
        self.assertEqual(len(lines), 7)  # the start, and two of each number of threads
        for line in lines:
            self.assertRegex(line, times)

    def test_compare(self) -> None:
        self.assertRegex(printed("compare", engine_path()),
                         r": \d+\.\d{3} s; 1\.000 times as fast as .* \(middle half 1\.000 to 1\.000\)")

    def test_an_engine_in_this_folder(self) -> None:
        self.addCleanup(os.chdir, os.getcwd())
        with tempfile.TemporaryDirectory() as folder:
            os.symlink(os.path.realpath(engine_path()), f"{folder}/before-engine")
            os.chdir(folder)
            self.assertRegex(printed("hash", "before-engine", "16"), "^16 MiB: ")

    def test_hash(self) -> None:
        self.assertRegex(printed("hash", engine_path(), "16"),
                         r"^16 MiB: sized in .* ms, cleared in .* ms, \d+ nodes in the 5 ms that follow$")

    def test_what_is_refused(self) -> None:
        engine = engine_path()
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
            file.write("8 1800\n")
            file.flush()
            for arguments, message in (((), "required: COMMAND, ENGINE"), (("dance", engine), "dance"),
                                       (("nodes", "/none"), "/none is no program"),
                                       (("compare", engine, "/none"), "/none is no program"),
                                       (("threads", engine, "0"), "not above 0: 0"),
                                       (("depth", engine, "two"), "two"),
                                       (("depth", engine, "--hash", "0"), "not above 0: 0"),
                                       (("nodes", engine, "--hash", "64"), "nodes takes no --hash"),
                                       (("hash", engine, "much"), "much"),
                                       (("waits", engine, "2"), "takes an engine alone"),
                                       (("latency", engine, "2"), "takes an engine alone"),
                                       (("latency", engine, "--bound", str(BOUND)), "latency takes no --bound"),
                                       (("instructions", engine, "--bound", "/none"), "No such file"),
                                       (("instructions", engine, "--bound", file.name), "not one line with a depth")):
                with self.subTest(arguments):
                    status, said = refused(*arguments)
                    self.assertEqual((status, said.count("\n")), (2, 1))
                    self.assertIn(message, said)

    def test_programs_that_are_missing(self) -> None:
        engine = os.path.realpath(engine_path())
        for command, program in (("instructions", "valgrind"), ("waits", "perf")):
            with unittest.mock.patch.dict(os.environ, PATH="/none"):
                status, said = refused(command, engine)
            self.assertEqual(status, 2)
            self.assertRegex(said, rf"^\S+: {program} is not installed \(Debian package: (linux-)?{program}\)\n$")


class Rest(FolderTest):
    def busy(self, seconds: float) -> str:
        path = self.path("busy")
        pathlib.Path(path).write_text(BUSY.format(seconds=seconds), encoding="ascii")
        os.chmod(path, 0o755)
        return path

    def test_what_a_new_game_takes_is_over_before_a_search(self) -> None:
        engine = measure.Engine(self.busy(0.3))
        before = measure.cpu_seconds(engine)
        measure.new_game(engine)
        self.assertGreaterEqual(measure.cpu_seconds(engine) - before, 0.3)
        self.assertFalse(measure.is_running(engine))
        engine.close()

    def test_an_engine_that_never_rests(self) -> None:
        with unittest.mock.patch.object(measure, "REST_DEADLINE", 0.1):
            engine = measure.Engine(self.busy(60))
            with self.assertRaisesRegex(measure.EngineError, "busy is never at rest"):
                measure.new_game(engine)
            self.assertTrue(measure.is_running(engine))
            engine.close()

    def test_the_last_number_of_nodes_counts(self) -> None:
        said = ["info depth 8 score cp 3 nodes 700 pv e2e4", "info depth 9 score cp 3 nodes 800 pv e2e4",
                "info nodes 900 nps 1", "info string nodes are no number here", "bestmove e2e4"]
        engine = unittest.mock.Mock(**{"search.return_value": said})
        self.assertEqual(measure.depth_and_nodes(engine, "", ""), (9, 900))


class Instructions(FolderTest):
    def count(self, *arguments: str) -> str:
        """What is printed; skips the test where nothing can be counted."""
        try:
            instructions.count(engine_path(), 1)
        except instructions.CountError as error:
            self.skipTest(str(error))
        return printed("instructions", engine_path(), *arguments)

    def bound(self, per_node: int, compiler: str | None = None) -> str:
        text = f"# a comment\n\n3 {per_node} {compiler or instructions.compiler_of(engine_path())}\n"
        self.write("bound.txt", text.encode())
        return self.path("bound.txt")

    def test_by_function_and_file(self) -> None:
        said = self.count()
        self.assertRegex(said, r"^\d+ instructions per node over benchsearch 3 \(\d+ nodes\)\n")
        self.assertRegex(said, r"\n +\d+\.\d +\d+\.\d%  seeGE\n")

    def test_within_the_bound(self) -> None:
        per_node = int(self.count().split()[0])
        first, second = self.count("--bound", self.bound(per_node + 1)).splitlines()
        self.assertTrue(first.startswith(f"{per_node} instructions per node over benchsearch 3"))
        self.assertEqual(second, f"within the bound of {per_node + 1}")

    def test_above_the_bound(self) -> None:
        self.count()
        output = io.StringIO()
        with contextlib.redirect_stdout(output), self.assertRaises(SystemExit) as ended:
            measure.count_instructions(engine_path(), instructions.bound_in(self.bound(1)))
        self.assertEqual(ended.exception.code, 1)
        self.assertRegex(output.getvalue(), r"\n +\d+\.\d +\d+\.\d%  seeGE\n")
        self.assertRegex(output.getvalue(), r"\ntoo many: at most 1 are expected. Find what costs them .*"
                                            r"or raise the bound in .*/bound.txt on purpose\n$")

    def test_another_compiler(self) -> None:
        self.assertRegex(self.count("--bound", self.bound(1, "Nobody 1.0")),
                         r"nodes\)\nnot judged: .*/bound.txt is about Nobody 1\.0, this is built by \w+ [\d.]+\n$")


class Bound(unittest.TestCase):
    def judge(self, per_node: float, compiler: str = "GNU 12.2.0") -> tuple[bool, str]:
        counted = instructions.Count(8, 1000, int(per_node * 1000), collections.Counter(), collections.Counter())
        return instructions.judge(counted, compiler, instructions.Bound("file", 8, 1000, "GNU 12.2.0"))

    def test_judged(self) -> None:
        self.assertEqual(self.judge(1000.0), (True, "within the bound of 1000"))
        self.assertEqual(self.judge(1000.1)[0], False)
        self.assertEqual(self.judge(5000, "GNU 13.1.0")[0], True)
        self.assertIn("too loose now: lower it in file", self.judge(970)[1])

    def test_the_file(self) -> None:
        bound = instructions.bound_in(str(BOUND))
        self.assertRegex(bound.compiler, r"^GNU \d+\.\d+\.\d+$")
        self.assertEqual(bound.depth, instructions.DEPTH)


class Waits(FolderTest):
    """From what perf says to the table; whether the system lets perf look is another matter."""

    SOURCE = ("__attribute__((noinline)) int idle(int x) { return x + 1; }\n"
              "__attribute__((noinline)) int busy(int x) { return x * 3; }\n"
              "int main(int count, char**) { return idle(busy(count)); }\n")

    def program(self, *options: str) -> str:
        self.write("program.cpp", self.SOURCE.encode())
        path = os.path.realpath(self.path("program"))
        subprocess.run(["c++", *options, "-O1", "-o", path, self.path("program.cpp")], check=True)
        return path

    def script(self, path: str) -> str:
        """Three beats in one function, one in another, one in the system."""
        symbols = subprocess.run(["nm", "-C", path], stdout=subprocess.PIPE, text=True, check=True).stdout
        idle, busy = (int(re.search(rf"^(\w+) T {name}\(int\)$", symbols, re.MULTILINE)[1], 16)
                      for name in ("idle", "busy"))
        offset, address, size = next(s for s in waits.segments(path) if s[1] <= busy < s[1] + s[2])
        begin = 0x7f0000000000
        beat = [begin + at - address for at in (busy, idle, busy, busy)]
        return (f"PERF_RECORD_MMAP2 7/7: [{begin:#x}({size:#x}) @ {offset:#x} fe:00 1 2]: r-xp {path}\n"
                f"PERF_RECORD_MMAP2 7/7: [0x1000(0x1000) @ 0 00:00 0 0]: r-xp [vdso]\n"
                + "".join(f" {at:x} ({path})\n" for at in beat) + " ffffffff8134315f ([kernel.kallsyms])\n")

    def test_table(self) -> None:
        for kind in (["-pie", "-fPIE"], ["-no-pie", "-fno-pie"]):
            with self.subTest(kind):
                path = self.program("-g", *kind)
                output = io.StringIO()
                with contextlib.redirect_stdout(output):
                    waits.print_table(path, self.script(path))
                first, _, _, *rows = output.getvalue().splitlines()
                self.assertRegex(first, r"^5 beats of benchsearch 13; 20\.0% \(outside the engine")
                self.assertEqual(len(rows), 2)
                self.assertRegex(rows[0], r"^ 60\.0%  busy, .*program\.cpp:2, __attribute__.* x \* 3; }$")
                self.assertRegex(rows[1], r"^ 20\.0%  idle, .*program\.cpp:1, ")

    def test_without_lines(self) -> None:
        path = self.program()
        with self.assertRaisesRegex(waits.ProfileError, "tells no lines of its source: build it with .*-g$"):
            waits.print_table(path, self.script(path))

    def test_perf_fails(self) -> None:
        self.write("perf", b"#!/bin/sh\necho 'no access' >&2\nexit 1\n")
        os.chmod(self.path("perf"), 0o755)
        with unittest.mock.patch.dict(os.environ, PATH=f"{self.folder}:{os.environ['PATH']}"):
            self.assertEqual(refused("waits", engine_path()), (2, "measure.py: perf record failed: no access\n"))


if __name__ == "__main__":
    unittest.main()
