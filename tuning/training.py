"""A fit from data files to new weights: what tuning/fit does once it knows its options."""

from __future__ import annotations

import argparse
import contextlib
import os
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator

import commandline
import listing
import model
import numpy as np
import prior
import rows
import tables
from scipy import optimize, sparse

BANDS = ((0, 4), (5, 9), (10, 14), (15, 19), (20, 24))  # of the phase, for the report

started = time.monotonic()


def say(text: str, end: str = "\n") -> None:
    print(f"{time.monotonic() - started:6.0f} s  {text}", end=end, flush=True)


@contextlib.contextmanager
def faults_in_a_line() -> Iterator[None]:
    """Around the reading of files and of what programs print: what is wrong with them is a line."""
    try:
        yield
    except (OSError, ValueError) as error:
        commandline.refuse(str(error))
    except subprocess.CalledProcessError as error:
        commandline.refuse(f"{' '.join(error.cmd)} has failed with status {error.returncode}")


def output_of(*command: str) -> str:
    return subprocess.run(command, stdout=subprocess.PIPE, text=True, check=True).stdout


# --- reading ---


class Gathered:
    """What the fit needs of all rows, as they come."""

    def __init__(self) -> None:
        self.slopes: list[sparse.csr_matrix] = []
        self.values: list[np.ndarray] = []
        self.phases: list[np.ndarray] = []

    def add(self, part: rows.Rows, clock: np.ndarray, weights: np.ndarray, free: np.ndarray) -> None:
        self.slopes.append(rows.slopes(part, clock, free))
        self.values.append(rows.evaluate(part, clock, weights))
        self.phases.append(part.phase)

    def split(self, held_out: np.ndarray, learned: np.ndarray,
              judged: np.ndarray) -> tuple[model.Sample, model.Sample]:
        """What the fit sees, and what it is judged by."""
        slopes = sparse.vstack(self.slopes, format="csr")
        values, phases = np.concatenate(self.values), np.concatenate(self.phases)
        return tuple(model.Sample(slopes[chosen], values[chosen], target[chosen], phases[chosen])
                     for chosen, target in ((~held_out, learned), (held_out, judged)))


def gather(options: argparse.Namespace, place: str, weights: listing.Listing, free: np.ndarray,
           positions: rows.Positions) -> Gathered:
    """Reads the features of all files.  Ends the program unless they give the engine's evaluations."""
    found = Gathered()
    done = 0
    total = len(positions.clock)
    for path in options.data:
        features = os.path.join(place, "rows.txt")
        subprocess.run([options.engine, "featureexport", path, features], check=True)
        told = np.array(output_of(options.selfcheck, "evaluate", path).split(), dtype=np.int64)
        if done + len(told) > total:
            sys.exit(f"{path}: other positions than were read before")
        for part in rows.read_rows(features, len(weights.names)):
            here = slice(done, done + len(part.phase))
            found.add(part, positions.clock[here], weights.values, free)
            signs = np.where(positions.white[here], 1, -1)
            wrong = np.flatnonzero(found.values[-1] * signs != told[: len(signs)])
            told = told[len(signs):]
            if len(wrong) or (part.result != positions.result[here]).any():
                sys.exit(f"{path}: {len(wrong)} rows do not give the engine's evaluation (is morvane_selfcheck older"
                         " than the engine? cmake --build --preset test --target morvane_selfcheck)")
            done = here.stop
            say(f"{done} of {total} positions read, all as the engine evaluates them", end="\r")
        os.remove(features)
    if done != total:
        sys.exit(f"{done} rows for {total} positions")
    print()
    return found


