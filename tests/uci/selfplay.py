"""Reads the files of self-play games and knows, from the rules and the written scores, how long
each game must last and how it ends."""

from __future__ import annotations

import collections
import dataclasses
import functools
import re
from collections.abc import Iterator

import grammar
from rules import Position, name, square_of

LINE = re.compile(rf"({grammar.FEN}) \[(1\.0|0\.5|0\.0)\](?: \[(0|-?[1-9]\d*)\])?\n")
WHITE_WINS, DRAW, BLACK_WINS = "1.0", "0.5", "0.0"
# By the number of men.  More bishops than two are never counted as insufficient material.
INSUFFICIENT = {2: "bare kings", 3: "one minor piece", 4: "bishops of one colour"}


class Twister:
    """The 64-bit Mersenne Twister, from its published recurrence."""

    WORD = (1 << 64) - 1
    SIZE, MIDDLE = 312, 156
    LOW = (1 << 31) - 1
    MATRIX = 0xB5026F5AA96619E9

    def __init__(self, seed: int) -> None:
        words = [seed]
        for i in range(1, self.SIZE):
            word = words[-1] ^ words[-1] >> 62
            words.append((6364136223846793005 * word + i) & self.WORD)
        self.words = collections.deque(words)

    def next(self) -> int:
        mixed = (self.words[0] & ~self.LOW) | (self.words[1] & self.LOW)
        word = self.words[self.MIDDLE] ^ mixed >> 1 ^ (self.MATRIX if mixed & 1 else 0)
        self.words.popleft()
        self.words.append(word)
        word ^= word >> 29 & 0x5555555555555555
        word ^= word << 17 & 0x71D67FFFEDA60000
        word ^= word << 37 & 0xFFF7EEE000000000
        return word ^ word >> 43

    def below(self, n: int) -> int:
        """A uniform number below n: bits just enough for n - 1, drawn until they are below n."""
        while (number := self.next() & (1 << (n - 1).bit_length()) - 1) >= n:
            pass
        return number


@dataclasses.dataclass(frozen=True)
class Options:
    """What ends a game or leaves positions of it out, with the engine's defaults."""

    resign: int = 1000
    resignplies: int = 6
    draw: int = 8
    drawplies: int = 12
    drawmin: int = 40
    maxplies: int = 400
    evalcap: int = 2000
    skipcheck: int = 1
    skipquiet: int = 1
    score: int = 1


@dataclasses.dataclass
class Ply:
    fen: str
    score: int  # White's view

    @functools.cached_property
    def position(self) -> Position:
        return Position(self.fen)

    @functools.cached_property
    def in_check(self) -> bool:
        return self.position.in_check()

    @property
    def number(self) -> int:
        """Plies since the start position."""
        return 2 * self.position.number - 1 - self.position.white

    @property
    def key(self) -> list[str]:
        """What makes two positions the same: all but the counters."""
        return self.fen.split()[:4]

    def is_quiet(self, move: str) -> bool:
        start, target = square_of(move), square_of(move[2:])
        takes_pawn = target == self.position.en_passant and self.position.board[start] in "Pp"
        return not (target in self.position.board or takes_pawn or len(move) == 5)

    def move_to(self, after: Position) -> str | None:
        """The legal move that leads from here to a position, down to its counters."""
        here = self.position
        left = [s for s, piece in here.board.items() if after.board.get(s) != piece]
        entered = [s for s, piece in after.board.items() if here.board.get(s) != piece]
        for start in filter(lambda s: here.is_own(here.board[s]), left):
            for target in set(here.targets(start, here.board[start])).intersection(entered):
                for letter in ("", *"qrbn"):
                    reached = here.copy()
                    reached.play(name(start) + name(target) + letter)
                    if reached.fen() == after.fen() and not reached.king_attacked(here.white):
                        return name(start) + name(target) + letter
        return None


