"""What pairs of games tell about the difference in strength of two players.

Both games of a pair begin with the same opening, colours reversed: their results hang together, so the
pair is what is counted, by its points: 0, 0.5, 1, 1.5 or 2."""

from __future__ import annotations

import dataclasses
import math
from collections import Counter

SIGMAS = 1.96  # 95 % of a normal distribution
ERRORS = 0.05  # how often a sequential test may be wrong, either way


def expected(elo: float) -> float:
    """The share of the points that a player so much stronger gets."""
    return 1 / (1 + 10 ** (-elo / 400))


def difference(share: float) -> float:
    """The same backwards."""
    if not 0 < share < 1:
        return math.inf if share >= 1 else -math.inf
    return 400 * math.log10(share / (1 - share))


@dataclasses.dataclass
class Score:
    pairs: Counter  # by points of the first player

    def count(self) -> int:
        return sum(self.pairs.values())

    def share(self) -> float:
        return sum(points / 2 * times for points, times in self.pairs.items()) / self.count()

    def variance(self) -> float:
        """Of the share of the points in one pair."""
        share = self.share()
        return sum((points / 2 - share) ** 2 * times
                   for points, times in self.pairs.items()) / self.count()

    def interval(self) -> tuple[float, float, float]:
        """Elo: what is most likely, and between what it lies at 95 %."""
        share = self.share()
        margin = SIGMAS * math.sqrt(self.variance() / self.count())
        return difference(share), difference(share - margin), difference(share + margin)

    def likelihood_ratio(self, low: float, high: float) -> float:
        """Natural logarithm of how much likelier the results are if the difference is `high` Elo than if
        it is `low`: the generalised ratio, by a normal distribution.  Half a pair of each kind is added
        to what was played: few pairs, or pairs that are all alike, tell less than their variance says."""
        played = Score(Counter({points / 2: self.pairs[points / 2] + 0.5 for points in range(5)}))
        a, b = expected(low), expected(high)
        return self.count() / (2 * played.variance()) * (b - a) * (2 * played.share() - a - b)

    def told(self) -> str:
        """The difference in strength and its error.  Pairs that are all alike say nothing of the latter."""
        if len(+self.pairs) < 2:
            return "not to be told, all pairs ended alike" if self.count() else "not to be told without pairs"
        elo, low, high = self.interval()
        return f"{elo:+.1f}, 95 % interval {low:+.1f} to {high:+.1f}"

    def __str__(self) -> str:
        spread = " ".join(str(self.pairs[points / 2]) for points in range(5))
        return (f"{2 * self.count()} games, {100 * self.share():.1f} % of the points,"
                f" pairs by points {spread}: Elo difference {self.told()}")


def verdict(ratio: float) -> str | None:
    """What a sequential test says of a likelihood ratio: "high", "low" or nothing yet."""
    bound = math.log((1 - ERRORS) / ERRORS)
    if abs(ratio) < bound:
        return None
    return "high" if ratio > 0 else "low"
