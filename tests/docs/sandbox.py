"""A scratch copy of the repository in which the commands of one page run.

Its `build` folder holds links to the programs under test, so that nothing is built; commands that
take minutes are replaced by stand-ins (standins.py).  What commands write stays here for the blocks
that follow.
"""

from __future__ import annotations

import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

import standins
from client import engine_path
from pages import ROOT

LIMIT = 600.0  # seconds for one block: far more than any should take, a build with a changed source included
LEFT_OUT = shutil.ignore_patterns("build", ".git", "__pycache__", "node_modules", "data.txt", "rows.txt", "shards")
SHELL_STAND_IN = """#!/bin/sh
exec {python} -B {script} {name} "$@"
"""
PYTHON_STAND_IN = """#!{python}
import os, sys
os.execv({python!r}, [{python!r}, "-B", {script!r}, {name!r}, *sys.argv[1:]])
"""

# Programs that a block needs, by what names them. Where one is missing the block is left out.
OPTIONAL_PROGRAMS = {
    "scripts/datagen-shards": "parallel",
    "all.txt.zst": "zstd",
    "scripts/match": "xboard",
    "scripts/solve-epd": "polyglot",
    "tuning/compare": "npm",
    "polyglot": "polyglot",
    "xboard": "xboard",
    "xvfb-run": "xvfb-run",
}
GAMES = "/usr/games"  # on the path of a user's shell


def program(name: str, variable: str) -> str:
    """The path of a program besides the engine; empty if it was not built."""
    beside = pathlib.Path(engine_path()).parent / name
    usual = ROOT / "build" / "test" / name
    for path in (os.environ.get(variable, ""), str(beside), str(usual)):
        if path and os.access(path, os.X_OK):
            return os.path.abspath(path)
    return ""


def other_programs() -> dict[str, str]:
    """Those that were built, by the variables that name them."""
    found = {variable: program(name, variable) for name, variable in standins.OTHERS.items()}
    return {variable: path for variable, path in found.items() if path}


class Sandbox:
    def __init__(self) -> None:
        self._temporary = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self._folder = pathlib.Path(self._temporary.name).resolve()
        self.root = self._folder / "morvane"  # where blocks run
        self._log = self._folder / "log"
        shutil.copytree(ROOT, self.root, ignore=LEFT_OUT, symlinks=True)
        if shutil.which("git"):
            self._git("init", "--quiet")
            self._git("add", "--all")
        self._place_programs()
        for name in standins.PROGRAMS:
            self._stand_in(self._folder / "bin" / name, name)
        for name in standins.SCRIPTS:
            self._stand_in(self.root / name, name)
        (self._folder / "home").mkdir()

    def close(self) -> None:
        self._temporary.cleanup()

    def _place_programs(self) -> None:
        (self._folder / "bin").mkdir()
        places = [self._folder / "bin", *(self.root / "build" / n for n in ("release", "test"))]
        for place in places:
            place.mkdir(parents=True, exist_ok=True)
            (place / standins.ENGINE).symlink_to(engine_path())
        if selfcheck := other_programs().get(standins.OTHERS[standins.SELFCHECK]):
            link = self.root / "build" / "test" / standins.SELFCHECK
            link.parent.mkdir()
            link.symlink_to(selfcheck)

    def _stand_in(self, place: pathlib.Path, name: str) -> None:
        """A script that is not there, or cannot be run, gets a stand-in that neither can."""
        mode = 0o755
        if name in standins.SCRIPTS:
            if not (ROOT / name).is_file():
                return
            mode = (ROOT / name).stat().st_mode
            place.unlink()
        text = PYTHON_STAND_IN if name.endswith(".py") else SHELL_STAND_IN
        place.write_text(text.format(python=sys.executable, name=name,
                                     script=os.path.abspath(standins.__file__)))
        place.chmod(mode)

    def _environment(self) -> dict[str, str]:
        kept = {k: v for k, v in os.environ.items() if not k.startswith(("PARALLEL", "MORVANE_"))}
        own = {
            "PATH": f"{self._folder / 'bin'}:{os.environ['PATH']}:{GAMES}",
            "HOME": str(self._folder / "home"),
            "MORVANE_SANDBOX": str(self._folder),
            "MORVANE_STANDIN_LOG": str(self._log),
            "MORVANE_ENGINE": engine_path(),
            "MORVANE_CACHE": os.environ.get("MORVANE_CACHE", str(ROOT / "build")),  # of libraries
        }
        return kept | own | other_programs()

    def run(self, commands: str, limit: float = LIMIT) -> tuple[int | None, str]:
        """Runs commands; returns their exit status, None if they took too long, and what they
        wrote on both streams."""
        process = subprocess.Popen(
            ["bash", "-euo", "pipefail", "-c", commands], cwd=self.root, env=self._environment(),
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            start_new_session=True)
        try:
            output, _ = process.communicate(timeout=limit)
            return process.returncode, output.decode(errors="replace")
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            output, _ = process.communicate()
            return None, output.decode(errors="replace")

    def _git(self, *arguments: str) -> str:
        settings = os.environ | {"GIT_CONFIG_GLOBAL": os.devnull, "GIT_CONFIG_SYSTEM": os.devnull}
        done = subprocess.run(["git", *arguments], cwd=self.root, env=settings, stdout=subprocess.PIPE, text=True,
                              check=True)
        return done.stdout

    def left_behind(self) -> list[str]:
        """Files that commands have left and that git would take for new parts of the repository."""
        if not (self.root / ".git").exists():
            return []
        return self._git("ls-files", "--others", "--exclude-standard", "--directory").splitlines()

    def take_log(self) -> list[str]:
        """What stand-ins have checked since the last call."""
        if not self._log.exists():
            return []
        lines = self._log.read_text(encoding="utf-8").splitlines()
        self._log.unlink()
        return lines

    @staticmethod
    def missing_program(commands: str) -> str:
        """The first program that the commands need and this machine lacks; empty without one."""
        path = f"{os.environ['PATH']}:{GAMES}"
        for name, program in OPTIONAL_PROGRAMS.items():
            named = re.search(rf"(?<![\w-]){name}(?![\w-])", commands)
            if named and not shutil.which(program, path=path):
                return program
        lacking = [name for name, variable in standins.OTHERS.items() if variable not in other_programs()]
        return next((name for name in lacking if name in commands), "")
