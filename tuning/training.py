"""A fit from a store of positions to new weights: what tuning/fit does once it knows its options."""

from __future__ import annotations

import argparse
import contextlib
import hashlib
import os
import resource
import subprocess
import sys
from collections.abc import Iterator
from typing import NoReturn

import commandline
import journal
import listing
import model
import numpy as np
import prior
import progress
import scipy
import store
import tables
import team
from scipy import optimize
from progress import say

BANDS = ((0, 4), (5, 9), (10, 14), (15, 19), (20, 24))  # of the phase, for the report


@contextlib.contextmanager
def faults_in_a_line() -> Iterator[None]:
    """Around the reading of files and of what programs print: what is wrong with them is a line."""
    try:
        yield
    except ValueError as error:
        commandline.refuse(str(error))
    except OSError as error:
        commandline.refuse(f"{error.filename}: {error.strerror}" if error.filename else str(error))
    except subprocess.CalledProcessError as error:
        commandline.refuse(f"{' '.join(error.cmd)} has failed with status {error.returncode}")
    except team.Lost as reason:
        stop(f"{reason}; the passes so far are kept, the same command goes on", 1)
    except KeyboardInterrupt:
        stop("interrupted; the passes so far are kept, the same command goes on", 130)


def stop(message: str, status: int) -> NoReturn:
    progress.end_line()
    print(f"fit: {message}", file=sys.stderr)
    sys.exit(status)


def check(options: argparse.Namespace, positions: store.Store) -> None:
    """Refuses positions that are not for this fit."""
    engine = options.engine or commandline.find_engine()
    printed = subprocess.run([engine, "tuneparams"], stdout=subprocess.PIPE, text=True, check=True).stdout
    if listing.parse(printed).text() != positions.listing.text():
        raise ValueError(f"{options.store} was packed with other weights than those of {engine}:"
                         " pack the data anew, by tuning/pack")
    if positions.games < options.held_out:
        raise ValueError(f"too little data: {positions.games} games, and {options.held_out} are needed at least, so"
                         f" that every {options.held_out}th can be held out to judge by")
    if (options.scores_alone or options.mix) and not all(segment.scores for segment in positions.segments):
        raise ValueError("the data are without scores")


# --- fitting ---


def find_target(options: argparse.Namespace, surveyed: model.Survey) -> tuple[float, model.Target]:
    """The unit of the evaluation, and what is learned."""
    brought = surveyed.expected_by_value if options.scores_alone else surveyed.result_by_value
    unit = model.fit_unit(surveyed.values, brought)
    say(f"{unit:.1f} centipawns of an evaluation make one natural unit of odds")
    if options.scores_alone or options.mix == 0:
        return unit, model.Target(0, options.scores_alone, bool(options.scores_alone))
    score_unit = model.fit_unit(surveyed.scores, surveyed.result_by_score)
    say(f"{score_unit:.1f} centipawns of a search's score make one natural unit of odds")
    return unit, model.Target(options.mix, score_unit, False)


class Looks:
    """Passes over all positions: out of the journal, or else by the team."""

    def __init__(self, options: argparse.Namespace, workers: team.Team, task: model.Task,
                 kept: journal.Journal) -> None:
        self.workers = workers
        self.task = task
        self.kept = kept
        self.most: int | None = options.passes
        self.patience: int = options.patience
        self.history: dict[str, list[model.Pass]] = {}
        self.seconds: list[float] = []  # of the passes that were not in the journal
        self.ended_at_most = False

    def at(self, spread: str, change: np.ndarray) -> model.Pass:
        before = self.history.setdefault(spread, [])
        if self.most and len(before) == self.most:
            self.ended_at_most = True
            raise model.EndedEarly
        found = self.kept.found(spread, change)
        what = f"spread {spread}, pass {len(before) + 1}"
        if found is None:
            found = self.look(what, change)
            try:
                self.kept.add(spread, change, found)
            except OSError as error:
                raise team.Lost(f"{self.kept.path} cannot be written: {error.strerror}") from None
        before.append(found)
        progress.line(f"{what}: loss {found.loss:.6f}, held out {found.held_out:.6f}{self.remaining(before)}")
        return found

    def look(self, what: str, change: np.ndarray) -> model.Pass:
        meter = progress.Meter(what, self.workers.positions.rows)
        found = model.Pass.of(self.workers.total(model.step, self.task, change, tell=meter))
        if not np.isfinite([found.loss, found.held_out, *found.gradient]).all():
            raise ValueError(f"{what}: the loss is not a number")
        self.seconds.append(meter.seconds())
        return found

    def remaining(self, passes: list[model.Pass]) -> str:
        """How long the fit with this spread will still take, as far as that is known."""
        if not self.seconds:
            return ""
        best = min(range(len(passes)), key=lambda number: passes[number].held_out)
        least = max(self.patience - (len(passes) - 1 - best), 0)
        each = sum(self.seconds) / len(self.seconds)
        if not self.most:
            return f"; {progress.duration(least * each)} to go if no step is better"
        return f"; {progress.duration((self.most - len(passes)) * each)} to go at most"


