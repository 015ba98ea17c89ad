"""Plays games between two engines under clocks, as strictly as a human referee would.

A move must stand in the move list of a third engine process and be legal by rules that share
nothing with the engine; after it, both must agree about the position.
"""

from __future__ import annotations

import dataclasses
import time
from collections import Counter

from client import Engine
from rules import Position, square_of

LONGEST_GAME = 400  # plies; then a draw
HANGING = 120.0  # seconds without an answer


@dataclasses.dataclass
class Clock:
    """Milliseconds, as an engine is told them."""

    left: float
    increment: float
    overdrawn: float = 0.0  # the most that a move took beyond the clock

    def spend(self, used: float) -> None:
        self.overdrawn = max(self.overdrawn, used - self.left)
        # A move too late is reported, not punished: the machine may have been busy.
        self.left = max(self.left - used, 1.0) + self.increment


@dataclasses.dataclass
class Game:
    result: str
    reason: str
    moves: list[str]
    clocks: list[Clock]

    def __str__(self) -> str:
        overdrawn = max(clock.overdrawn for clock in self.clocks)
        late = f", {overdrawn:.0f} ms too late" if overdrawn > 0 else ""
        return f"{self.result} by {self.reason} after {len(self.moves)} plies{late}"


class RuleBroken(AssertionError):
    """An engine or the judge did what the rules of chess do not allow."""


class Referee:
    def __init__(self, players: tuple[Engine, Engine], judge: Engine, fen: str) -> None:
        self.players = players  # White first
        self.judge = judge
        self.fen = fen
        self.moves: list[str] = []
        self.position = Position(fen)
        self.quiet_plies = self.position.clock
        self.seen = Counter([self.position.repetition_key()])

    def command(self) -> str:
        moves = " moves " + " ".join(self.moves) if self.moves else ""
        return f"position fen {self.fen}{moves}"

    def play(self, milliseconds: float, increment: float) -> Game:
        clocks = [Clock(milliseconds, increment), Clock(milliseconds, increment)]
        for player in self.players:
            player.answers("ucinewgame")
        while not (end := self.end()):
            self.make(self.ask(clocks))
        return Game(*end, self.moves, clocks)

    def ask(self, clocks: list[Clock]) -> str:
        side = 0 if self.position.white else 1
        white, black = (max(int(clock.left), 1) for clock in clocks)
        increments = f"winc {clocks[0].increment:.0f} binc {clocks[1].increment:.0f}"
        start = time.monotonic()
        go = f"go wtime {white} btime {black} {increments}"
        move = self.players[side].best_move(self.command(), go, deadline=HANGING)
        clocks[side].spend((time.monotonic() - start) * 1000)
        return move

    def make(self, move: str) -> None:
        where = f"{self.position.fen()}, game {self.command()}"
        if move not in self.judge.legal_moves() or move not in self.position.legal_moves():
            raise RuleBroken(f"illegal move {move} in {where}")
        pieces, pawn = len(self.position.board), self.position.board[square_of(move)] in "Pp"
        self.position.play(move)
        quiet = len(self.position.board) == pieces and not pawn
        self.quiet_plies = self.quiet_plies + 1 if quiet else 0
        self.moves.append(move)
        self.seen[self.position.repetition_key()] += 1

    def end(self) -> tuple[str, str] | None:
        """Result and reason if the game is over here."""
        said = self.judge.answers(self.command())
        if said or self.judge.fen() != self.position.fen():
            raise RuleBroken(f"the judge is elsewhere: {said}, {self.command()}")
        legal = self.position.legal_moves()
        if sorted(legal) != sorted(self.judge.legal_moves()):
            raise RuleBroken(f"the judge knows other moves in {self.position.fen()}")
        if not legal and self.position.in_check():
            return ("0-1" if self.position.white else "1-0"), "mate"
        draws = {
            "stalemate": not legal,
            "insufficient material": self.position.is_dead(),
            "threefold repetition": self.seen[self.position.repetition_key()] >= 3,
            "the fifty-move rule": self.quiet_plies >= 100,
            "length": len(self.moves) >= LONGEST_GAME,
        }
        reason = next((reason for reason, met in draws.items() if met), None)
        return ("1/2-1/2", reason) if reason else None
