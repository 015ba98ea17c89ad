"""How the executable was linked: what a mistake in it would be good for to somebody else."""

import re
import shutil
import subprocess
import sys
import unittest

from client import engine_path

READELF = shutil.which("readelf")


def read_elf(*options: str) -> str:
    command = [READELF, "-W", *options, engine_path()]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


@unittest.skipUnless(READELF and sys.platform == "linux", "reads ELF files by readelf")
class Hardening(unittest.TestCase):
    def test_position_independent(self) -> None:
        self.assertRegex(read_elf("-h"), r"Type:\s+DYN")
        self.assertRegex(read_elf("-d"), r"FLAGS_1.*\bPIE\b")

    def test_relocations_are_read_only(self) -> None:
        self.assertIn("GNU_RELRO", read_elf("-l"))
        self.assertRegex(read_elf("-d"), r"FLAGS_1.*\bNOW\b")

    def test_stacks_are_guarded_and_hold_no_code(self) -> None:
        self.assertIn("__stack_chk_fail", read_elf("--dyn-syms"))
        flags = re.search(r"GNU_STACK.* (R[W ][E ]) ", read_elf("-l"))
        self.assertEqual(flags[1], "RW ")

    def test_nothing_is_writable_and_executable(self) -> None:
        loads = re.findall(r"^  LOAD.* (R?)([W ])([E ]) ", read_elf("-l"), re.MULTILINE)
        self.assertGreater(len(loads), 1)
        self.assertNotIn(("W", "E"), [load[1:] for load in loads])

    def test_calls_of_the_library_are_checked(self) -> None:
        self.assertRegex(read_elf("--dyn-syms"), r"__\w+_chk\b")


if __name__ == "__main__":
    unittest.main()
