"""The script that lets two engines play a match, and the one that counts."""

from __future__ import annotations

import math
import os
import shutil
import unittest

from client import engine_path
from programs import PATH, ProgramTest, require
from test_rules import OPENINGS, lines_of


def game(white: str, black: str, result: str, ending: str = "Checkmate", fen: str = "") -> str:
    opening = f'[FEN "{fen}"]\n' if fen else ""
    return (f'[Event "?"]\n[White "{white}"]\n[Black "{black}"]\n[Result "{result}"]\n{opening}\n'
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

    def test_a_game_that_is_missing(self) -> None:
        """A display and a referee that end after a game."""
        self.write("one.pgn", game("engine", "morvane", "1-0").encode())
        self.write("xvfb-run", f"""#!/bin/sh
while [ "$1" != -sgf ]; do shift; done
cp '{self.path("one.pgn")}' "$2"
""".encode())
        os.chmod(self.path("xvfb-run"), 0o755)
        done = self.script("match", "./engine", engine_path(), "2", "1", PGN="games.pgn",
                           PATH=f"{self.folder}:{PATH}")
        self.assertEqual((done.status, done.stderr), (1, "match: only 1 of 2 games were played\n"), done.stdout)
        self.assertIn("Games: ", done.stdout)

    def test_what_is_refused(self) -> None:
        self.write("match.pgn", b"old games")
        self.assert_refused("match.pgn exists", "./engine", "./engine", "2")
        self.assertEqual(self.read("match.pgn"), b"old games")
        new = {"PGN": "new.pgn"}
        self.assert_refused("which two engines?", "./engine", **new)
        self.assert_refused("is no program", "./engine", "./nothing", "2", **new)
        for engines in (("./engine", "/bin/cat"), ("/bin/true", "./engine")):
            self.assert_refused(f"{engines[engines[0] == './engine']} is no UCI engine", *engines, "2", "1", **new)
        self.assert_refused("GAMES must be", "./engine", "./engine", "many", **new)
        self.assert_refused("TIME must be", "./engine", "./engine", "2", "0", **new)
        self.assert_refused("INC must be", "./engine", "./engine", "2", "1", "x", **new)
        self.write("empty", b"# no position\n")
        self.assert_refused("no position", "./engine", "./engine", OPENINGS="empty", **new)
        self.assertFalse(os.path.exists(self.path("new.pgn")))


class Packages(ProgramTest):
    def test_what_is_missing_is_named_with_its_package(self) -> None:
        """One program after another is installed, as it were, in a folder that is all of the PATH."""
        os.mkdir(self.path("bin"))
        for name in ("bash", "dirname", "readlink"):
            os.symlink(shutil.which(name), self.path(f"bin/{name}"))
        for name, package in (("xboard", "xboard"), ("polyglot", "polyglot"), ("xvfb-run", "xvfb"),
                              ("xauth", "xauth"), ("python3", "python3")):
            if name in ("xboard", "polyglot") and os.path.exists(f"/usr/games/{name}"):
                continue
            done = self.script("match", "./engine", "./engine", PATH=self.path("bin"))
            self.assertEqual((done.status, done.stderr),
                             (2, f"match: {name} is not installed (Debian package: {package})\n"))
            self.write(f"bin/{name}", b"#!/bin/sh\n")
            os.chmod(self.path(f"bin/{name}"), 0o755)


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
               f"Elo difference: {self.told({2: 15, 0.5: 10})}\n"))
        self.assertEqual(self.score(text, "B").stdout, (
            "B against A: 10 won, 30 lost, 10 drawn; 15 of 50 points (30.0 %)\n"
            f"Elo difference: {self.told({0: 15, 1.5: 10})}\n"))

    @staticmethod
    def told(pairs: dict[float, int]) -> str:
        """From the share of the points in pairs, worked out once more."""
        count = sum(pairs.values())
        share = sum(points / 2 * times for points, times in pairs.items()) / count
        variance = sum((points / 2 - share) ** 2 * times for points, times in pairs.items()) / count
        margin = 1.96 * (variance / count) ** 0.5
        middle, low, high = (400 * math.log10(x / (1 - x)) for x in (share, share - margin, share + margin))
        return f"{middle:+.1f}, 95 % interval {low:+.1f} to {high:+.1f}"

    def test_games_of_a_pair_are_not_independent(self) -> None:
        """Each opening is won by the same colour twice: no two engines could be more equal."""
        for count in (2, 20):
            text = "".join(game("A", "B", result, fen=f"{number}") + game("B", "A", result, fen=f"{number}")
                           for number, result in enumerate(["1-0", "0-1"] * (count // 2)))
            self.assertIn("Elo difference: not to be told, all pairs ended alike", self.score(text).stdout)
        text += game("A", "B", "1-0", fen="x") + game("B", "A", "1/2-1/2", fen="x")
        self.assertIn(self.told({1: 20, 1.5: 1}), self.score(text).stdout)

    def test_pairs_are_found_by_their_openings(self) -> None:
        """Managers write games down as they end."""
        pairs = [(game("A", "B", "1-0", fen=fen), game("B", "A", "0-1", fen=fen)) for fen in "xy"]
        pairs += [(game("A", "B", "0-1", fen=fen), game("B", "A", "1/2-1/2", fen=fen)) for fen in "zuv"]
        first, second = ([pair[half] for pair in pairs] for half in (0, 1))
        for order in (first + second, second + first[::-1], second[::-1] + first):
            self.assertIn(self.told({2: 2, 0.5: 3}), self.score("".join(order), "A").stdout)

    def test_games_alone(self) -> None:
        text = 3 * game("A", "B", "1-0")
        done = self.score(text)
        self.assertEqual(done.stdout.splitlines()[1:], [
            "Elo difference: not to be told without pairs",
            "3 without the other game of a pair, left out of the difference"])
        paired = game("A", "B", "1-0") + game("B", "A", "1-0") + game("A", "B", "1-0") + game("B", "A", "0-1")
        lines = self.score(paired + game("A", "B", "1-0", fen="x")).stdout.splitlines()
        self.assertEqual(lines[0], "A against B: 4 won, 1 lost, 0 drawn; 4 of 5 points (80.0 %)")
        self.assertIn("Elo difference: +190.8, 95 % interval", lines[1])
        self.assertEqual(lines[2], "1 without the other game of a pair, left out of the difference")

    def test_other_players(self) -> None:
        done = self.score(game("A", "B", "1-0") + game("B", "C", "1-0") + game("C", "A", "1-0"), "A")
        self.assertEqual(done.stdout.splitlines()[0], "A against B and C: 1 won, 1 lost, 0 drawn; 1 of 2 points (50.0 %)")
        self.assertIn("2 without the other game", done.stdout)
        done = self.score(game("A", "B", "1-0"), "D")
        self.assertEqual((done.status, done.stdout), (2, ""))
        self.assertEqual(done.stderr, "match-score: no game of D in games.pgn, which has games of A, B\n")
        self.assertEqual(self.score("", "D").stderr, "match-score: no game of D in games.pgn\n")

    def test_what_is_no_file(self) -> None:
        done = self.script("match-score", "nothing.pgn")
        self.assertEqual((done.status, done.stderr.count("\n")), (2, 1))
        self.assertIn("nothing.pgn: No such file", done.stderr)

    def test_other_endings(self) -> None:
        done = self.score(game("A", "B", "1-0", "Black forfeits on\ntime") + game("B", "A", "1-0"))
        self.assertEqual(done.stdout.splitlines()[-1], "1 ended so: Black forfeits on time (B lost)")
        self.assertEqual(done.status, 0)
        done = self.score(game("A", "B", "1-0") + game("B", "A", "*", "Game aborted"))
        self.assertEqual(done.stdout.splitlines()[-1], "1 without a result")
        self.assertEqual(done.status, 1)
        done = self.score("")
        self.assertEqual((done.status, done.stdout), (1, "no game in games.pgn has a result\n"))

    def test_endings_in_a_tag(self) -> None:
        """Without a comment at the end, as tuning/compare writes games."""
        def tagged(white: str, black: str, result: str, reason: str) -> str:
            return (f'[Event "?"]\n[White "{white}"]\n[Black "{black}"]\n[Result "{result}"]\n'
                    f'[Termination "{reason}"]\n\n1. e4 e5 {result}\n\n')

        done = self.score(2 * tagged("A", "B", "1-0", "time") + tagged("A", "B", "0-1", "time")
                          + tagged("B", "A", "1/2-1/2", "length") + tagged("B", "A", "1-0", "mate")
                          + tagged("B", "A", "1/2-1/2", "the fifty-move rule"))
        self.assertEqual([line for line in done.stdout.splitlines() if "ended so" in line], [
            "2 ended so: time (B lost)", "1 ended so: time (A lost)", "1 ended so: length"])


if __name__ == "__main__":
    unittest.main()
