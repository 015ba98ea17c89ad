"""What a GUI shows of a search: each line makes sense by itself, and so do all of them in turn."""

from __future__ import annotations

import dataclasses
import re
from collections import Counter
from collections.abc import Iterator

import grammar
from library import Rules

MALFORMED_LINE = "malformed line"
BACKWARDS = "count that runs backwards"
WRONG_DEPTH = "depth other than the one that is due"
WRONG_SPEED = "speed other than nodes by time"
ILLEGAL_VARIATION = "illegal variation"
PAST_REPETITION = "variation that goes on after a repeated position"
OTHER_MATE = "mate in other moves than the variation's"
ANOTHER_MOVE = "move other than the last variation's"
NO_VARIATION = "answer without a variation"
NOT_THE_END = "other lines than the end of the game calls for"

KINDS = (MALFORMED_LINE, BACKWARDS, WRONG_DEPTH, WRONG_SPEED, ILLEGAL_VARIATION, PAST_REPETITION,
         OTHER_MATE, ANOTHER_MOVE, NO_VARIATION, NOT_THE_END)

ANOTHER_MATE = "mate scores with the variation of another mate"  # forgiven, but rare

Fault = tuple[str, str]  # kind, and what it is about


@dataclasses.dataclass
class Info:
    """A line of a search, taken apart; one that tells of progress has no score."""

    depth: int
    nodes: int
    speed: int
    milliseconds: int
    score: str = ""
    value: int = 0
    variation: list[str] = dataclasses.field(default_factory=list)

    @staticmethod
    def read(line: str) -> Info | None:
        match = re.fullmatch(
            r"info depth (\d+) seldepth \d+(?: score (cp|mate) (-?\d+))? nodes (\d+) nps (\d+)"
            r" time (\d+)(?: pv (.+))?", line)
        if not match:
            return None
        depth, score, value, nodes, speed, milliseconds, variation = match.groups()
        return Info(int(depth), int(nodes), int(speed), int(milliseconds), score or "",
                    int(value or 0), (variation or "").split())


def repetition_key(fen: str) -> str:
    return " ".join(fen.split()[:4])


def halfmove_clock(fen: str) -> int:
    return int(fen.split()[4])


class Display:
    """Judges searches; counts what it has seen."""

    def __init__(self, rules: Rules) -> None:
        self.rules = rules
        self.seen: Counter[str] = Counter()

    def faults(self, fen: str, lines: list[str], threads: int = 1) -> Iterator[Fault]:
        """Of all lines of a search of the position, up to "bestmove".  The FEN names an en-passant
        square after every double step, as the engine counts such positions as others."""
        self.seen["searches"] += 1
        self.seen["lines"] += len(lines)
        for line in lines:
            if not grammar.is_protocol(line):
                yield MALFORMED_LINE, repr(line)
        root = self.rules.play(fen, [])
        if root.moves == 0:
            yield from self._without_moves(root.end == "mate", lines)
            return
        infos = [info for line in lines if (info := Info.read(line))]
        scored = [info for info in infos if info.score]
        yield from self._counts(infos, threads)
        for info in scored:
            yield from self._variation(fen, info, threads)
        if not infos or not infos[-1].variation:
            yield NO_VARIATION, lines[-1]
        elif lines[-1] != f"bestmove {infos[-1].variation[0]}":
            yield ANOTHER_MOVE, f"{lines[-1]}, not {infos[-1].variation}"

    def _without_moves(self, mated: bool, lines: list[str]) -> Iterator[Fault]:
        self.seen["mates and stalemates at the root"] += 1
        if lines != [f"info depth 0 score {'mate' if mated else 'cp'} 0", "bestmove 0000"]:
            yield NOT_THE_END, repr(lines)

    @staticmethod
    def _counts(infos: list[Info], threads: int) -> Iterator[Fault]:
        done = nodes = milliseconds = 0
        progress = False
        for info in infos:
            if info.nodes < nodes or info.milliseconds < milliseconds:
                yield BACKWARDS, str(info)
            nodes, milliseconds = info.nodes, info.milliseconds
            if info.speed != (nodes * 1000 // milliseconds if milliseconds else 0):
                yield WRONG_SPEED, str(info)
            # The last line may be an earlier one again, after one of progress, or another thread's,
            # which has searched as deep or deeper.
            last = info is infos[-1] and info.score
            again = last and progress and info.depth == done
            anothers = last and threads > 1 and info.depth >= done
            if info.depth != done + 1 and not again and not anothers:
                yield WRONG_DEPTH, str(info)
            done = info.depth if info.score else done
            progress = not info.score

    def _variation(self, fen: str, info: Info, threads: int) -> Iterator[Fault]:
        self.seen["variations"] += 1
        played = self.rules.play(fen, info.variation, trace=True)
        if played.legal != len(info.variation):
            yield ILLEGAL_VARIATION, str(info)
            return
        # A variation ends with the first position that it has led to before; its root counts as one
        # only once the variation has come back to it.
        keys = [repetition_key(each) for each in played.fens]
        if len(set(keys[:-1])) < len(keys) - 1:
            yield PAST_REPETITION, str(info)
        if any(halfmove_clock(each) >= 100 for each in played.fens[:-1]):
            self.seen["variations past the fifty-move rule"] += 1
        if info.score == "mate":
            yield from self._mate(info, played.end == "mate", threads)

    def _mate(self, info: Info, mates: bool, threads: int) -> Iterator[Fault]:
        """A variation is what the table still knows of it: it may end before the mate, but if it
        mates, it does so when the score says.  Now and then the table has come to know another mate since,
        a quicker one, or a defence that only a shallower search took for a longer one; and other threads
        write into it as well.  Even then it is the right side that mates."""
        plies = 2 * info.value - 1 if info.value > 0 else -2 * info.value
        length = len(info.variation)
        agrees = length == plies if mates else length < plies
        self.seen["mate scores"] += 1
        self.seen["mate scores whose variation mates"] += mates
        if not agrees and (mates or threads > 1):
            self.seen[ANOTHER_MATE] += 1
            agrees = not mates or length % 2 == plies % 2
        if not agrees:
            yield OTHER_MATE, str(info)
