"""Logistic regression: which weights make the results of the games most likely.

A position of value v, in centipawns from White's view, is expected to bring White the share
1 / (1 + exp(-v / unit)) of the point.  The loss is the cross entropy between that and the result,
in natural units, averaged over positions.  The regulariser holds the weights to the values that they
have (prior.py).

Near the present weights the value of a position is linear in them, but for truncating divisions: it is the
engine's own whole number for the present weights, and slopes for the rest.

What is computed of positions here is computed of a part of a block of a store (store.py) at a time; team.py adds it up.
"""

from __future__ import annotations

import dataclasses
from collections.abc import Callable

import numpy as np
from scipy import optimize, sparse
from scipy.special import expit

import store

FULL_PHASE = 24
FULL_SCALE = 64
FADED_OUT = 200  # halfmove clock at which a value is nothing
UNITS = (20.0, 2000.0)  # centipawns, between which the unit is looked for
LOWEST = -(1 << 15)  # the smallest number that a value or a score can be
NUMBERS = 1 << 16  # so many there are


def losses(value: np.ndarray, target: np.ndarray, unit: float) -> np.ndarray:
    """Of each position, without overflow for any value."""
    x = value / unit
    return np.logaddexp(0.0, x) - target * x


# --- units ---


@dataclasses.dataclass
class Survey:
    """What the units depend on: how often there is each value and each score, beginning with `LOWEST`, and the
    sums of what each position brought times its value, and times its score."""

    values: np.ndarray
    scores: np.ndarray
    result_by_value: float
    result_by_score: float
    expected_by_value: float  # with what its score lets expect, if scores alone are to tell


def survey(rows: store.Rows, scores_alone: float | None) -> list[np.ndarray]:
    """The parts of a `Survey` that one block makes up."""
    score = np.where(rows.score == store.NO_SCORE, 0, rows.score).astype(np.int64)
    half_points = np.rint(2 * rows.result).astype(np.int64)
    value = rows.value.astype(np.int64)
    expected = expit(score / scores_alone) @ value.astype(float) if scores_alone else 0.0
    counts = [np.bincount(number - LOWEST, minlength=NUMBERS).astype(np.int32) for number in (value, score)]
    return [*counts, np.array([half_points @ value, half_points @ score]), np.array([expected])]


def surveyed(totals: list[np.ndarray]) -> Survey:
    """From the sums over all blocks."""
    values, scores, (by_value, by_score), (expected,) = totals
    return Survey(values, scores, by_value / 2, by_score / 2, float(expected))


def fit_unit(counts: np.ndarray, products: float) -> float:
    """Centipawns that make one natural unit of odds, from how often there is each value and the sum of value
    times target."""
    present = np.flatnonzero(counts)
    value, weight = present + LOWEST, counts[present] / counts.sum()
    slope = products / counts.sum()

    def loss(log: float) -> float:
        unit = np.exp(log)
        return float((weight * np.logaddexp(0.0, value / unit)).sum() - slope / unit)

    return float(np.exp(optimize.minimize_scalar(loss, bounds=np.log(UNITS), method="bounded",
                                                 options={"xatol": 1e-6}).x))


# --- one pass over the positions ---


@dataclasses.dataclass(frozen=True)
class Target:
    """What is learned of each position, and what a fit is judged by: what White had of it, or may expect."""

    mix: float  # share of the score in what is learned
    score_unit: float | None  # centipawns of a score in one natural unit of odds
    judged_by_scores: bool

    def judged(self, rows: store.Rows) -> np.ndarray:
        return expit(rows.score / self.score_unit) if self.judged_by_scores else rows.result

    def wanted(self, rows: store.Rows, unseen: np.ndarray) -> np.ndarray:
        """What is learned, or of positions that are held out what they are judged by."""
        judged = self.judged(rows)
        if self.judged_by_scores or self.mix == 0:
            return judged
        learned = (1 - self.mix) * rows.result + self.mix * expit(rows.score / self.score_unit)
        return np.where(unseen, judged, learned)


@dataclasses.dataclass(frozen=True)
class Cells:
    """Which of the weights that move each cell of a row counts, in either phase: cell by free weight."""

    mg: sparse.csr_matrix
    eg: sparse.csr_matrix

    @classmethod
    def of(cls, cells: list[list[list[int]]], free: np.ndarray) -> Cells:
        number = np.cumsum(free) - 1  # of each free weight among them

        def matrix(phase: int) -> sparse.csr_matrix:
            uses = [(cell, number[weight]) for cell, weights in enumerate(cells)
                    for weight in weights[phase] if free[weight]]
            places = np.array(uses, dtype=np.int64).reshape(-1, 2).T
            return sparse.csr_matrix((np.ones(len(uses)), places), (len(cells), int(free.sum())))

        return cls(matrix(0), matrix(1))


@dataclasses.dataclass(frozen=True)
class Task:
    """What stays the same through all passes of a fit."""

    unit: float
    target: Target
    every: int  # so manieth game is held out
    cells: Cells

    def held_out(self, rows: store.Rows) -> np.ndarray:
        return rows.game % self.every == self.every - 1


class Slopes:
    """How the values of rows hang on the free weights."""

    def __init__(self, rows: store.Rows, cells: Cells) -> None:
        self.value = rows.value
        self.cells = cells
        fade = (FADED_OUT - rows.clock) / FADED_OUT / FULL_PHASE
        # By how much a value grows with each centipawn of the middle-game and of the end-game sum.
        self.shares = np.stack([rows.phase * fade, rows.scale / FULL_SCALE * (FULL_PHASE - rows.phase) * fade], axis=1)
        # How often each row counts each cell.
        self.uses = sparse.csr_matrix((rows.count.astype(np.float64), rows.cell, rows.pointers),
                                      (len(rows.value), cells.mg.shape[0]))

    def moved(self, change: np.ndarray) -> np.ndarray:
        """The values once each free weight has changed by so much."""
        by_cell = np.stack([self.cells.mg @ change, self.cells.eg @ change], axis=1)
        return self.value + (self.shares * (self.uses @ by_cell)).sum(axis=1)

    def gradient(self, error: np.ndarray) -> np.ndarray:
        """By free weight, of a sum of which each row's slope is told."""
        pull = self.uses.T @ (self.shares * error[:, None])
        return self.cells.mg.T @ pull[:, 0] + self.cells.eg.T @ pull[:, 1]


