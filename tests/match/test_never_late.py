"""Games of the engine against itself under short clocks: never late, never illegal.

The short form plays a game of each form and forgives a delay that the machine, not the engine, has caused.
MORVANE_GAMES=200 plays as many games and forgives nothing: for a quiet machine.

A clock of some ten milliseconds has nothing to pay for other programs with.  So where it is permitted,
the engines take precedence over whatever else runs, and the referee, who holds the clock, over them.
"""

import contextlib
import os
import unittest
from collections.abc import Callable

from client import EngineTest
from library import Rules
from referee import LATE_BY_THE_MACHINE, Control, Referee
from test_rules import OPENINGS, lines_of

GAMES = os.environ.get("MORVANE_GAMES")

# Threads, and the time control.
FORMS = (
    (1, Control(1000, 10)),
    (2, Control(1000, 10)),
    (1, Control(1000, moves=40)),
)


REFEREES_NICENESS, PLAYERS_NICENESS, USUAL_NICENESS = -20, -15, 0


# Where this file exists, niceness counts within a session alone, and the file holds the session's.
# In some containers it is there and takes nothing.
SESSION = "/proc/self/autogroup"


def set_niceness(niceness: int) -> None:
    """Of the calling thread, and of the threads and processes that it starts from now on."""
    os.setpriority(os.PRIO_PROCESS, 0, niceness)


def set_sessions_niceness(niceness: int) -> None:
    if os.path.exists(SESSION):
        with contextlib.suppress(OSError), open(SESSION, "w", encoding="ascii") as file:
            file.write(str(niceness))


class NeverLate(EngineTest):
    def setUp(self) -> None:
        priority = self.take_precedence()
        self.rules = Rules()
        self.addCleanup(self.rules.close)
        self.players = (self.start(preexec=priority), self.start(preexec=priority))
        for player in self.players:
            player.send("setoption name Hash value 16", "setoption name Move Overhead value 10")

    def take_precedence(self) -> Callable[[], None] | None:
        """What gives a player's process its precedence."""
        try:
            set_niceness(REFEREES_NICENESS)
            set_sessions_niceness(REFEREES_NICENESS)
        except PermissionError:
            print("no precedence over other programs is permitted", flush=True)
            return None
        self.addCleanup(set_niceness, USUAL_NICENESS)
        self.addCleanup(set_sessions_niceness, USUAL_NICENESS)
        return lambda: set_niceness(PLAYERS_NICENESS)

    def test_games(self) -> None:
        positions = lines_of(OPENINGS)
        referees = [Referee(self.rules, lenient=GAMES is None) for _ in FORMS]
        for number in range(int(GAMES or len(FORMS))):
            threads, control = FORMS[number % len(FORMS)]
            fen = positions[number % len(positions)]
            for player in self.players:
                player.send(f"setoption name Threads value {threads}")
            game = referees[number % len(FORMS)].play(self.players, fen, control, threads)
            print(f"{control}, threads {threads}: {game}, from {fen}", flush=True)
        for (threads, control), referee in zip(FORMS, referees):
            print(f"{control}, threads {threads}: {referee.summary()}", flush=True)
            faults = dict(referee.faults)
            print("\n".join(faults.pop(LATE_BY_THE_MACHINE, [])), end="", flush=True)
            with self.subTest(f"{control}, threads {threads}"):
                self.assertEqual({kind: found for kind, found in faults.items() if found}, {})


if __name__ == "__main__":
    unittest.main()
