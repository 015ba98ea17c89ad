"""Pairs of games between two engines: who wins, how games end, and what is no game at all."""

from __future__ import annotations

import os
import re
import subprocess
import unittest
from collections import Counter

import elo
from client import FolderTest, engine_path
from library import RULES, install

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# An engine that speaks the protocol and answers each "go" by what is put in here.
MOCK = """#!/bin/sh
while read -r word rest; do
    case $word in
        uci) echo uciok ;;
        isready) echo readyok ;;
        quit) exit ;;
        go) {} ;;
    esac
done
"""
MATE_IN_1 = "6k1/5ppp/8/8/8/8/5PPP/R5K1 w - - 0 1"
BARE_KINGS_NEXT = "8/8/8/8/8/6k1/2q5/1K6 w - - 0 1"


class Compare(FolderTest):
    def setUp(self) -> None:
        super().setUp()
        install(*RULES)

    def mock(self, name: str, answer: str) -> str:
        path = self.write(name, MOCK.format(answer).encode())
        os.chmod(path, 0o755)
        return path

    def compare(self, first: str, second: str, fens: list[str], *options: str) -> tuple[int, str]:
        openings = self.write("openings", "".join(fen + "\n" for fen in fens).encode())
        done = subprocess.run(
            [f"{ROOT}/tuning/compare", first, second, "--openings", openings, "--pairs", str(len(fens)),
             "--pgn", self.path("games.pgn"), *options],
            capture_output=True, text=True, timeout=300, check=False)
        return done.returncode, done.stderr + done.stdout

    def test_an_engine_is_as_strong_as_itself(self) -> None:
        with open(f"{ROOT}/scripts/openings.epd", encoding="ascii") as file:
            fens = file.read().splitlines()[:4]
        status, said = self.compare(engine_path(), engine_path(), fens, "--nodes", "300", "--jobs", "2")
        self.assertEqual(status, 0, said)
        self.assertIn("8 games, 50.0 % of the points, pairs by points 0 0 4 0 0: Elo difference not to be told", said)
        self.assertEqual(self.read("games.pgn").decode().count("[Event "), 8)

    def test_more_nodes_are_stronger(self) -> None:
        more = self.mock("more", "")
        self.write("more", f"#!/bin/sh\nsed -u 's/nodes 50/nodes 5000/' | '{engine_path()}'\n".encode())
        with open(f"{ROOT}/scripts/openings.epd", encoding="ascii") as file:
            fens = file.read().splitlines()[:30]
        status, said = self.compare(more, engine_path(), fens, "--nodes", "50", "--sprt", "0,100",
                                    "--jobs", "2")
        self.assertEqual(status, 0, said)
        self.assertIn("\ndecided: +100 rather than +0", said)

    def test_it_says_what_it_plays_and_what_it_does_not_know(self) -> None:
        engine = engine_path()
        status, said = self.compare(engine, engine, [MATE_IN_1], "--nodes", "100", "--sprt", "0,10", "--jobs", "1")
        remark, first, _, verdict, *_ = said.splitlines()
        self.assertEqual((status, remark), (0, "compare: both engines are the same file"))
        self.assertEqual(first, f"{engine} against {engine}: 2 games at most, 100 nodes a move, 1 at a time")
        self.assertEqual(verdict, "undecided: +0 or +10")
        status, said = self.compare(engine, self.mock("mate", "echo bestmove a1a8"), [MATE_IN_1],
                                    "--clock", "2+0.05", "--jobs", "1")
        self.assertEqual(said.splitlines()[0],
                         f"{engine} against {self.path('mate')}: 2 games, 2 s and 0.05 s a move, 1 at a time")
        self.assertNotIn("undecided", said)

    def test_no_game_is_played_twice(self) -> None:
        with open(f"{ROOT}/scripts/openings.epd", encoding="ascii") as file:
            fens = file.read().splitlines()[:2]
        status, said = self.compare(engine_path(), engine_path(), fens, "--nodes", "1000", "--pairs", "6")
        self.assertEqual(status, 0, said)
        games = [game.split("]\n\n")[1] for game in self.read("games.pgn").decode().split("[Event ")[1:]]
        self.assertEqual((len(games), len(set(games))), (12, 6))  # colours reversed, an engine and itself

    def test_threads(self) -> None:
        players = [self.path("two"), self.path("one")]
        for player in players:
            self.write(player, f"#!/bin/sh\ntee {player}.sent | '{engine_path()}'\n".encode())
            os.chmod(player, 0o755)
        status, said = self.compare(*players, [MATE_IN_1], "--nodes", "1000", "--threads", "2,1")
        self.assertEqual(status, 0, said)
        jobs = max(1, (os.cpu_count() or 1) // 2)
        self.assertIn(f", {jobs} at a time, 2 threads against 1\n", said)
        for player, count in zip(players, (2, 1)):
            sent = self.read(f"{player}.sent").decode()
            self.assertEqual(re.findall("Threads value (.*)", sent), [str(count)])

    def test_clocks(self) -> None:
        status, said = self.compare(engine_path(), engine_path(), [MATE_IN_1], "--clock", "2+0.05")
        self.assertEqual((status, said.splitlines()[-1]), (0, "ended by mate: 2"), said)
        self.assertIn("50.0 %", said)

    def test_who_is_late_has_lost(self) -> None:
        sleeper = self.mock("sleeper", "sleep 0.5; echo bestmove g1h1")
        status, said = self.compare(engine_path(), sleeper, [MATE_IN_1], "--clock", "0.3+0")
        self.assertEqual((status, said.splitlines()[-1]), (1, "ended by mate: 1, time: 1"), said)
        self.assertIn("100.0 % of the points", said)

    def test_who_breaks_the_rules_has_lost(self) -> None:
        for answer, reason in (("echo bestmove g1g3", "illegal move"), ("echo bestmove 0000", "illegal move"),
                               ("echo bestmove a1a8q", "illegal move"), ("exit", "end of the engine")):
            with self.subTest(answer):
                status, said = self.compare(self.mock("mock", answer), engine_path(), [MATE_IN_1],
                                            "--nodes", "1000")
                if reason == "illegal move":
                    self.assertEqual((status, said.splitlines()[-1]), (1, f"ended by {reason}: 1, mate: 1"))
                    self.assertIn("pairs by points 1 0 0 0 0", said)
                else:
                    self.assertEqual(status, 1)

    def test_the_games_are_what_was_played(self) -> None:
        self.compare(engine_path(), engine_path(), [MATE_IN_1, BARE_KINGS_NEXT], "--nodes", "1000")
        text = self.read("games.pgn").decode()
        self.assertEqual(len(re.findall(r"1\. Ra8# 1-0", text)), 2)
        self.assertEqual(text.count("insufficient material"), 2)

    def assert_refused(self, message: str, *arguments: str, begun: bool = False) -> None:
        done = subprocess.run([f"{ROOT}/tuning/compare", *arguments], capture_output=True, text=True,
                              timeout=60, check=False)
        with self.subTest(arguments):
            self.assertEqual((done.returncode, done.stdout.count("\n"), done.stderr.count("\n")),
                             (2, int(begun), 1), done.stderr)
            self.assertIn(message, done.stderr)

    def test_what_cannot_be_compared_is_a_line(self) -> None:
        engine = engine_path()
        self.assert_refused("none is no program", self.path("none"), engine)
        self.assert_refused("README.md is no program", engine, f"{ROOT}/README.md")
        self.assert_refused("/bin/true is no UCI engine", "/bin/true", engine, begun=True)
        self.assert_refused("/bin/true is no UCI engine", engine, "/bin/true", "--jobs", "2", begun=True)
        self.assert_refused("No such file", engine, engine, "--openings", self.path("none"))
        self.assert_refused("no position", engine, engine, "--openings", "/dev/null")
        self.assert_refused("no FEN: x # Contributing", engine, engine, "--openings",
                            self.write("bad", b"x # Contributing\n"))
        self.assert_refused("cannot be written", engine, engine, "--pgn", self.path("none/games.pgn"))
        for option, value in (("--clock", "10"), ("--clock", "0+1"), ("--sprt", "5"), ("--sprt", "5,0"),
                              ("--pairs", "0"), ("--nodes", "many"), ("--threads", "1,0"), ("--threads", "1,2,3"),
                              ("--none", "1")):
            self.assert_refused(option, engine, engine, option, value)

    def test_a_file_of_games_is_added_to(self) -> None:
        self.write("games.pgn", b"old games\n")
        self.compare(engine_path(), engine_path(), [MATE_IN_1], "--nodes", "100")
        text = self.read("games.pgn").decode()
        self.assertEqual((text[:10], text.count("[Event ")), ("old games\n", 2))

    def test_an_engine_that_ends_ends_the_match(self) -> None:
        status, said = self.compare(self.mock("mock", "exit"), engine_path(), [MATE_IN_1] * 4, "--jobs", "1")
        self.assertEqual((status, said.splitlines()[0], said.splitlines()[-1]),
                         (1, f"compare: {self.path('mock')} has ended", "no pair was played"))


class Elo(unittest.TestCase):
    def test_of_a_score(self) -> None:
        score = elo.Score(Counter({0: 10, 0.5: 20, 1: 40, 1.5: 20, 2: 10}))
        self.assertEqual((score.count(), score.share()), (100, 0.5))
        value, low, high = score.interval()
        self.assertEqual(value, 0)
        self.assertAlmostEqual(-low, high)
        # The deviation of a pair is the root of (2 * 10 * 0.25 + 2 * 20 * 0.0625) / 100.
        self.assertAlmostEqual(elo.expected(high) - 0.5, 1.96 * (0.075 / 100) ** 0.5)

    def test_of_75_percent_is_191(self) -> None:
        self.assertAlmostEqual(elo.difference(0.75), 190.85, places=2)

    def test_sequential_verdict(self) -> None:
        strong = elo.Score(Counter({0.5: 10, 1: 50, 1.5: 90}))
        self.assertEqual(elo.verdict(strong.likelihood_ratio(0, 10)), "high")
        weak = elo.Score(Counter({1.5: 10, 1: 50, 0.5: 90}))
        self.assertEqual(elo.verdict(weak.likelihood_ratio(0, 10)), "low")
        even = elo.Score(Counter({0.5: 5, 1: 10, 1.5: 5}))
        self.assertIsNone(elo.verdict(even.likelihood_ratio(0, 10)))

    def test_sequential_verdict_on_pairs_that_are_all_alike(self) -> None:
        for pairs, verdict in ((2, None), (20, "high")):
            self.assertEqual(elo.verdict(elo.Score(Counter({2: pairs})).likelihood_ratio(0, 100)), verdict)


if __name__ == "__main__":
    unittest.main()