def step(rows: store.Rows, task: Task, change: np.ndarray) -> list[np.ndarray]:
    """Of one block: how many positions are learned from and how many are held out; the sums of their losses, then
    the gradient of the first sum."""
    slopes = Slopes(rows, task.cells)
    value = slopes.moved(change)
    unseen = task.held_out(rows)
    wanted = task.target.wanted(rows, unseen)
    loss = losses(value, wanted, task.unit)
    error = np.where(unseen, 0.0, (expit(value / task.unit) - wanted) / task.unit)
    held_out = np.count_nonzero(unseen)
    return [np.array([len(unseen) - held_out, held_out]),
            np.array([loss[~unseen].sum(), loss[unseen].sum(), *slopes.gradient(error)])]


@dataclasses.dataclass(frozen=True)
class Pass:
    """One look at all positions, with some change of the weights."""

    seen: int  # positions that are learned from
    loss: float  # of these
    held_out: float  # of the others
    gradient: np.ndarray  # of the loss, by free weight

    @classmethod
    def of(cls, totals: list[np.ndarray]) -> Pass:
        """From the sums over all blocks."""
        (seen, unseen), (loss, held_out, *gradient) = (part.tolist() for part in totals)
        return cls(seen, loss / seen, held_out / unseen, np.array(gradient) / seen)


# --- what a fit has brought ---

EDGE = 1000  # centipawns: values beyond count as this
BIN = 50


@dataclasses.dataclass(frozen=True)
class Judgement:
    """How well some weights predict the games that were held out."""

    positions: np.ndarray  # by phase
    losses: np.ndarray  # their sums
    by_value: np.ndarray  # positions by value, in bins from -EDGE to EDGE
    brought: np.ndarray  # what White had of them, their sums


@dataclasses.dataclass(frozen=True)
class Judgements:
    before: Judgement  # the weights as they are
    after: Judgement
    scores: Judgement  # the scores of the searches, in the place of values


def judge(rows: store.Rows, task: Task, change: np.ndarray) -> list[np.ndarray]:
    """The parts of `Judgements` that one block makes up."""
    unseen = task.held_out(rows)
    phase, brought = rows.phase[unseen], task.target.judged(rows)[unseen]
    counts, sums = [np.bincount(phase, minlength=FULL_PHASE + 1)], []
    for value in (rows.value[unseen], Slopes(rows, task.cells).moved(change)[unseen], rows.score[unseen]):
        place = np.rint((np.clip(value, -EDGE, EDGE) + float(EDGE)) / BIN).astype(np.int64)
        counts.append(np.bincount(place, minlength=2 * EDGE // BIN + 1))
        sums.append(np.bincount(phase, losses(value, brought, task.unit), FULL_PHASE + 1))
        sums.append(np.bincount(place, brought, 2 * EDGE // BIN + 1))
    return counts + sums


def judged(totals: list[np.ndarray]) -> Judgements:
    """From the sums over all blocks."""
    phases, *bins = totals[:4]
    return Judgements(*(Judgement(phases, totals[4 + 2 * number], bins[number], totals[5 + 2 * number])
                        for number in range(3)))


# --- the fit ---

FIRST_STEP = 10  # centipawns, all weights together


@dataclasses.dataclass
class Fit:
    change: np.ndarray  # of each free weight, centipawns
    held_out: float  # loss on games that the fit has not seen
    steps: int


class EndedEarly(Exception):
    pass


def fit(look: Callable[[np.ndarray], Pass], precision: np.ndarray, bounds: optimize.Bounds, patience: int) -> Fit:
    """Lowers the loss step by step, and keeps the step that is best on the games held out.  Ends when that has not
    become better for so many steps, or when `look`, which passes over all positions, raises `EndedEarly`."""
    start = np.zeros(len(precision))
    latest = (start, look(start))  # L-BFGS-B asks for this one first
    best = Fit(start, latest[1].held_out, 0)
    steps = 0
    # L-BFGS-B begins with a step as long as the gradient, and one centipawn may change the loss by a millionth only.
    scale = FIRST_STEP / (float(np.sqrt((latest[1].gradient**2).sum())) or 1)

    def at(change: np.ndarray) -> Pass:
        nonlocal latest
        if not np.array_equal(change, latest[0]):
            latest = (change.copy(), look(change))
        return latest[1]

    def loss_and_gradient(change: np.ndarray) -> tuple[float, np.ndarray]:
        found = at(change)
        pull = (precision * change).sum(axis=1) / found.seen
        return scale * (found.loss + 0.5 * float((pull * change).sum())), scale * (found.gradient + pull)

    def judge(change: np.ndarray) -> None:
        nonlocal best, steps
        steps += 1
        held_out = at(change).held_out
        if held_out < best.held_out:
            best = Fit(change.copy(), held_out, steps)
        elif steps - best.steps >= patience:
            raise EndedEarly

    try:
        optimize.minimize(loss_and_gradient, start, jac=True, method="L-BFGS-B", bounds=bounds,
                          callback=judge, options={"maxiter": 1000, "ftol": 1e-11, "gtol": 1e-6})
    except EndedEarly:
        pass
    return best
