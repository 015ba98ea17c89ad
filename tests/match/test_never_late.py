"""Games of the engine against itself under short clocks: never late, never illegal.

The short form plays 10 games and forgives a delay that the machine, not the engine, has caused.
MORVANE_GAMES=200 plays as many games and forgives nothing: for a quiet machine.
"""

import os
import unittest

from client import EngineTest
from library import Rules
from referee import ANOTHER_MOVE, LATE_BY_THE_MACHINE, Control, Referee
from test_rules import lines_of

GAMES = os.environ.get("MORVANE_GAMES")

# Threads, and the time control.
FORMS = (
    (1, Control(1000, 10)),
    (2, Control(1000, 10)),
    (1, Control(1000, moves=40)),
)


class NeverLate(EngineTest):
    def setUp(self) -> None:
        self.rules = Rules()
        self.addCleanup(self.rules.close)
        self.players = (self.start(), self.start())
        for player in self.players:
            player.send("setoption name Hash value 16", "setoption name Move Overhead value 10")

    def test_games(self) -> None:
        positions = lines_of("openings.epd")
        referees = [Referee(self.rules, lenient=GAMES is None) for _ in FORMS]
        for number in range(int(GAMES or 10)):
            threads, control = FORMS[number % len(FORMS)]
            fen = positions[number % len(positions)]
            for player in self.players:
                player.send(f"setoption name Threads value {threads}")
            game = referees[number % len(FORMS)].play(self.players, fen, control)
            print(f"{control}, threads {threads}: {game}, from {fen}", flush=True)
        for (threads, control), referee in zip(FORMS, referees):
            print(f"{control}, threads {threads}: {referee.summary()}", flush=True)
            faults = dict(referee.faults)
            print("\n".join(faults.pop(LATE_BY_THE_MACHINE, [])), end="", flush=True)
            if threads > 1:  # another thread than the one that prints may have searched deeper
                faults.pop(ANOTHER_MOVE, None)
            with self.subTest(f"{control}, threads {threads}"):
                self.assertEqual({kind: found for kind, found in faults.items() if found}, {})


if __name__ == "__main__":
    unittest.main()
