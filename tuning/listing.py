"""The listing of weights that "morvane tuneparams" prints, and the choice of those that a fit moves."""

from __future__ import annotations

import dataclasses
import fnmatch
import re

import numpy as np

MARK = "# Written by tuning/fit\n"  # may be the last line
HEADING = "# Morvane tune params: index name value  (NPARAMS={})"


@dataclasses.dataclass(frozen=True)
class Listing:
    names: list[str]
    values: np.ndarray  # centipawns, whole numbers

    def index(self, name: str) -> int:
        return self.names.index(name)

    def block(self, prefix: str, count: int) -> np.ndarray:
        """The values of the weights called prefix0, prefix1 and so on."""
        first = self.index(f"{prefix}0")
        if self.names[first : first + count] != [f"{prefix}{i}" for i in range(count)]:
            raise ValueError(f"the listing has no {count} weights {prefix}...")
        return self.values[first : first + count]

    def text(self) -> str:
        lines = [HEADING.format(len(self.names))]
        lines += [f"{i} {name} {value}" for i, (name, value) in enumerate(zip(self.names, self.values))]
        return "\n".join(lines) + "\n"


def parse(text: str) -> Listing:
    heading, *lines = text.removesuffix(MARK).removesuffix("\n").split("\n")
    if heading != HEADING.format(len(lines)):
        raise ValueError(f"no listing of {len(lines)} weights: {heading[:80]!r}")
    names, values = [], []
    for place, line in enumerate(lines):
        match = re.fullmatch(r"(\d+) (\w+) (-?\d+)", line)
        if not match or int(match[1]) != place:
            raise ValueError(f"not the line of weight {place}: {line[:80]!r}")
        names.append(match[2])
        values.append(int(match[3]))
    return Listing(names, np.array(values, dtype=np.int64))


def read(path: str) -> Listing:
    """What is no listing is an error that names the file."""
    with open(path, encoding="ascii", errors="replace") as file:
        text = file.read()
    try:
        return parse(text)
    except ValueError as error:
        raise ValueError(f"{path}: {error}") from None


@dataclasses.dataclass
class Choice:
    """Which weights a fit moves, and between which bounds."""

    free: np.ndarray  # truth by weight
    low: np.ndarray
    high: np.ndarray


RULE = re.compile(r"(?P<what>fit|keep|at least (?P<low>-?\d+)|at most (?P<high>-?\d+))\s+(?P<names>\S+)")
RANGE = re.compile(r"(?P<start>.*\D)(?P<first>\d+)-(?P<last>\d+)")


def matching(names: list[str], pattern: str) -> np.ndarray:
    """Which names a pattern means: with * and ? as in a shell, or with a range of numbers at its end."""
    if found := RANGE.fullmatch(pattern):
        numbers = range(int(found["first"]), int(found["last"]) + 1)
        wanted = {f"{found['start']}{number}" for number in numbers}
        chosen = np.array([name in wanted for name in names])
        complete = chosen.sum() == len(numbers) > 0
    else:
        chosen = np.array([fnmatch.fnmatchcase(name, pattern) for name in names])
        complete = chosen.any()
    if not complete:
        raise ValueError(f"weights that do not exist: {pattern}")
    return chosen


def read_choice(path: str, names: list[str]) -> Choice:
    """Reads a file of rules, one a line, later ones over earlier ones:

        fit NAMES            these move
        keep NAMES           these do not
        at least 5 NAMES     the bounds of those that move
        at most 66 NAMES
    """
    count = len(names)
    choice = Choice(np.zeros(count, bool), np.full(count, -np.inf), np.full(count, np.inf))
    with open(path, encoding="utf-8") as file:
        for line in file:
            rule = line.split("#")[0].strip()
            if not rule:
                continue
            match = RULE.fullmatch(rule)
            if not match:
                raise ValueError(f"{path}: not a rule: {rule}")
            chosen = matching(names, match["names"])
            if match["what"] in ("fit", "keep"):
                choice.free[chosen] = match["what"] == "fit"
            elif match["low"]:
                choice.low[chosen] = int(match["low"])
            else:
                choice.high[chosen] = int(match["high"])
    if not choice.free.any():
        raise ValueError(f"{path} lets no weight move")
    return choice
