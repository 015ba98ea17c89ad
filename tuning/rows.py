"""Reads what the engine writes for a fit: data files, and their rows of features as sparse matrices."""

from __future__ import annotations

import dataclasses
import re
from collections.abc import Iterator

import numpy as np
from scipy import sparse

HEAD = 6  # numbers of a row before its triples
FULL_PHASE = 24
FULL_SCALE = 64
FADED_OUT = 200  # halfmove clock at which a value is nothing
CHUNK = 32 << 20  # bytes of rows read at a time

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


@dataclasses.dataclass
class Rows:
    """Rows of features: what the engine adds up, before weights."""

    result: np.ndarray
    phase: np.ndarray  # 24 with all pieces on the board, 0 without
    scale: np.ndarray  # of the end-game value, of 64
    base_mg: np.ndarray  # what hangs on no weight, centipawns
    base_eg: np.ndarray
    mg: sparse.csr_matrix  # row by weight: uses for White less uses for Black
    eg: sparse.csr_matrix


def parse_rows(text: bytes, weights: int) -> Rows:
    """Whole lines of a file of rows."""
    letters = np.frombuffer(text, dtype=np.uint8)
    ends = np.flatnonzero(letters == ord("\n"))
    blanks = np.cumsum(letters == ord(" "))[ends]
    lengths = np.diff(blanks, prepend=0) + 1  # numbers in each line
    numbers = np.fromstring(text, dtype=np.float64, sep=" ")
    starts = np.cumsum(lengths) - lengths
    if len(numbers) != lengths.sum() or (lengths < HEAD).any():
        raise ValueError("not rows of numbers")
    result, phase, scale, base_mg, base_eg, used = (numbers[starts + i] for i in range(HEAD))
    if (lengths != HEAD + 3 * used).any():
        raise ValueError("a row has another number of triples than it says")

    head = np.zeros(len(numbers), bool)
    for i in range(HEAD):
        head[starts + i] = True
    index, mg, eg = numbers[~head].astype(np.int32).reshape(-1, 3).T
    pointers = np.concatenate(([0], np.cumsum(used))).astype(np.int32)
    shape = (len(ends), weights)
    whole = [field.astype(np.int64) for field in (phase, scale, base_mg, base_eg)]
    return Rows(result, *whole, sparse.csr_matrix((mg, index, pointers), shape),
                sparse.csr_matrix((eg, index, pointers), shape))


def read_rows(path: str, weights: int) -> Iterator[Rows]:
    """All rows of a file, some ten thousand at a time."""
    with open(path, "rb") as file:
        while text := file.read(CHUNK):
            yield parse_rows(text + file.readline() if text[-1:] != b"\n" else text, weights)


def truncated(dividend: np.ndarray, divisor: int) -> np.ndarray:
    """A quotient without its fraction, whatever the sign, as in C++."""
    return np.sign(dividend) * (np.abs(dividend) // divisor)


def evaluate(rows: Rows, clock: np.ndarray, values: np.ndarray) -> np.ndarray:
    """The engine's own whole numbers for these rows, from White's view."""
    mg = rows.base_mg + rows.mg @ values
    eg = truncated(rows.scale * (rows.base_eg + rows.eg @ values), FULL_SCALE)
    tapered = truncated(rows.phase * mg + eg * (FULL_PHASE - rows.phase), FULL_PHASE)
    return truncated(tapered * (FADED_OUT - clock), FADED_OUT)


def slopes(rows: Rows, clock: np.ndarray, free: np.ndarray) -> sparse.csr_matrix:
    """By how much a value grows with each free weight, fractions kept: row by free weight."""
    fade = (FADED_OUT - clock) / FADED_OUT / FULL_PHASE
    by_mg = sparse.diags(rows.phase * fade)
    by_eg = sparse.diags(rows.scale / FULL_SCALE * (FULL_PHASE - rows.phase) * fade)
    columns = np.flatnonzero(free)
    total = by_mg @ rows.mg[:, columns] + by_eg @ rows.eg[:, columns]
    total.eliminate_zeros()
    return total.astype(np.float32)
