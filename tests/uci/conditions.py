"""What a test may need of the machine and of the build under test: skipped, with the reason, where it is not given."""

from __future__ import annotations

import functools
import os
import shutil
import subprocess
import unittest

from client import engine_path

STRACE = shutil.which("strace")
ON_LINUX = os.path.isdir(f"/proc/{os.getpid()}/task")


@functools.cache
def is_instrumented() -> bool:
    """Whether the engine was built with a sanitizer: it is slow, and uses memory its own way."""
    with open(engine_path(), "rb") as file:
        program = file.read()
    return b"__asan_init" in program or b"__tsan_init" in program


def why_no_trace() -> str:
    """Why strace cannot be used here; empty if it can."""
    if not STRACE:
        return "strace is not installed"
    if is_instrumented():
        return "the leak checker cannot run in a traced process"
    allowed = subprocess.run([STRACE, "-o", os.devnull, "true"], check=False, stderr=subprocess.DEVNULL)
    return "" if allowed.returncode == 0 else "strace may not trace here"


needs_proc = unittest.skipUnless(ON_LINUX, "reads the system's process table")
needs_plain_build = unittest.skipIf(
    not ON_LINUX or is_instrumented(), "limits or measures memory, which sanitizers use their way")
needs_strace = unittest.skipIf(why_no_trace(), why_no_trace())
