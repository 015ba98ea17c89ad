"""Libraries for Node.js: the rules of chess behind pipes, sharing nothing with the engine.

A library is installed once, by npm, into the folder that the environment variable MORVANE_CACHE
names, or else into this checkout's build folder.  Tests are skipped where that cannot be done.
"""

from __future__ import annotations

import json
import os
import re
import shutil
import subprocess
import tempfile
import unittest
from types import SimpleNamespace

RULES = ("chess.js", "1.4.0")
HERE = os.path.dirname(os.path.abspath(__file__))
BUILD = os.path.join(os.path.dirname(os.path.dirname(HERE)), "build")


def install(library: str, version: str) -> str:
    """The folder with the library in its node_modules.  Raises SkipTest if there is none."""
    for program in ("node", "npm"):
        if not shutil.which(program):
            raise unittest.SkipTest(f"{program} is not installed")
    cache = os.path.abspath(os.environ.get("MORVANE_CACHE", BUILD))
    folder = os.path.join(cache, f"{library}-{version}")
    if os.path.isdir(folder):
        return folder
    os.makedirs(cache, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=cache) as place:
        fresh = os.path.join(place, "fresh")
        os.mkdir(fresh)
        npm = subprocess.run(
            ["npm", "install", "--no-save", "--no-package-lock", "--no-audit", "--no-fund",
             "--prefix", fresh, f"{library}@{version}"],
            capture_output=True, text=True, timeout=300, check=False)
        if npm.returncode != 0:
            raise unittest.SkipTest(f"npm cannot install {library} {version}: {npm.stderr[-500:]}")
        try:
            os.rename(fresh, folder)
        except OSError:
            if not os.path.isdir(folder):  # otherwise another test was faster
                raise
    return folder


class Script:
    """A script of this folder that answers requests, both in JSON and a line each."""

    def __init__(self, name: str, *arguments: str) -> None:
        self._process = subprocess.Popen(
            ["node", os.path.join(HERE, name), *arguments],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def ask(self, request: object) -> SimpleNamespace:
        self._process.stdin.write(json.dumps(request) + "\n")
        self._process.stdin.flush()
        return SimpleNamespace(**json.loads(self._process.stdout.readline()))

    def close(self) -> None:
        self._process.stdin.close()
        self._process.wait()
        self._process.stdout.close()


class Rules(Script):
    """What rules.mjs tells."""

    def __init__(self) -> None:
        super().__init__("rules.mjs", install(*RULES))

    def play(self, fen: str, moves: list[str], trace: bool = False) -> SimpleNamespace:
        """Of the moves, of the position that they lead to and, if wanted, of those between."""
        return self.ask({"fen": fen, "moves": moves, "trace": trace})

    def is_legal(self, fen: str, moves: list[str]) -> bool:
        return self.play(fen, moves).legal == len(moves)

    def translate(self, fen: str, move: str) -> SimpleNamespace:
        """A move in the engine's notation and in the usual one; both None if there is none."""
        return self.ask({"fen": fen, "san": move})

    def replay(self, pgn: str) -> SimpleNamespace:
        """A game as it is written down, without its comments: the library refuses some of them."""
        return self.ask({"pgn": re.sub(r"\{[^{}]*\}", "", pgn)})
