"""However the engine is told to end, it is gone at once and leaves nothing behind.

The short form repeats every case 10 times, each at another moment.  MORVANE_REPETITIONS=1000
repeats them as often and prints the same figures: for a quiet machine.
"""

from __future__ import annotations

import itertools
import os
import random
import re
import select
import signal
import statistics
import subprocess
import time
import unittest
from collections.abc import Callable

import grammar
from client import FolderTest, engine_path
from conditions import is_instrumented

REPETITIONS = int(os.environ.get("MORVANE_REPETITIONS", 3 if is_instrumented() else 10))
TYPICAL = 0.1  # seconds until most processes are gone
LIMIT = 60.0 if is_instrumented() else 2.0  # seconds that a busy machine excuses
LATEST_MOMENT = 0.03  # seconds until the end comes

# A shell has what it runs in the background ignore this signal, and the engines would inherit that.
signal.signal(signal.SIGINT, signal.default_int_handler)

RICH = "position fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"
ENDLESS = f"{RICH}\ngo infinite\n"
BENCH_DEPTH = "6" if is_instrumented() else "11"  # over a second, the first line in a tenth of one


class Process:
    """An engine with pipes that can be closed one by one, in a process group of its own."""

    def __init__(self, *arguments: str, **options) -> None:
        self._process = subprocess.Popen(
            [engine_path(), *arguments], bufsize=0, start_new_session=True,
            **{"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": subprocess.DEVNULL,
               **options})
        self.pid = self._process.pid
        self.stdin, self.stdout = self._process.stdin, self._process.stdout
        self.stderr = self._process.stderr
        self.output = b""
        self._end = os.pidfd_open(self.pid)

    def send(self, text: str) -> None:
        self.stdin.write(text.encode())

    def read_until(self, pattern: str) -> None:
        """Reads on until a line of what has been read since the start matches."""
        wanted = re.compile(f"^{pattern}$".encode(), re.MULTILINE)
        while not wanted.search(self.output):
            chunk = os.read(self.stdout.fileno(), 65536)
            if not chunk:
                raise AssertionError(f"the engine ended before it said {pattern}: {self.output}")
            self.output += chunk

    def seconds_to_end(self) -> float | None:
        """Waits for the end of the process; None if it does not come."""
        start = time.monotonic()
        poll = select.poll()
        poll.register(self._end, select.POLLIN)
        return time.monotonic() - start if poll.poll(LIMIT * 1000) else None

    def wait(self) -> int:
        return self._process.wait(LIMIT)

    def lines(self) -> list[str]:
        """All lines that an ended process has printed."""
        if not self.stdout.closed:
            while chunk := os.read(self.stdout.fileno(), 65536):
                self.output += chunk
        return self.output.decode().split("\n")[:-1]

    def has_survivors(self) -> bool:
        """Whether anything is left of an ended process, be it a child of it."""
        try:
            os.killpg(self.pid, 0)
        except ProcessLookupError:
            return False
        return True

    def close(self) -> None:
        try:
            os.killpg(self.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self._process.wait()
        os.close(self._end)
        for stream in (self.stdin, self.stdout, self.stderr):
            if stream:
                stream.close()


# --- what the engine is at ---


def idle(process: Process) -> None:
    process.send("isready\n")
    process.read_until("readyok")


def fetching(process: Process) -> None:
    """The pages of a large table are being fetched."""
    process.send("setoption name Hash value 512\n")
    idle(process)


def searching(threads: int, go: str = ENDLESS) -> Callable[[Process], None]:
    def start(process: Process) -> None:
        process.send(f"setoption name Threads value {threads}\n{go}")
        process.read_until("info .*")

    return start


def searching_and_fetching(process: Process) -> None:
    fetching(process)
    searching(4)(process)


def bench_command(process: Process) -> None:
    idle(process)
    process.send(f"benchsearch {BENCH_DEPTH}\n")


# --- how it is told to end ---


def end_of_input(process: Process) -> None:
    process.stdin.close()


def quit_command(process: Process) -> None:
    process.send("quit\n")


def by_signal(number: int) -> Callable[[Process], None]:
    return lambda process: os.kill(process.pid, number)


def closed_output(process: Process) -> None:
    process.stdout.close()


def closed_output_then_a_line(process: Process) -> None:
    process.stdout.close()
    process.send("isready\n")


@unittest.skipUnless(hasattr(os, "pidfd_open"), "this system does not tell of a process's end")
class EndsTest(unittest.TestCase):
    def check(self, what: str, tell: Callable[[Process], None],
              state: Callable[[Process], None] | None, statuses: set[int], *arguments: str,
              typical: float = TYPICAL, answered: bool = False, **options) -> None:
        """Ends engines that are in a state.  Those that were searching have answered if asked."""
        rng = random.Random(what)
        times = []
        for _ in range(REPETITIONS):
            process = Process(*arguments, **options)
            try:
                if state:
                    state(process)
                time.sleep(rng.uniform(0, LATEST_MOMENT))
                tell(process)
                seconds = process.seconds_to_end()
                self.assertIsNotNone(seconds, f"{what}: not gone after {LIMIT} s")
                self.assertIn(process.wait(), statuses, what)
                self.assertFalse(process.has_survivors(), what)
                if answered:
                    lines = process.lines()
                    self.assertRegex(lines[-1], grammar.BEST_MOVE)
                    self.assertEqual(sum("bestmove" in line for line in lines), 1)
                for line in process.output.decode().split("\n")[:-1]:
                    self.assertTrue(grammar.is_protocol(line), line)
                times.append(seconds * 1000)
            finally:
                process.close()
        times.sort()
        print(f"{what}: {len(times)} times; median {statistics.median(times):.1f} ms,"
              f" 99 % within {times[(len(times) * 99 + 99) // 100 - 1]:.1f} ms,"
              f" longest {times[-1]:.1f} ms", flush=True)
        if not is_instrumented():
            self.assertLess(statistics.median(times), typical * 1000, what)


STATES = {
    "idle": idle,
    "fetching pages": fetching,
    "searching with 1 thread": searching(1),
    "searching with 4 threads": searching(4),
    "searching with 4 threads and fetching pages": searching_and_fetching,
}


class Input(EndsTest):
    def test_end_of_input_and_quit(self) -> None:
        for how, tell in (("end of input", end_of_input), ("quit", quit_command)):
            for what, state in STATES.items():
                with self.subTest(how=how, state=what):
                    self.check(f"{how}, {what}", tell, state, {0},
                               answered=what.startswith("searching"))


class Signals(EndsTest):
    def check_signal(self, number: int) -> None:
        name = signal.Signals(number).name
        statuses = {-number, 128 + number, 0}
        for what, state in {**STATES, "in benchsearch": bench_command}.items():
            with self.subTest(what):
                self.check(f"{name}, {what}", by_signal(number), state, statuses)
        with self.subTest("benchsearch"):
            self.check(f"{name}, benchsearch", by_signal(number), None, statuses,
                       "benchsearch", BENCH_DEPTH)

    def test_terminate(self) -> None:
        self.check_signal(signal.SIGTERM)

    def test_interrupt(self) -> None:
        self.check_signal(signal.SIGINT)


class ClosedOutput(EndsTest):
    """Nobody is there to read: the first line that cannot be written ends the engine, also when the
    parent has taught it to ignore the signal."""

    STATUSES = {0, 1, -signal.SIGPIPE}
    CLOCK = f"{RICH}\ngo wtime 30000000\n"  # prints a line at least every 300 ms
    TYPICAL_NEXT_LINE = 0.3 + TYPICAL

    def check_all(self, how: str, **options) -> None:
        for what, state in STATES.items():
            with self.subTest(what):
                self.check(f"output closed{how}, then a line, {what}", closed_output_then_a_line,
                           state, self.STATUSES, **options)
        for threads in (1, 4):
            with self.subTest("search", threads=threads):
                self.check(f"output closed{how}, searching with {threads} threads, its next line",
                           closed_output, searching(threads, self.CLOCK), self.STATUSES,
                           typical=self.TYPICAL_NEXT_LINE, **options)
        with self.subTest("benchsearch command"):
            self.check(f"output closed{how}, in benchsearch, its next line", closed_output,
                       bench_command, self.STATUSES, typical=self.TYPICAL_NEXT_LINE, **options)
        with self.subTest("benchsearch"):
            self.check(f"output closed{how}, benchsearch, its next line", closed_output, None,
                       self.STATUSES, "benchsearch", BENCH_DEPTH, typical=self.TYPICAL_NEXT_LINE,
                       **options)

    def test_signal_as_usual(self) -> None:
        self.check_all("")

    def test_signal_ignored(self) -> None:
        self.check_all(", its signal ignored", restore_signals=False)  # Python itself ignores it


class ClosedErrors(FolderTest):
    """Standard error is for people who look; without it nothing is missing."""

    def start(self, *arguments: str, reader: bool, ignored: bool) -> Process:
        """An engine without standard error, or with one that loses its reader after the start."""
        options = {"restore_signals": not ignored}
        if reader:
            process = Process(*arguments, stderr=subprocess.PIPE, **options)
            process.stderr.close()
        else:
            process = Process(*arguments, stderr=None, preexec_fn=lambda: os.close(2), **options)
        self.addCleanup(process.close)
        return process

    def check_diagnostics(self, **form: bool) -> None:
        process = self.start(**form)
        idle(process)
        process.send("position x\nsetoption name Hash value x\nposition startpos\ngo depth 6\n")
        process.read_until(grammar.BEST_MOVE)
        process.send(f"go infinite\nposition fen 8\n{RICH}\nd\nquit\n")
        self.assertEqual(process.wait(), 0)
        lines = process.lines()
        said = [line.split()[2] for line in lines if line.startswith("info string")]
        self.assertEqual(said, ["position:", "setoption", "position"])
        self.assertEqual(sum(line.startswith("bestmove") for line in lines), 2)
        self.assertRegex(lines[-1], f"fen: {grammar.FEN}")

    def check_modes(self, **form: bool) -> None:
        self.assertEqual(self.start("perft", "x", "0", **form).wait(), 1)
        arguments = ("datagen", "3", "nodes=100", "progress=1", f"out={self.path('data.txt')}")
        self.assertEqual(self.start(*arguments, **form).wait(), 0)
        self.assertGreater(len(self.read("data.txt")), 1000)
        os.remove(self.path("data.txt"))

    def test_all_forms(self) -> None:
        for reader, ignored in itertools.product((False, True), repeat=2):
            for check in (self.check_diagnostics, self.check_modes):
                with self.subTest(check.__name__, reader=reader, signal_ignored=ignored):
                    check(reader=reader, ignored=ignored)


if __name__ == "__main__":
    unittest.main()
