"""A build depends on the source, the compiler and the settings, and on nothing else.

The engine under test is built once more: from a copy of the sources in a folder with another kind
of name, by another build folder, under another locale, time zone, date and mask. If it was built by a
profile, the copy is trained anew. It has to be the same byte for byte.
"""

import pathlib
import re
import subprocess
import sys
import unittest

from client import engine_path, run_mode
from test_determinism import language
from test_makefile import TreeTest
from test_processor import setting

SETTINGS = ("MORVANE_ARCH", "MORVANE_HARDEN", "MORVANE_LTO", "MORVANE_PEXT", "MORVANE_STATIC")
SURROUNDING = {"TZ": "Asia/Tokyo", "SOURCE_DATE_EPOCH": "1000000000",
               "USER": "nobody", "HOME": "/nonexistent"}


def revision() -> str:
    """What the engine says of its sources; the copy is no checkout that could be asked."""
    match = re.search(r", revision (\S+)", run_mode("--version").stderr.decode())
    return match[1] if match else ""


def counts(profile: pathlib.Path) -> dict[str, list[str]]:
    """What g++ has counted, by source; without the lines that tell builds apart."""
    def read(file: pathlib.Path) -> list[str]:
        told = subprocess.run(["gcov-dump", "-l", file.name], cwd=profile, capture_output=True, text=True, check=True)
        return [line for line in told.stdout.splitlines() if "stamp" not in line and "checksum" not in line]
    return {file.name: read(file) for file in profile.glob("*.gcda")}


class Reproducible(TreeTest):
    def test_the_same_bytes_elsewhere(self) -> None:
        if setting("CMAKE_BUILD_TYPE") != "Release":
            self.skipTest("debug information names folders")
        arguments = [f"-D{name}={setting(name)}" for name in SETTINGS] + [f"-DMORVANE_REVISION={revision()}"]
        compiler = setting("CMAKE_CXX_COMPILER")
        surrounding = language("uk_UA.UTF-8") | SURROUNDING
        if setting("MORVANE_PROFILE") == "USE":
            # A single trained build was seen to differ, on a machine at its limits, and never again: neither the
            # counts of a hundred trainings nor what was compiled from them. What depends on the folder or the
            # surroundings differs twice; the first time the test tells where.
            for _ in range(2):
                self.call("scripts/build-profiled", f"-DCMAKE_CXX_COMPILER={compiler}", *arguments, **surrounding)
                if self.is_engine(self.tree / "build" / "profiled" / "morvane"):
                    return
                print("a trained build differs, and so do the counts of", self.differing_counts(), file=sys.stderr)
            self.fail("the bytes differ, twice")
        self.make("-j2", f"CXX={compiler}", f"CMAKE_ARGS={' '.join(arguments)}", **surrounding)
        self.assertTrue(self.is_engine(self.tree / "morvane"), "the bytes differ")

    def differing_counts(self) -> list[str]:
        """The sources for which the copy has counted otherwise than the engine under test, or one of both nothing."""
        ours = counts(pathlib.Path(engine_path()).parent / "profile")
        copied = counts(self.tree / "build" / "profiled" / "profile")
        return sorted(name for name in ours.keys() | copied.keys() if ours.get(name) != copied.get(name))

    @staticmethod
    def is_engine(built: pathlib.Path) -> bool:
        return built.read_bytes() == pathlib.Path(engine_path()).read_bytes()


if __name__ == "__main__":
    unittest.main()
