"""Other people's programs in tests: where Debian puts them, and what they leave behind."""

from __future__ import annotations

import os
import re
import shutil
import signal
import subprocess
import unittest
from types import SimpleNamespace

from client import FolderTest, engine_path
from library import Rules

PATH = os.environ["PATH"] + ":/usr/games"  # where Debian puts chess programs
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
RULE = r"mate|repetition|(50|fifty)[- ]move|insufficient|material"  # in the words of xboard


def require(*programs: str) -> None:
    for program in programs:
        if not shutil.which(program, path=PATH):
            raise unittest.SkipTest(f"{program} is not installed")


class ProgramTest(FolderTest):
    """A test that runs programs in a folder of its own, where `engine` is the engine."""

    def setUp(self) -> None:
        super().setUp()
        os.symlink(engine_path(), self.path("engine"))

    def run_program(self, *command: str, limit: float, **variables: str):
        """Runs a program to its end, or for so many seconds.  The programs keep their settings in
        the folder."""
        process = subprocess.Popen(
            command, cwd=self.folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True, errors="replace", start_new_session=True,
            env={**os.environ, "PATH": PATH, "HOME": self.folder, **variables})
        try:
            stdout, stderr = process.communicate(timeout=limit)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGTERM)
            stdout, stderr = process.communicate(timeout=30)
            self.fail(f"{command} does not end in {limit} s: {stdout[-2000:]} {stderr[-2000:]}")
        return SimpleNamespace(status=process.returncode, stdout=stdout, stderr=stderr)

    def script(self, name: str, *arguments: str, limit: float = 120.0, **variables: str):
        """Runs one of this project's scripts."""
        return self.run_program(os.path.join(ROOT, "scripts", name), *arguments, limit=limit,
                                **variables)

    def check_games(self, name: str, count: int) -> list[SimpleNamespace]:
        """The games of a PGN file: played in full, legal, and ended by a rule of chess."""
        rules = Rules()
        self.addCleanup(rules.close)
        text = self.read(name).decode()
        pgns = re.split(r"(?m)^(?=\[Event )", text)[1:]
        self.assertEqual(len(pgns), count, text)
        games = []
        for pgn in pgns:
            game = rules.replay(pgn)
            self.assertIsNone(game.error, f"{game.error}: {pgn}")
            self.assertGreater(len(game.moves), 10, pgn)
            result = game.headers["Result"]
            self.assertIn(result, ("1-0", "0-1", "1/2-1/2"), pgn)
            ending = " ".join(re.findall(r"\{([^{}]*)\}", pgn)[-1].split())
            self.assertRegex(ending.lower(), RULE)
            self.assertNotRegex(ending.lower(), "forfeit|illegal|exited|resign|time")
            self.assertEqual(rules.play(game.fen, []).end == "mate", result != "1/2-1/2", pgn)
            print(f"{game.headers['White']} - {game.headers['Black']}: {result}, {ending},"
                  f" {len(game.moves)} plies")
            games.append(game)
        return games
