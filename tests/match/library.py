"""Libraries for Node.js behind pipes (tuning/nodelibrary.py installs them): the rules of chess, sharing nothing with
the engine.  Tests are skipped where a library cannot be had."""

from __future__ import annotations

import json
import os
import re
import subprocess
import sys
import unittest
from collections.abc import Callable
from types import SimpleNamespace

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.append(os.path.join(HERE, "..", "..", "tuning"))

import nodelibrary  # noqa: E402
from nodelibrary import RULES  # noqa: E402


def install(library: str, version: str) -> str:
    """The folder with the library in its node_modules.  Raises SkipTest if there is none."""
    return or_skip(lambda: nodelibrary.install(library, version))


def install_locked(folder: str) -> str:
    """The same of what a folder's package-lock.json names."""
    return or_skip(lambda: nodelibrary.install_locked(folder))


def or_skip(install: Callable[[], str]) -> str:
    try:
        return install()
    except nodelibrary.Unavailable as reason:
        raise unittest.SkipTest(str(reason)) from None


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
