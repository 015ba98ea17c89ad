"""Which games are in which shard, as the settings of a run say."""

from __future__ import annotations

import re
from collections.abc import Sequence
from dataclasses import dataclass

from .fault import Fault, WrongCall

SEEDS = 1 << 64  # seeds of games count modulo this
OPTION = r"[a-z]+=[-+]?[0-9]+"
LINE = re.compile(rf"games=([1-9]\d*) seed=(\d+)((?: {OPTION})*)")


@dataclass(frozen=True)
class Settings:
    games: int = 1000
    seed: int = 1
    shard: int = 100  # games in each, but for the last
    options: tuple[str, ...] = ()  # of the engine, NAME=NUMBER

    @property
    def seeds(self) -> tuple[int, int]:
        """The first one, and how many there are."""
        return self.seed, self.games

    def words(self) -> list[str]:
        """As on the command line. Of a single shard the size does not matter."""
        size = [f"shard={self.shard}"] if self.games > self.shard else []
        return [f"games={self.games}", f"seed={self.seed}", *size, *self.options]


@dataclass(frozen=True)
class Shard:
    number: int  # from 1 on
    first_seed: int
    games: int


def shards(settings: Settings) -> list[Shard]:
    return [Shard(i + 1, (settings.seed + first) % SEEDS, min(settings.shard, settings.games - first))
            for i, first in enumerate(range(0, settings.games, settings.shard))]


def lines(settings: Settings) -> list[str]:
    """The engine's arguments for each shard."""
    return [" ".join([f"games={s.games}", f"seed={s.first_seed}", *settings.options]) for s in shards(settings)]


def settings_of(plan: Sequence[str], name: str) -> Settings:
    """The settings that a plan without them, of earlier days, was made of."""
    found = []
    for i, line in enumerate(plan):
        match = LINE.fullmatch(line)
        if not match:
            raise Fault(f"{name} was edited: line {i + 1} is no shard's: {line}")
        found.append(match)
    if not found:
        raise Fault(f"{name} is empty")
    return Settings(sum(int(match[1]) for match in found), int(found[0][2]), int(found[0][1]),
                    tuple(found[0][3].split()))


def check(plan: Sequence[str], settings: Settings, name: str) -> None:
    """A plan says what its settings say."""
    wanted = lines(settings)
    advice = f"remove {name}, and run writes it again"
    for i, line in enumerate(wanted):
        if i >= len(plan) or plan[i] != line:
            found = f"is '{plan[i]}'" if i < len(plan) else "is missing"
            raise Fault(f"{name} was edited: line {i + 1} {found}, and was '{line}'; {advice}")
    if len(plan) > len(wanted):
        raise Fault(f"{name} was edited: line {len(wanted) + 1} is too much; {advice}")


def overlap(one: tuple[int, int], other: tuple[int, int]) -> bool:
    """Whether two ranges, the first seed and the number of each, have one in common. 0 follows the last seed."""
    return (other[0] - one[0]) % SEEDS < one[1] or (one[0] - other[0]) % SEEDS < other[1]


def span(settings: Settings) -> str:
    return f"{settings.seed} to {(settings.seed + settings.games - 1) % SEEDS}"


def read_settings(words: Sequence[str], others: Sequence[str] = ()) -> tuple[Settings, dict[str, str]]:
    """Settings of a run, and the values of `others`, which are paths or words, from the command line."""
    given: dict[str, str] = {}
    options = []
    for word in words:
        key, _, value = word.partition("=")
        if key in given:
            raise WrongCall(f"{key}= is given twice")
        if key in ("games", "shard"):
            match = re.fullmatch(r"0*([1-9][0-9]{0,11})", value)
            if not match:
                raise WrongCall(f"no number of games: {word}")
            value = match[1]
        elif key == "seed":
            if not re.fullmatch(r"[0-9]+", value):
                raise WrongCall(f"no number: {word}")
            if int(value) >= SEEDS:
                raise WrongCall(f"more than 64 bits: {word}")
        elif key == "out":
            raise WrongCall(f"{word}: shards have names of their own, and join names the joined file")
        elif key not in others or not value:
            if not re.fullmatch(OPTION, word):
                raise WrongCall(f"neither setting nor option: {word}")
            options.append(word)
        given[key] = value
    numbers = {key: int(given[key]) for key in ("games", "seed", "shard") if key in given}
    return Settings(**numbers, options=tuple(options)), {k: v for k, v in given.items() if k in others}
