"""What Windows refuses is told, and the engine goes on; clocks are as fine as short games need.

Wine keeps no limits of jobs. The refusals come from the Linux system below it, whose limit is set while the engine
runs: for the engine they are those of VirtualAlloc and of _beginthreadex.
"""

from __future__ import annotations

import resource
import statistics
import time

from grammar import BEST_MOVE
from test_limits import RICH, refusal
from test_options import MIB, OptionTest

TABLE = 3000  # MiB: more than Wine has reserved, which it would take it from


class Refused(OptionTest):
    def limit(self, room_mib: int) -> None:
        """Leaves the engine so much more address space than it has."""
        size = (self.status("VmSize") << 10) + room_mib * MIB
        resource.prlimit(self.engine.pid, resource.RLIMIT_AS, (size, resource.RLIM_INFINITY))

    def unlimited(self) -> None:
        resource.prlimit(self.engine.pid, resource.RLIMIT_AS, 2 * (resource.RLIM_INFINITY,))

    def counts(self) -> list[tuple[int, int]]:
        return self.engine.nodes("ucinewgame", RICH, "go depth 10")

    def test_a_table(self) -> None:
        self.engine.answers("setoption name Hash value 64", "isready")
        counts = self.counts()
        self.limit(100)
        self.assertEqual(self.engine.answers(f"setoption name Hash value {TABLE}"), [refusal("Hash", TABLE)])
        self.assertEqual(self.counts(), counts)
        self.unlimited()
        self.assertEqual(self.engine.answers(f"setoption name Hash value {TABLE}"), [])

    def test_threads(self) -> None:
        self.engine.answers()
        self.limit(150)
        self.assertEqual(self.engine.answers("setoption name Threads value 256"), [refusal("Threads", 256)])
        self.assert_legal(self.engine, self.engine.best_move("go depth 5"))
        self.assertEqual(self.engine.answers("setoption name Threads value 3"), [])
        self.unlimited()
        self.assertEqual(self.engine.answers("setoption name Threads value 256"), [])
        self.assert_legal(self.engine, self.engine.best_move("go depth 5"))


class Clock(OptionTest):
    def took(self, go: str) -> float:
        """Milliseconds until the answer, typically."""
        times = []
        for _ in range(15):
            start = time.monotonic()
            self.engine.best_move(RICH, go)
            times.append(1000 * (time.monotonic() - start))
        return statistics.median(times)

    def test_ten_milliseconds(self) -> None:
        for threads in (1, 2):
            with self.subTest(threads=threads):
                self.engine.answers(f"setoption name Threads value {threads}",
                                    "setoption name Move Overhead value 0")
                self.assertLess(self.took("go movetime 10"), 30)
                self.assertGreater(self.took("go movetime 40"), 35)

    def test_times_that_are_printed(self) -> None:
        self.engine.send(RICH, "go movetime 1000")
        start = time.monotonic()
        lines = self.engine.read_until(BEST_MOVE)
        told = [int(line.split(" time ")[1].split()[0]) for line in lines if " time " in line]
        self.assertLess(time.monotonic() - start, 1.5)
        self.assertEqual(told, sorted(told))
        self.assertGreater(len(set(told)), 5)