@dataclasses.dataclass
class Game:
    plies: list[Ply]
    result: str

    def check_moves(self) -> None:
        """Every ply follows from the one before by a legal move, and no rule had ended the game
        before it."""
        seen: list[list[str]] = []
        for ply, after in zip(self.plies, [*self.plies[1:], None]):
            assert end_by_rule(ply, seen) is None, ply.fen
            assert after is None or ply.move_to(after.position), (ply.fen, after.fen)
            seen.append(ply.key)

    @functools.cached_property
    def last_moves(self) -> dict[str, str]:
        """The moves that end the game after its last ply by a rule and with its result, each with
        the name of that rule."""
        seen = [ply.key for ply in self.plies]
        found = {}
        for move in self.plies[-1].position.legal_moves():
            after = self.plies[-1].position.copy()
            after.play(move)
            end = end_by_rule(Ply(after.fen(), 0), seen)
            if end and end[0] == self.result:
                found[move] = end[1]
        return found

    @functools.cached_property
    def quiet(self) -> list[bool]:
        """Of each ply, whether the move played there was no capture and no promotion."""
        last = {self.plies[-1].is_quiet(move) for move in self.last_moves}
        assert len(last) == 1, "the file does not tell how the game ended; take another seed"
        pairs = zip(self.plies, self.plies[1:])
        return [ply.is_quiet(ply.move_to(after.position)) for ply, after in pairs] + list(last)

    def adjudication(self, options: Options) -> tuple[int, str] | None:
        """After how many plies the scores or the length end the game, and its result then."""
        if options.maxplies < 1:
            return 0, DRAW
        winner = resign_run = draw_run = 0
        for count, ply in enumerate(self.plies, 1):
            if abs(ply.score) >= options.resign:
                leader = 1 if ply.score > 0 else -1
                resign_run = resign_run + 1 if leader == winner else 1
                winner = leader
                if resign_run >= options.resignplies:
                    return count, WHITE_WINS if winner == 1 else BLACK_WINS
            else:
                winner = resign_run = 0
            is_even = count - 1 >= options.drawmin and abs(ply.score) <= options.draw
            draw_run = draw_run + 1 if is_even else 0
            if is_even and draw_run >= options.drawplies or count >= options.maxplies:
                return count, DRAW
        return None

    def lines(self, options: Options) -> Iterator[str]:
        """What of the game must be written if it is played with other options.  The game itself
        must have gone on to an end by rule or length, with every ply written."""
        count, result = self.adjudication(options) or (len(self.plies), self.result)
        for index, ply in enumerate(self.plies[:count]):
            if not (
                (options.skipcheck and ply.in_check)
                or abs(ply.score) >= options.evalcap
                or (options.skipquiet and not self.quiet[index])
            ):
                score = f" [{ply.score}]" if options.score else ""
                yield f"{ply.fen} [{result}]{score}\n"


def end_by_rule(ply: Ply, seen: list[list[str]]) -> tuple[str, str] | None:
    """Result and name of the rule that ends a game in a position, after the positions seen."""
    position = ply.position
    if not position.legal_moves():
        if ply.in_check:
            return (BLACK_WINS if position.white else WHITE_WINS), "mate"
        return DRAW, "stalemate"
    if position.clock > 99:
        return DRAW, "fifty moves"
    if seen.count(ply.key) >= 2:
        return DRAW, "repetition"
    if position.is_dead() and len(position.board) in INSUFFICIENT:
        return DRAW, INSUFFICIENT[len(position.board)]
    return None


def read_games(data: bytes) -> list[Game]:
    """The games of a file that holds every ply with its score."""
    games: list[Game] = []
    for line in data.decode("ascii").splitlines(keepends=True):
        match = LINE.fullmatch(line)
        assert match and match[3] is not None, line
        ply = Ply(match[1], int(match[3]))
        if games and ply.number == games[-1].plies[-1].number + 1:
            assert match[2] == games[-1].result, f"another result within a game: {line}"
            games[-1].plies.append(ply)
        else:
            games.append(Game([ply], match[2]))
    return games
