#!/usr/bin/env python3
"""Makes datagen_seeds.txt: runs of datagen in which something rare happens, for its tests.

    MORVANE_ENGINE=build/release/morvane make_datagen_seeds.py

What happens in a game follows from its seed and from the evaluation, so after a change of the
evaluation other seeds are needed.  They are looked for from 1 on: a few minutes.
"""

from __future__ import annotations

import itertools
import sys
from collections.abc import Callable, Iterator
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True  # no __pycache__ among the test data
sys.path.insert(0, str(HERE.parent / "uci"))
sys.path.insert(0, str(HERE.parent / "match"))
from selfplay import Game, read_games  # noqa: E402
from test_datagen import (  # noqa: E402
    ALL_ENDS, ALL_MINOR_PIECES, ONE_PLY, ODD_NUMBERS, UNCUT, changes_nothing, ends_and_minor_pieces,
    file_of, has_en_passant, unseen_defaults,
)

OUTPUT = HERE / "datagen_seeds.txt"
HEADING = "# Runs of datagen for its tests, found by make_datagen_seeds.py.\n"


def first(found: Callable[[str], bool], options: str, start: int = 1) -> str:
    """The options with the first seed that has what is looked for."""
    for seed in itertools.count(start):
        run = options.format(seed)
        if found(run):
            print(run, flush=True)
            return run
    raise AssertionError


def games_of(run: str) -> list[Game]:
    return read_games(file_of(f"{UNCUT} {run}"))


def can_be_read(games: list[Game]) -> bool:
    """Whether the file tells how each game ended."""
    try:
        return all(game.last_moves and game.quiet is not None for game in games)
    except AssertionError:
        return False


def long_games() -> Iterator[str]:
    """Runs of six games, the first of which ends by mate and one of which is long."""
    step = 400
    for start in itertools.count(1, step):
        lengths = [len(game.plies) for game in games_of(f"games={step} seed={start} maxdepth=2")]
        for index in [i for i, length in enumerate(lengths) if length > 400]:
            for seed in range(start + max(index - 5, 0), start + index + 1):
                run = f"games=6 seed={seed} maxdepth=2"
                games = games_of(run)
                if len(games) == 6 and set(games[0].last_moves.values()) == {"mate"} \
                        and can_be_read(games):
                    yield run


def endings(runs: list[str]) -> Iterator[str]:
    """Runs that together with those that are there show every default of the adjudication."""
    missing = set(unseen_defaults([game for run in runs for game in games_of(run)]))

    def take(run: str) -> bool:
        games = games_of(run)
        if not games or not can_be_read(games):
            return False
        before = len(missing)
        missing.intersection_update(unseen_defaults(games))
        return len(missing) < before

    yield first(take, "games=15 seed={} maxdepth=4 randomplies=200")
    for start in itertools.count(1, 1000):
        if not missing:
            return
        yield first(take, "games=1 seed={} maxdepth=4 randomplies=200", start)


def rare_ends(runs: list[str]) -> Iterator[str]:
    """Runs that have what is missing in those that are there."""
    ends, minor_pieces = set(), set()

    def take(run: str) -> bool:
        games = games_of(run)
        if not games or not all(game.last_moves for game in games):
            return False
        more_ends, more_pieces = ends_and_minor_pieces(games)
        is_new = bool(more_ends - ends or (more_pieces & ALL_MINOR_PIECES) - minor_pieces)
        ends.update(more_ends)
        minor_pieces.update(more_pieces)
        return is_new

    for run in runs:
        take(run)
    seeds = itertools.count(1)
    while ends < ALL_ENDS or minor_pieces < ALL_MINOR_PIECES:
        run = first(take, "games=1 seed={} maxdepth=1 randomplies=250", next(seeds))
        seeds = itertools.count(int(run.split("seed=")[1].split()[0]) + 1)
        yield run


def score_of(seed: int) -> int | None:
    """Of the opening at the default number of random plies."""
    games = read_games(file_of(f"{ONE_PLY} openingcap=1000000 openingtries=1 games=1 seed={seed}"
                               " randomplies=8 nodes=0 maxdepth=1"))
    return abs(games[0].plies[0].score) if games else None


def tries_of(seed: int) -> int:
    """How many openings are drawn until one is within a narrow cap; 99 for more than 13."""
    for tries in range(1, 14):
        if file_of(f"{ONE_PLY} openingcap=8 openingtries={tries} games=1 seed={seed} randomplies=8"
                   " nodes=0 maxdepth=1"):
            return tries
    return 99


def main() -> None:
    games = next(long_games())
    print(games, flush=True)
    ending = list(endings([games]))
    lines = {
        "games": [games], "endings": ending,
        "numbers": [first(lambda run: not changes_nothing(run), ODD_NUMBERS)],
        "en-passant": [first(lambda run: can_be_read(games_of(run)) and has_en_passant(games_of(run)[0]),
                             "games=1 seed={} maxdepth=2")],
        "rare": list(rare_ends([games, *ending])),
        "played": [first(lambda run: score_of(int(run)) == 200, "{}")],
        "discarded": [first(lambda run: (score_of(int(run)) or 0) in (201, 202, 203), "{}")],
        "12-tries": [first(lambda run: tries_of(int(run)) == 12, "{}")],
        "13-tries": [first(lambda run: tries_of(int(run)) == 13, "{}")],
    }
    text = "".join(f"{name}: {run}\n" for name, runs in lines.items() for run in runs)
    OUTPUT.write_text(HEADING + text, encoding="utf-8")


if __name__ == "__main__":
    main()
