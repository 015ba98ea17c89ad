"""Whole games of the engine against itself under short clocks."""

import os
import unittest

from client import Engine, EngineTest
from referee import Game, Referee, RuleBroken

DATA = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "data")
TOO_LATE = 5000.0  # milliseconds beyond the clock that no busy machine excuses


def openings() -> list[str]:
    with open(os.path.join(DATA, "openings.epd"), encoding="utf-8") as file:
        return [line.strip() for line in file if line.strip() and not line.startswith("#")]


class Games(EngineTest):
    def setUp(self) -> None:
        super().setUp()  # the judge
        self.players = (self.start(), self.start())
        for player in self.players:
            player.send("setoption name Hash value 16")

    def play(self, fen: str, milliseconds: float, increment: float) -> Game:
        game = Referee(self.players, self.engine, fen).play(milliseconds, increment)
        print(f"{game}, from {fen}", flush=True)
        for clock in game.clocks:
            self.assertLess(clock.overdrawn, TOO_LATE, "lost on time")
        return game

    def play_openings(self, first: int, count: int) -> None:
        for fen in openings()[first : first + count]:
            with self.subTest(fen):
                self.play(fen, 1000, 20)

    def test_one_thread_each(self) -> None:
        self.play_openings(0, 3)

    def test_one_thread_against_two(self) -> None:
        self.players[1].send("setoption name Threads value 2")
        self.play_openings(3, 2)

    def test_two_threads_each(self) -> None:
        for player in self.players:
            player.send("setoption name Threads value 2")
        self.play_openings(5, 2)

    def test_a_won_ending_is_won(self) -> None:
        game = self.play("8/8/8/3k4/8/8/8/R3K3 w Q - 0 1", 3000, 50)
        self.assertEqual((game.result, game.reason), ("1-0", "mate"))

    def test_every_opening_is_legal(self) -> None:
        for fen in openings():
            self.assertEqual(self.engine.answers(f"position fen {fen}"), [])
            self.assertEqual(self.engine.fen(), fen)
        self.assertGreaterEqual(len(set(openings())), 40)


class FakePlayer(Engine):
    """Answers what it was told to."""

    def __init__(self, moves: list[str]) -> None:
        self.moves = list(moves)

    def answers(self, *lines: str, deadline: float = 0) -> list[str]:
        return []

    def best_move(self, *lines: str, deadline: float = 0) -> str:
        return self.moves.pop(0)


class RefereeItself(EngineTest):
    def play(self, fen: str, white: list[str], black: list[str]) -> Game:
        players = (FakePlayer(white), FakePlayer(black))
        return Referee(players, self.engine, fen).play(1000, 0)

    def test_mate(self) -> None:
        start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"
        game = self.play(start, ["f2f3", "g2g4"], ["e7e5", "d8h4"])
        self.assertEqual((game.result, game.reason), ("0-1", "mate"))

    def test_repetition(self) -> None:
        start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"
        game = self.play(start, 2 * ["g1f3", "f3g1"], 2 * ["g8f6", "f6g8"])
        self.assertEqual((game.reason, len(game.moves)), ("threefold repetition", 8))

    def test_fifty_moves_start_anew_with_an_en_passant_capture(self) -> None:
        fen = "4k3/8/8/3pP3/8/8/7P/4K3 w - d6 99 80"
        players = (FakePlayer([]), FakePlayer([]))
        referee = Referee(players, self.engine, fen)
        referee.judge.answers(referee.command())
        referee.make("e5d6")
        self.assertIsNone(referee.end())

    def test_draws(self) -> None:
        for fen, move, reason in (
            ("7k/8/6K1/8/8/8/8/5Q2 w - - 0 1", "f1f7", "stalemate"),
            ("7k/8/8/8/8/8/4r3/4K3 w - - 0 1", "e1e2", "insufficient material"),
            ("7k/8/8/8/8/8/4r3/K3R3 w - - 99 80", "e1d1", "the fifty-move rule"),
        ):
            with self.subTest(reason):
                game = self.play(fen, [move], [])
                self.assertEqual((game.result, game.reason), ("1/2-1/2", reason))

    def test_illegal_moves(self) -> None:
        fen = "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"
        for move in ("e2e5", "0000", "e1e2", "e8e7", "e2"):
            with self.subTest(move), self.assertRaises(RuleBroken):
                self.play(fen, [move], [])


if __name__ == "__main__":
    unittest.main()
