"""A build depends on the source, the compiler and the settings, and on nothing else.

The engine under test is built once more: from a copy of the sources in a folder with another kind
of name, by another build folder, under another locale, time zone, date and mask. It has to be the same byte for
byte. Builds by a profile are those of a release (test_release).
"""

import pathlib
import re
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


class Reproducible(TreeTest):
    def test_the_same_bytes_elsewhere(self) -> None:
        if setting("CMAKE_BUILD_TYPE") != "Release":
            self.skipTest("debug information names folders")
        if setting("MORVANE_PROFILE"):
            self.skipTest("trained builds are made again with the whole release")
        arguments = [f"-D{name}={setting(name)}" for name in SETTINGS] + [f"-DMORVANE_REVISION={revision()}"]
        compiler = setting("CMAKE_CXX_COMPILER")
        surrounding = language("uk_UA.UTF-8") | SURROUNDING
        self.make("-j2", f"CXX={compiler}", f"CMAKE_ARGS={' '.join(arguments)}", **surrounding)
        same = (self.tree / "morvane").read_bytes() == pathlib.Path(engine_path()).read_bytes()
        self.assertTrue(same, "the bytes differ")


if __name__ == "__main__":
    unittest.main()
