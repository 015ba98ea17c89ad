"""Reads data files plainly: for tests of what reads them fast."""

from __future__ import annotations

import dataclasses
import re

import numpy as np

LINE = re.compile(rb"\S+ ([wb]) \S+ \S+ (\d+) (\d+) \[(1\.0|0\.5|0\.0)\](?: \[(-?\d+)\])?\n")


@dataclasses.dataclass
class Positions:
    """The positions of data files in the order of play, one entry each."""

    white: np.ndarray  # whether White is to move
    clock: np.ndarray  # halfmove clock
    result: np.ndarray  # 1 White won, 0.5, 0
    score: np.ndarray  # of the search, centipawns, White's view; not a number where there is none
    game: np.ndarray  # number of its game


def read_positions(paths: list[str]) -> Positions:
    """A game ends where the file does, where the result changes, or where the plies do not go on."""
    white, clock, result, score, game = [], [], [], [], []
    number = -1
    for path in paths:
        last = (b"", 0)
        number += 1
        with open(path, "rb") as file:
            for line in file:
                match = LINE.fullmatch(line)
                if not match:
                    raise ValueError(f"{path}: not a line of morvane datagen: {line[:80]!r}")
                side, halfmoves, fullmoves, points, centipawns = match.groups()
                ply = 2 * int(fullmoves) + (side == b"b")
                number += last[1] > 0 and (points != last[0] or ply <= last[1])
                last = (points, ply)
                white.append(side == b"w")
                clock.append(int(halfmoves))
                result.append(float(points))
                score.append(float(centipawns) if centipawns else np.nan)
                game.append(number)
    return Positions(np.array(white), np.array(clock), np.array(result),
                     np.array(score, dtype=np.float32), np.array(game))
