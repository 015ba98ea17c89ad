"""The journal of a fit: every pass over the positions, with what it found, so that an interrupted fit goes on.

An optimiser asks the same questions when it begins again, so the answers of before bring it to where it was, bit
by bit, without a pass.  A line of JSON for each pass; Python writes numbers so that reading gives the same bits.
"""

from __future__ import annotations

import json
import os

import model
import numpy as np

FORMAT = 1

Entry = tuple[str, np.ndarray, model.Pass]  # the spread, the change of the weights, what was found


class Other(ValueError):
    """The file is none of this fit's: one line about it."""


class Journal:
    """Opens the file, or creates it.  `fit` tells, by name, all that decides what passes find."""

    def __init__(self, path: str, fit: dict[str, object]) -> None:
        self.path = path
        self.head = {"format": FORMAT, "fit": fit}
        self.passes: list[Entry] = []
        self.next = 0
        lines = whole_lines(path)
        if lines:
            self._expect(lines[0])
            self.passes = [self._entry(line) for line in lines[1:]]
        self._write_all()

    def _expect(self, line: str) -> None:
        try:
            there = json.loads(line)
            kind, fit = there["format"], dict(there["fit"])
        except (ValueError, TypeError, KeyError):
            raise Other(f"{self.path} exists and is no journal of a fit: move it away") from None
        mine = self.head["fit"]
        if there != self.head:
            other = [name for name in {**mine, **fit} if mine.get(name) != fit.get(name)]
            told = ", ".join(other) if kind == FORMAT else "format"
            raise Other(f"{self.path} is of an interrupted fit that differs in: {told}; to begin anew, remove it")

    def _entry(self, line: str) -> Entry:
        try:
            spread, change, seen, loss, held_out, gradient = json.loads(line)
            return spread, np.array(change), model.Pass(seen, loss, held_out, np.array(gradient))
        except (ValueError, TypeError):
            raise Other(f"{self.path} is damaged; to begin anew, remove it") from None

    def _write_all(self) -> None:
        part = f"{self.path}.part"
        with open(part, "w", encoding="ascii") as file:
            file.write(json.dumps(self.head) + "\n")
            file.writelines(map(line_of, self.passes))
        os.replace(part, self.path)

    def found(self, spread: str, change: np.ndarray) -> model.Pass | None:
        """What the next pass has found before, if it was this one."""
        if self.next == len(self.passes):
            return None
        there, at, found = self.passes[self.next]
        if there == spread and np.array_equal(at, change):
            self.next += 1
            return found
        del self.passes[self.next:]  # another version of a library asks otherwise
        self._write_all()
        return None

    def add(self, spread: str, change: np.ndarray, found: model.Pass) -> None:
        """Keeps a pass.  Raises OSError if that is not possible."""
        self.passes.append((spread, change.copy(), found))
        self.next += 1
        with open(self.path, "a", encoding="ascii") as file:
            file.write(line_of(self.passes[-1]))
            file.flush()
            os.fsync(file.fileno())

    def remove(self) -> None:
        os.remove(self.path)


def whole_lines(path: str) -> list[str]:
    """What a kill has cut short is not among them."""
    try:
        with open(path, encoding="ascii", errors="replace") as file:
            return [line for line in file if line.endswith("\n")]
    except FileNotFoundError:
        return []


def line_of(entry: Entry) -> str:
    spread, change, found = entry
    return json.dumps([spread, change.tolist(), found.seen, found.loss, found.held_out, found.gradient.tolist()]) + "\n"
