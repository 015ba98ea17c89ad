"""The script that lets two engines play a match, and the one that counts."""

from __future__ import annotations

import os
import unittest

from client import engine_path
from programs import ProgramTest, require
from test_rules import OPENINGS, lines_of


def game(white: str, black: str, result: str, ending: str = "Checkmate") -> str:
    return (f'[Event "?"]\n[White "{white}"]\n[Black "{black}"]\n[Result "{result}"]\n\n'
            f"1. e4 {{+0.12/8 mate}} e5\n{{{ending}}} {result}\n\n")


class Match(ProgramTest):
    def setUp(self) -> None:
        require("xvfb-run", "xboard", "polyglot")
        super().setUp()

    def test_two_games(self) -> None:
        done = self.script("match", "./engine", engine_path(), "2", "2", "0.05", PGN="games.pgn",
                           HASH="4")
        self.assertEqual(done.status, 0, done.stdout + done.stderr)
        first, second = self.check_games("games.pgn", 2)
        names = ["engine", os.path.basename(engine_path())]
        self.assertEqual([first.headers[key] for key in ("White", "Black")], names)
        self.assertEqual([second.headers[key] for key in ("Black", "White")], names)
        opening = lines_of(OPENINGS)[0].split()[:4]
        for played in (first, second):
            self.assertEqual(played.headers["FEN"].split()[:4], opening)
        count, difference, where = done.stdout.splitlines()
        self.assertRegex(count, rf"^engine against {names[1]}: \d won, .* of 2 points \(")
        self.assertRegex(difference, "^Elo difference: ")
        self.assertEqual(where, f"Games: {os.path.realpath(self.path('games.pgn'))}")

    def assert_refused(self, message: str, *arguments: str, **variables: str) -> None:
        done = self.script("match", *arguments, **variables)
        self.assertEqual(done.status, 2)
        self.assertIn(message, done.stdout + done.stderr)

    def test_what_is_refused(self) -> None:
        self.write("match.pgn", b"old games")
        self.assert_refused("match.pgn exists", "./engine", "./engine", "2")
        self.assertEqual(self.read("match.pgn"), b"old games")
        new = {"PGN": "new.pgn"}
        self.assert_refused("Usage", "./engine", **new)
        self.assert_refused("is no program", "./engine", "./nothing", "2", **new)
        self.assert_refused("GAMES must be", "./engine", "./engine", "many", **new)
        self.assert_refused("TIME must be", "./engine", "./engine", "2", "0", **new)
        self.assert_refused("INC must be", "./engine", "./engine", "2", "1", "x", **new)
        self.write("empty", b"# no position\n")
        self.assert_refused("no position", "./engine", "./engine", OPENINGS="empty", **new)
        self.assertFalse(os.path.exists(self.path("new.pgn")))


class Score(ProgramTest):
    def score(self, text: str, *name: str):
        self.write("games.pgn", text.encode())
        return self.script("match-score", "games.pgn", *name)

    def test_difference_and_interval(self) -> None:
        text = (15 * (game("A", "B", "1-0") + game("B", "A", "0-1")) + 10 * game("A", "B", "0-1")
                + 10 * game("B", "A", "1/2-1/2", "Draw by repetition"))
        done = self.score(text)
        self.assertEqual((done.status, done.stdout), (
            0, "A against B: 30 won, 10 lost, 10 drawn; 35 of 50 points (70.0 %)\n"
               "Elo difference: +147, 95 % interval +63 to +253\n"))
        self.assertEqual(self.score(text, "B").stdout, (
            "B against A: 10 won, 30 lost, 10 drawn; 15 of 50 points (30.0 %)\n"
            "Elo difference: -147, 95 % interval -253 to -63\n"))

    def test_few_games(self) -> None:
        self.assertIn("Elo difference: not to be told", self.score(game("A", "B", "1-0")).stdout)
        done = self.score(game("A", "B", "1-0") + game("B", "A", "1-0"))
        self.assertIn("Elo difference: +0, 95 % interval -inf to +inf", done.stdout)

    def test_other_endings(self) -> None:
        done = self.score(game("A", "B", "1-0", "Black forfeits on\ntime") + game("B", "A", "1-0"))
        self.assertEqual(done.stdout.splitlines()[-1], "1 ended so: Black forfeits on time")
        self.assertEqual(done.status, 0)
        done = self.score(game("A", "B", "1-0") + game("B", "A", "*", "Game aborted"))
        self.assertEqual(done.stdout.splitlines()[-1], "1 without a result")
        self.assertEqual(done.status, 1)
        self.assertEqual(self.score("").status, 1)


if __name__ == "__main__":
    unittest.main()
