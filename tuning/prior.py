"""What is known of the weights before any game: they lie around the values that they have.

A spread says how far, in centipawns: by as much as neighbours move together, and by as much as each
moves on its own.  Neighbours are squares of one table and counts of one row.  They tell much the same,
and a table in which they hang together needs far fewer games."""

from __future__ import annotations

import dataclasses
import math
import re

import numpy as np

REACH = 1.5  # squares: what is farther away than two of them hardly moves along


@dataclasses.dataclass(frozen=True)
class Spread:
    together: float
    alone: float

    @classmethod
    def parse(cls, text: str) -> Spread:
        """From "10:1"."""
        try:
            together, alone = map(float, text.split(":"))
        except ValueError:
            together = alone = -1
        if not (math.isfinite(together + alone) and together >= 0 and alone > 0):
            raise ValueError(f"not a spread, TOGETHER:ALONE: {text}")
        return cls(together, alone)

    def __str__(self) -> str:
        return f"{self.together:g}:{self.alone:g}"


def places(names: list[str]) -> tuple[np.ndarray, np.ndarray]:
    """The table or row of each weight, as a number, and its place there: row and column."""
    split = [re.fullmatch(r"(.*?)(\d*)", name).groups() for name in names]
    tables = [table for table, _ in split]
    numbers = np.array([int(number or 0) for _, number in split])
    numbering = {table: index for index, table in enumerate(dict.fromkeys(tables))}
    square = np.array([table.startswith(("pst", "pawnEg", "kingEg")) for table in tables])
    place = np.stack([np.where(square, numbers // 8, 0), np.where(square, numbers % 8, numbers)], 1)
    return np.array([numbering[table] for table in tables]), place


def precision(names: list[str], spread: Spread) -> np.ndarray:
    """The matrix of a normal distribution: half of change * matrix * change is what a change costs."""
    table, place = places(names)
    distance = ((place[:, None] - place[None]) ** 2).sum(axis=2)
    kin = np.exp(-distance / (2 * REACH**2)) * (table[:, None] == table[None])
    return np.linalg.inv(spread.together**2 * kin + spread.alone**2 * np.eye(len(names)))