def targets(options: argparse.Namespace, positions: rows.Positions,
            values: np.ndarray) -> tuple[float, np.ndarray, np.ndarray]:
    """The unit of the evaluation, what is learned of each position, and what the fit is judged by."""
    if (options.scores_alone or options.mix) and np.isnan(positions.score).any():
        commandline.refuse("the data are without scores")
    judged = positions.result
    if options.scores_alone:
        judged = model.expit(positions.score / options.scores_alone)
    unit = model.fit_unit(values, judged)
    say(f"{unit:.1f} centipawns of an evaluation make one natural unit of odds")
    if options.scores_alone or options.mix == 0:
        return unit, judged, judged
    score_unit = model.fit_unit(positions.score, positions.result)
    say(f"{score_unit:.1f} centipawns of a search's score make one natural unit of odds")
    by_score = model.expit(positions.score / score_unit)
    return unit, (1 - options.mix) * positions.result + options.mix * by_score, judged


# --- fitting ---


def fit_spreads(options: argparse.Namespace, spreads: list[prior.Spread], names: list[str],
                seen: model.Sample, unseen: model.Sample, unit: float, bounds: optimize.Bounds) -> model.Fit:
    """Fits with one spread after another and takes what is best on the games held out."""
    best = None
    for spread in spreads:
        def tell(step: int, loss: float, held_out: float, spread: prior.Spread = spread) -> None:
            say(f"spread {spread}, step {step}: loss {loss:.6f}, held out {held_out:.6f}", end="\r")

        found = model.fit(seen, unseen, unit, prior.precision(names, spread), bounds,
                          options.patience, tell)
        print()
        say(f"spread {spread}: held out {found.held_out:.6f} at step {found.steps}")
        if best is None or found.held_out < best.held_out:
            best = found
    return best


def report(unseen: model.Sample, unit: float, change: np.ndarray) -> None:
    """The loss on games that were held out, by phase."""
    before = model.losses(unseen.value, unseen.target, unit)
    after = model.losses(model.moved(unseen, change), unseen.target, unit)
    print("held out, phase   positions    before     after")
    for low, high in (*BANDS, (0, rows.FULL_PHASE)):
        chosen = (unseen.phase >= low) & (unseen.phase <= high)
        if chosen.any():
            print(f"       {low:4} to {high:2} {chosen.sum():11}  {before[chosen].mean():.6f}"
                  f"  {after[chosen].mean():.6f}")


def write(path: str, text: str) -> None:
    with open(path, "w", encoding="ascii") as file:
        file.write(text)
    say(f"{path} is written")


def run(options: argparse.Namespace) -> None:
    with faults_in_a_line():
        spreads = [prior.Spread.parse(text) for text in options.spread.split(",")]
        weights = listing.parse(output_of(options.engine, "tuneparams"))
        choice = listing.read_choice(options.choice, weights.names)
        positions = rows.read_positions(options.data)
    games = len(np.unique(positions.game))
    if games < options.held_out:
        commandline.refuse(f"too little data: {games} games, and {options.held_out} are needed at least, so that"
                           f" every {options.held_out}th can be held out to judge by")
    say(f"{len(positions.clock)} positions of {games} games;"
        f" {choice.free.sum()} of {len(weights.names)} weights are to move")
    place = tempfile.TemporaryDirectory(dir=os.path.dirname(os.path.abspath(options.listing)))
    with faults_in_a_line(), place as place:
        gathered = gather(options, place, weights, choice.free, positions)
    unit, learned, judged = targets(options, positions, np.concatenate(gathered.values))
    samples = gathered.split(positions.game % options.held_out == options.held_out - 1, learned, judged)
    names = [weights.names[index] for index in np.flatnonzero(choice.free)]
    present = weights.values[choice.free]
    bounds = optimize.Bounds(np.minimum(choice.low[choice.free] - present, 0),
                             np.maximum(choice.high[choice.free] - present, 0))
    found = fit_spreads(options, spreads, names, *samples, unit, bounds)
    change = np.rint(found.change)
    if not found.steps:
        say("no step was better on the held-out games: the weights are unchanged; more games are needed")
    report(samples[1], unit, change)

    values = weights.values.copy()
    values[choice.free] += change.astype(np.int64)
    fitted = listing.Listing(weights.names, values)
    write(options.listing, fitted.text() + listing.MARK)
    if options.tables:
        write(options.tables, tables.source(fitted))