def fit_spreads(spreads: list[prior.Spread], names: list[str], looks: Looks, bounds: optimize.Bounds) -> model.Fit:
    """Fits with one spread after another and takes what is best on the games held out."""
    best = None
    for spread in spreads:
        found = model.fit(lambda change, of=str(spread): looks.at(of, change), prior.precision(names, spread),
                          bounds, looks.patience)
        progress.end_line()
        say(f"spread {spread}: held out {found.held_out:.6f} at step {found.steps}")
        if best is None or found.held_out < best.held_out:
            best = found
    return best


# --- telling ---


def print_losses(judgements: model.Judgements) -> None:
    """The loss on games that were held out, by phase."""
    before, after = judgements.before, judgements.after
    print("held out, phase   positions    before     after")
    for low, high in (*BANDS, (0, model.FULL_PHASE)):
        band = slice(low, high + 1)
        if count := before.positions[band].sum():
            print(f"       {low:4} to {high:2} {count:11}  {before.losses[band].sum() / count:.6f}"
                  f"  {after.losses[band].sum() / count:.6f}")


def write(path: str, text: str) -> None:
    """A new file takes the place of the old one when it is whole."""
    part = f"{path}.part"
    try:
        with open(part, "w", encoding="utf-8") as file:
            file.write(text)
        os.replace(part, path)
    except OSError as error:
        with contextlib.suppress(OSError):
            os.remove(part)
        raise team.Lost(f"{path} cannot be written: {error.strerror}") from None
    say(f"{path} is written")


def peak_memory() -> int:
    """Mebibytes of the largest of the processes here."""
    return max(resource.getrusage(who).ru_maxrss for who in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)) // 1024


# --- the whole ---


def what_decides(options: argparse.Namespace, positions: store.Store) -> dict[str, object]:
    """All that decides what the passes of a fit find, by name."""
    with open(options.choice, "rb") as file:
        choice = hashlib.sha256(file.read()).hexdigest()
    return {"the store": positions.digest, "--choice": choice, "--spread": options.spread, "--mix": options.mix,
            "--scores-alone": options.scores_alone, "--held-out": options.held_out,
            "the version of numpy": np.__version__, "the version of scipy": scipy.__version__}


def survey(options: argparse.Namespace, workers: team.Team) -> model.Survey:
    """The first pass, which looks whether the bytes are those that were written, too."""
    rows = workers.positions.rows
    found = model.surveyed(workers.total(model.survey, options.scores_alone, verify=True,
                                         tell=progress.Meter("reading", rows)))
    progress.end_line()
    return found


def bounds_of(choice: listing.Choice, weights: listing.Listing) -> optimize.Bounds:
    """Of the changes."""
    present = weights.values[choice.free]
    return optimize.Bounds(np.minimum(choice.low[choice.free] - present, 0),
                           np.maximum(choice.high[choice.free] - present, 0))


def learn(options: argparse.Namespace, workers: team.Team, choice: listing.Choice, spreads: list[prior.Spread],
          kept: journal.Journal) -> None:
    positions = workers.positions
    weights = positions.listing
    surveyed = survey(options, workers)
    unit, target = find_target(options, surveyed)
    task = model.Task(unit, target, options.held_out, model.Cells.of(positions.cells, choice.free))
    looks = Looks(options, workers, task, kept)
    names = [weights.names[index] for index in np.flatnonzero(choice.free)]
    found = fit_spreads(spreads, names, looks, bounds_of(choice, weights))
    if not found.steps:
        say("no step was better on the held-out games: the weights are unchanged; more games are needed")
    change = np.rint(found.change)
    judgements = model.judged(workers.total(model.judge, task, change))
    print_losses(judgements)

    values = weights.values.copy()
    values[choice.free] += change.astype(np.int64)
    fitted = listing.Listing(weights.names, values)
    write(options.listing, fitted.text() + listing.MARK)
    if options.tables:
        write(options.tables, tables.source(fitted))
    if options.report:
        import report  # needs matplotlib
        write(options.report, report.page(report.Told(options, positions, fitted, looks.history, judgements, task)))
    if looks.ended_at_most:
        say(f"{kept.path} stays: the same command with more --passes goes on")
    else:
        kept.remove()


def workers_for(options: argparse.Namespace, positions: store.Store) -> team.Team:
    if options.mpi:
        return team.Mpi(positions)
    return team.Processes(positions, options.jobs) if options.jobs > 1 else team.Team(positions)


def lead(options: argparse.Namespace, workers: team.Team) -> None:
    positions = workers.positions
    spreads = [prior.Spread.parse(text) for text in dict.fromkeys(options.spread.split(","))]
    choice = listing.read_choice(options.choice, positions.listing.names)
    check(options, positions)
    kept = journal.Journal(f"{options.listing}.journal", what_decides(options, positions))
    say(f"{positions.rows} positions of {positions.games} games;"
        f" {choice.free.sum()} of {len(choice.free)} weights are to move")
    learn(options, workers, choice, spreads, kept)


def run(options: argparse.Namespace) -> None:
    with faults_in_a_line():
        workers = workers_for(options, store.open(options.store))
    with workers, faults_in_a_line():
        if not workers.leads():
            return
        lead(options, workers)
    say(f"at most {peak_memory()} MiB of memory in one process here")
