"""A build depends on the source, the compiler and the settings, and on nothing else.

The engine under test is built once more: from a copy of the sources in a folder with another kind
of name, by another build folder, under another locale, time zone, date and mask. It has to be the
same byte for byte.
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
        if setting("CMAKE_BUILD_TYPE") != "Release" or setting("MORVANE_PROFILE"):
            self.skipTest("debug information and profiles name folders")
        arguments = " ".join(f"-D{name}={setting(name)}" for name in SETTINGS)
        arguments += f" -DMORVANE_REVISION={revision()}"
        self.make("-j2", f"CXX={setting('CMAKE_CXX_COMPILER')}", f"CMAKE_ARGS={arguments}",
                  **language("uk_UA.UTF-8"), **SURROUNDING)
        built, given = self.tree / "morvane", pathlib.Path(engine_path())
        self.assertTrue(built.read_bytes() == given.read_bytes(), "the bytes differ")


if __name__ == "__main__":
    unittest.main()
