"""The rules of the tests and the engine's moves agree, and a library agrees with both: each would
show the others' mistakes.

MORVANE_GAMES=100 plays so many random games, and has the library judge each move of each position.
"""

import os
import random
import unittest

from client import START_FEN, EngineTest
from library import Rules
from rules import Position

TESTS = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
GAMES = int(os.environ.get("MORVANE_GAMES", "20"))
JUDGED = 1 if "MORVANE_GAMES" in os.environ else 4  # each move of every so many positions
DATA = os.path.join(TESTS, "data")
OPENINGS = os.path.join(os.path.dirname(TESTS), "scripts", "openings.epd")


def lines_of(name: str) -> list[str]:
    """The records of a file of tests/data, or of another one that is named by its whole path."""
    with open(os.path.join(DATA, name), encoding="utf-8") as file:
        return [line for line in file.read().splitlines() if not line.startswith("#")]


class Agreement(EngineTest):
    def test_moves_of_many_positions(self) -> None:
        for fen in lines_of("positions.epd"):
            self.engine.send(f"position fen {fen}")
            self.assertEqual(self.engine.fen(), fen)
            moves = Position(fen).legal_moves()
            self.assertEqual(sorted(self.engine.legal_moves()), sorted(moves), fen)

    def test_random_games(self) -> None:
        """The position after every game, told as moves, is the one that the rules arrive at."""
        rng = random.Random(20240301)
        for game in range(GAMES):
            position, moves = Position(START_FEN), []
            for _ in range(rng.choice((10, 40, 80, 120))):
                legal = sorted(position.legal_moves())
                if not legal or position.clock > 150:
                    break
                moves.append(rng.choice(legal))
                position.play(moves[-1])
            with self.subTest(game=game):
                command = f"position startpos moves {' '.join(moves)}"
                self.assertEqual(self.engine.answers(command), [])
                self.assertEqual(self.engine.fen(), position.fen())
                legal = sorted(position.legal_moves())
                self.assertEqual(sorted(self.engine.legal_moves()), legal)


class AgreementOfTheLibrary(EngineTest):
    def setUp(self) -> None:
        super().setUp()
        self.rules = Rules()
        self.addCleanup(self.rules.close)

    def test_moves_of_many_positions(self) -> None:
        for number, fen in enumerate(lines_of("positions.epd")):
            self.engine.send(f"position fen {fen}")
            moves = self.engine.legal_moves()
            self.assertEqual(self.rules.play(fen, []).moves, len(moves), fen)
            for move in moves if number % JUDGED == 0 else []:
                self.assertTrue(self.rules.is_legal(fen, [move]), f"{move} in {fen}")

    def test_openings(self) -> None:
        """The file is read as it stands: fastchess refuses one with a comment."""
        with open(OPENINGS, encoding="ascii") as file:
            openings = file.read().splitlines()
        self.assertEqual(len(set(openings)), 500)
        for fen in openings:
            self.assertEqual(self.engine.answers(f"position fen {fen}"), [])
            self.assertEqual(self.engine.fen(), fen)
            self.assertEqual(self.rules.play(fen, []).fen, fen)

    def test_random_games(self) -> None:
        """Rules that step from position to position and the library that plays a game agree."""
        rng = random.Random(20240302)
        for game in range(GAMES // 2):
            position, moves = Position(START_FEN), []
            while len(moves) < 200 and position.clock < 100 and (legal := position.legal_moves()):
                moves.append(rng.choice(sorted(legal)))
                position.play(moves[-1])
            with self.subTest(game=game):
                told = self.rules.play(START_FEN, moves)
                self.assertEqual(told.legal, len(moves))
                self.assertEqual(told.moves, len(position.legal_moves()))
                ours, theirs = position.fen().split(), told.fen.split()
                self.assertEqual(ours[:3] + ours[5:], theirs[:3] + theirs[5:])
                self.assertEqual(position.repetition_key().split()[-1], theirs[3])


class Ends(unittest.TestCase):
    def test_mate_and_stalemate(self) -> None:
        mate = Position("rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3")
        self.assertEqual((mate.legal_moves(), mate.in_check()), ([], True))
        stalemate = Position("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1")
        self.assertEqual((stalemate.legal_moves(), stalemate.in_check()), ([], False))

    def test_dead_positions(self) -> None:
        placements = {
            "4k3/8/8/8/8/8/8/4K3": True,
            "4k3/8/8/8/8/8/8/3NK3": True,
            "4k3/8/8/8/8/8/8/3BK3": True,
            "4kb2/8/8/8/8/8/8/2B1K3": True,  # both bishops on dark squares
            "2b1k3/8/8/8/8/8/8/2B1K3": False,
            "4k3/8/8/8/8/8/8/2NNK3": False,
            "4k3/8/8/8/8/8/4P3/4K3": False,
            "4k3/8/8/8/8/8/8/3RK3": False,
        }
        for placement, dead in placements.items():
            with self.subTest(placement):
                self.assertEqual(Position(f"{placement} w - - 0 1").is_dead(), dead)

    def test_en_passant_counts_in_a_repetition_only_where_it_can_be_played(self) -> None:
        without = Position("4k3/8/8/8/4P3/8/8/4K3 b - - 0 1").repetition_key()
        self.assertEqual(Position("4k3/8/8/8/4P3/8/8/4K3 b - e3 0 1").repetition_key(), without)
        without = Position("4k3/8/8/8/3pP3/8/8/4K3 b - - 0 1").repetition_key()
        self.assertNotEqual(Position("4k3/8/8/8/3pP3/8/8/4K3 b - e3 0 1").repetition_key(), without)


if __name__ == "__main__":
    unittest.main()
