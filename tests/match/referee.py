"""Plays games between two engines under clocks, as strictly as a human referee would.

A move must be legal by a rules library that shares nothing with the engine, and every line that an
engine prints must be fit to be shown (display.py).  Who exceeds the clock has lost.

A busy machine may keep a processor from an engine or from the referee.  For how long it did so in
each move is measured and shown; a referee told to be lenient forgives that much and no more.
"""

from __future__ import annotations

import dataclasses
import os
import threading
import time
from collections import Counter, defaultdict

import display
from client import Engine
from display import Display, repetition_key
from library import Rules

LONGEST_GAME = 400  # plies; then a draw
HANGING = 120.0  # seconds without an answer
NAP = 0.002  # seconds between two looks at the machine
USUAL_LATENESS = 0.0005  # seconds by which any sleep ends too late

ILLEGAL_MOVE = "illegal move"
FORFEIT = "forfeit"
LATE_BY_THE_MACHINE = "move too late by no more than the machine's delay"
KINDS = (ILLEGAL_MOVE, FORFEIT, LATE_BY_THE_MACHINE, *display.KINDS)


@dataclasses.dataclass
class Control:
    """A time control in milliseconds: for a number of moves, after which it is given again, or for
    the whole game."""

    base: float
    increment: float = 0.0
    moves: int = 0

    def __str__(self) -> str:
        moves = f"{self.moves} moves in " if self.moves else ""
        return f"{moves}{self.base:.0f} + {self.increment:.0f} ms"


class Clock:
    def __init__(self, control: Control) -> None:
        self.control = control
        self.left = control.base
        self.played = 0
        self.reserve = control.base  # the least that was left after a move, below 0 if too late

    def moves_to_go(self) -> int:
        return self.control.moves - self.played % self.control.moves

    def spend(self, used: float) -> None:
        self.reserve = min(self.reserve, self.left - used)
        self.left = max(self.left - used, 1.0) + self.control.increment
        self.played += 1
        if self.control.moves and self.played % self.control.moves == 0:
            self.left += self.control.base


class Watchdog(threading.Thread):
    """Sleeps and looks how late it is woken: so late the referee itself may be."""

    def __init__(self) -> None:
        super().__init__(daemon=True)
        self.delay = 0.0  # milliseconds, over all its life
        self._ended = threading.Event()
        self.start()

    def run(self) -> None:
        while True:
            start = time.monotonic()
            if self._ended.wait(NAP):
                return
            late = time.monotonic() - start - NAP
            if late > USUAL_LATENESS:
                self.delay += late * 1000

    def end(self) -> None:
        self._ended.set()
        self.join()


def waits(engine: Engine) -> dict[str, float]:
    """Milliseconds that each thread of the engine was ready to run and had no processor."""
    found = {}
    folder = f"/proc/{engine.pid}/task"
    for task in os.listdir(folder) if os.path.isdir(folder) else []:
        try:
            with open(f"{folder}/{task}/schedstat", encoding="ascii") as file:
                found[task] = int(file.read().split()[1]) / 1e6
        except OSError:
            pass  # the thread has ended, or this system does not tell
    return found


@dataclasses.dataclass
class Game:
    result: str
    reason: str
    moves: list[str]
    clocks: list[Clock]

    def __str__(self) -> str:
        reserve = min(clock.reserve for clock in self.clocks)
        return (f"{self.result} by {self.reason} after {len(self.moves)} plies,"
                f" least reserve {reserve:.1f} ms")


class Referee:
    def __init__(self, rules: Rules, lenient: bool = False) -> None:
        self.rules = rules
        self.lenient = lenient
        self.display = Display(rules)
        self.faults: dict[str, list[str]] = defaultdict(list)
        self.games = self.moves = 0
        self.reserve = float("inf")
        self.longest_delay = 0.0

    def summary(self) -> str:
        seen = {"games": self.games, "moves": self.moves, **self.display.seen}
        return (", ".join(f"{kind}: {count}" for kind, count in seen.items()) + "; "
                + ", ".join(f"{kind}: {len(self.faults[kind])}" for kind in KINDS)
                + f"; least reserve {self.reserve:.1f} ms,"
                f" longest delay of the machine within a move {self.longest_delay:.1f} ms")

    # --- a game ---

    def play(self, players: tuple[Engine, Engine], fen: str, control: Control,
             threads: int = 1) -> Game:
        """White comes first among the players; each of them uses so many threads."""
        clocks = [Clock(control), Clock(control)]
        moves: list[str] = []
        position = self.rules.play(fen, [])
        seen = Counter([repetition_key(position.fen)])
        for player in players:
            player.answers("ucinewgame")
        watchdog = Watchdog()
        while not (end := self.end(position, seen, len(moves))):
            side = 0 if " w " in position.fen else 1
            lost = ("0-1", "1-0")[side]
            command = f"position fen {fen}" + (" moves " + " ".join(moves) if moves else "")
            lines, in_time = self.ask(players[side], command, clocks, side, watchdog)
            move = lines[-1].removeprefix("bestmove ")
            for kind, what in self.display.faults(position.exact, lines, threads):
                self.note(kind, what, command)
            if not in_time:
                end = lost, FORFEIT
                break
            after = self.rules.play(position.exact, [move])
            if not after.legal:
                self.note(ILLEGAL_MOVE, move, command)
                end = lost, ILLEGAL_MOVE
                break
            position = after
            moves.append(move)
            seen[repetition_key(position.fen)] += 1
        watchdog.end()
        self.games += 1
        self.moves += len(moves)
        self.reserve = min(self.reserve, *(clock.reserve for clock in clocks))
        return Game(*end, moves, clocks)

    @staticmethod
    def end(position, seen: Counter, plies: int) -> tuple[str, str] | None:
        """Result and reason if the game is over here."""
        if position.end == "mate":
            return ("0-1" if " w " in position.fen else "1-0"), "mate"
        reason = position.end
        if not reason and seen[repetition_key(position.fen)] >= 3:
            reason = "threefold repetition"
        if not reason and plies >= LONGEST_GAME:
            reason = "length"
        return ("1/2-1/2", reason) if reason else None

    def ask(self, player: Engine, command: str, clocks: list[Clock], side: int,
            watchdog: Watchdog) -> tuple[list[str], bool]:
        """What the player says of the position, and whether it says it in time."""
        white, black = (max(int(clock.left), 1) for clock in clocks)
        clock, control = clocks[side], clocks[side].control
        go = f"go wtime {white} btime {black}"
        if control.increment:
            go += f" winc {control.increment:.0f} binc {control.increment:.0f}"
        if control.moves:
            go += f" movestogo {clock.moves_to_go()}"
        waited, delayed = waits(player), watchdog.delay
        start = time.monotonic()
        lines = player.search(command, go, deadline=HANGING)
        used = (time.monotonic() - start) * 1000
        waited = max((wait - waited.get(task, 0.0) for task, wait in waits(player).items()),
                     default=0.0)
        delay = max(waited, watchdog.delay - delayed)
        self.longest_delay = max(self.longest_delay, delay)
        late = used - clock.left
        clock.spend(used)
        if late <= 0:
            return lines, True
        excused = self.lenient and late <= delay
        self.note(LATE_BY_THE_MACHINE if excused else FORFEIT,
                  f"{late:.1f} ms too late, machine's delay {delay:.1f} ms", f"{command}, {go}")
        return lines, excused

    def note(self, kind: str, what: str, where: str) -> None:
        self.faults[kind].append(f"{what} at {where}")
