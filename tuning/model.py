"""Logistic regression: which weights make the results of the games most likely.

A position of value v, in centipawns from White's view, is expected to bring White the share
1 / (1 + exp(-v / unit)) of the point.  The loss is the cross entropy between that and the result,
in natural units, averaged over positions.  The regulariser holds the weights to the values that they
have (prior.py).
"""

from __future__ import annotations

import dataclasses
from collections.abc import Callable

import numpy as np
from scipy import optimize, sparse
from scipy.special import expit

UNITS = (20.0, 2000.0)  # centipawns, between which the unit is looked for


@dataclasses.dataclass
class Sample:
    slopes: sparse.csr_matrix  # position by free weight
    value: np.ndarray  # with the weights as they are
    target: np.ndarray  # the share of the point that White had of it
    phase: np.ndarray


def losses(value: np.ndarray, target: np.ndarray, unit: float) -> np.ndarray:
    """Of each position, without overflow for any value."""
    x = value / unit
    return np.logaddexp(0.0, x) - target * x


def fit_unit(value: np.ndarray, target: np.ndarray) -> float:
    """Centipawns that make one natural unit of odds."""
    found = optimize.minimize_scalar(
        lambda log: losses(value, target, np.exp(log)).mean(),
        bounds=np.log(UNITS), method="bounded", options={"xatol": 1e-6})
    return float(np.exp(found.x))


def moved(sample: Sample, change: np.ndarray) -> np.ndarray:
    """The values once each free weight has changed by so much."""
    return sample.value + sample.slopes @ change


@dataclasses.dataclass
class Fit:
    change: np.ndarray  # of each free weight, centipawns
    held_out: float  # loss on games that the fit has not seen
    steps: int


class EndedEarly(Exception):
    pass


def fit(seen: Sample, unseen: Sample, unit: float, precision: np.ndarray, bounds: optimize.Bounds,
        patience: int, tell: Callable[[int, float, float], None]) -> Fit:
    """Lowers the loss on the one sample step by step, and keeps the step that is best on the other.
    Ends when that has not become better for so many steps.  `tell` hears each step and its losses."""
    count = len(seen.value)
    backward = seen.slopes.T.tocsr()
    start = np.zeros(len(precision))
    best = Fit(start, losses(unseen.value, unseen.target, unit).mean(), 0)
    steps = 0
    loss = 0.0

    def loss_and_gradient(change: np.ndarray) -> tuple[float, np.ndarray]:
        nonlocal loss
        value = moved(seen, change)
        loss = losses(value, seen.target, unit).mean()
        error = (expit(value / unit) - seen.target) / (unit * count)
        pull = precision @ change / count
        return loss + 0.5 * pull @ change, backward @ error + pull

    def look(change: np.ndarray) -> None:
        nonlocal best, steps
        steps += 1
        held_out = losses(moved(unseen, change), unseen.target, unit).mean()
        tell(steps, loss, held_out)
        if held_out < best.held_out:
            best = Fit(change.copy(), held_out, steps)
        elif steps - best.steps >= patience:
            raise EndedEarly

    try:
        optimize.minimize(loss_and_gradient, start, jac=True, method="L-BFGS-B", bounds=bounds,
                          callback=look, options={"maxiter": 1000, "ftol": 1e-11, "gtol": 1e-10})
    except EndedEarly:
        pass
    return best
