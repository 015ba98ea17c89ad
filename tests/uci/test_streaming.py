"""Feature export reads and writes files of any size in the same memory."""

import os
import subprocess
import tempfile
import unittest

from client import engine_path

FEN = "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N2N2/PP2BPPP/R1BQ1RK1 w - - 4 9"
SLACK = 4 << 20  # bytes: buffers, and what the allocator rounds up


class Streaming(unittest.TestCase):
    def peak_memory(self, lines: int, nul_bytes: int = 0) -> int:
        """Peak memory, in bytes, of exporting this many lines and a last one of NUL bytes."""
        with tempfile.TemporaryDirectory() as folder:
            source, rows = os.path.join(folder, "data.txt"), os.path.join(folder, "rows.txt")
            with open(source, "wb") as file:
                # In pieces: the child's peak includes this process's memory when it starts.
                for _ in range(lines // 1000):
                    file.write(f"{FEN} [0.5] [12]\n".encode() * 1000)
                file.truncate(file.tell() + nul_bytes)
            process = subprocess.Popen([engine_path(), "featureexport", source, rows],
                                       stderr=subprocess.DEVNULL)
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            self.assertEqual(process.returncode, 0)
            with open(rows, "rb") as file:
                self.assertEqual(sum(1 for _ in file), lines)
            return usage.ru_maxrss * 1024

    def test_memory_does_not_grow_with_the_file(self) -> None:
        small = self.peak_memory(1000)
        large = self.peak_memory(300_000)  # 24 MB in, 100 MB out
        self.assertLess(large, small + SLACK)

    def test_a_file_without_line_ends_has_a_bound(self) -> None:
        small = self.peak_memory(1000)
        bound = small + (16 << 20) + SLACK  # the longest line
        self.assertLess(self.peak_memory(1000, 80 << 20), bound)
