"""The rules of chess from a library that shares nothing with the engine, behind pipes.

The library is installed once, by npm, into the folder that the environment variable MORVANE_CACHE
names, or else into this checkout's build folder.  Tests are skipped where that cannot be done.
"""

from __future__ import annotations

import json
import os
import shutil
import subprocess
import tempfile
import unittest
from types import SimpleNamespace

LIBRARY, VERSION = "chess.js", "1.4.0"
HERE = os.path.dirname(os.path.abspath(__file__))
BUILD = os.path.join(os.path.dirname(os.path.dirname(HERE)), "build")


def install() -> str:
    """The folder with the library in its node_modules.  Raises SkipTest if there is none."""
    for program in ("node", "npm"):
        if not shutil.which(program):
            raise unittest.SkipTest(f"{program} is not installed")
    cache = os.path.abspath(os.environ.get("MORVANE_CACHE", BUILD))
    folder = os.path.join(cache, f"{LIBRARY}-{VERSION}")
    if os.path.isdir(folder):
        return folder
    os.makedirs(cache, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=cache) as place:
        fresh = os.path.join(place, "fresh")
        os.mkdir(fresh)
        npm = subprocess.run(
            ["npm", "install", "--no-save", "--no-package-lock", "--no-audit", "--no-fund",
             "--prefix", fresh, f"{LIBRARY}@{VERSION}"],
            capture_output=True, text=True, timeout=300, check=False)
        if npm.returncode != 0:
            raise unittest.SkipTest(f"npm cannot install {LIBRARY} {VERSION}: {npm.stderr[-500:]}")
        try:
            os.rename(fresh, folder)
        except OSError:
            if not os.path.isdir(folder):  # otherwise another test was faster
                raise
    return folder


class Rules:
    def __init__(self) -> None:
        self._process = subprocess.Popen(
            ["node", os.path.join(HERE, "rules.mjs"), install()],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def play(self, fen: str, moves: list[str]) -> SimpleNamespace:
        """What rules.mjs tells of the moves and of the position that they lead to."""
        self._process.stdin.write(json.dumps({"fen": fen, "moves": moves}) + "\n")
        self._process.stdin.flush()
        return SimpleNamespace(**json.loads(self._process.stdout.readline()))

    def is_legal(self, fen: str, moves: list[str]) -> bool:
        return self.play(fen, moves).legal == len(moves)

    def close(self) -> None:
        self._process.stdin.close()
        self._process.wait()
        self._process.stdout.close()
