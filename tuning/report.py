"""The report of a fit: one page of HTML with its pictures inside, and nothing that is fetched."""

from __future__ import annotations

import argparse
import dataclasses
import html
import io

import listing
import matplotlib
import model
import numpy as np
import store

matplotlib.use("agg")
matplotlib.rcParams.update({"svg.hashsalt": "morvane", "font.size": 9, "axes.grid": True, "grid.alpha": 0.3})

import boards  # noqa: E402
import matplotlib.pyplot as plt  # noqa: E402

MARK = "Written by tuning/fit"
FEW = 100  # positions: a share of fewer is not drawn
FAINT = 5.0  # centipawns: lesser changes are drawn in pale colours

PAGE = """\
<!doctype html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<meta name="generator" content="{mark}">
<title>A fit of weights</title>
<style>
  body {{ font: 15px/1.5 system-ui, sans-serif; max-width: 60rem; margin: 2rem auto; padding: 0 1rem; }}
  svg {{ max-width: 100%; height: auto; }}
  td, th {{ padding: 0.1rem 0.8rem 0.1rem 0; text-align: left; vertical-align: top; }}
</style>
<h1>A fit of weights</h1>
{parts}
</html>
"""


@dataclasses.dataclass(frozen=True)
class Told:
    """What a report is made of."""

    options: argparse.Namespace
    positions: store.Store
    fitted: listing.Listing
    passes: dict[str, list[model.Pass]]  # by spread
    judgements: model.Judgements
    task: model.Task


def svg(figure: plt.Figure) -> str:
    out = io.StringIO()
    figure.savefig(out, format="svg", metadata={"Date": None, "Creator": None})
    plt.close(figure)
    text = out.getvalue()
    return text[text.index("<svg"):]


def table(rows: list[tuple[str, ...]]) -> str:
    return "<table>\n" + "".join(
        "<tr>" + "".join(f"<td>{html.escape(str(cell))}</td>" for cell in row) + "</tr>\n" for row in rows) + "</table>"


# --- the parts ---


def facts(told: Told) -> str:
    options, positions = told.options, told.positions
    sources = [(segment.source["name"], f"{segment.rows} positions of {segment.games} games",
                f"SHA-256 {segment.source['sha256']}") for segment in positions.segments]
    asked = {name: value for name, value in vars(options).items() if value not in (None, False)}
    moved = told.fitted.values != positions.listing.values
    return table([
        ("positions", f"{positions.rows} of {positions.games} games, every {options.held_out}th held out"),
        ("engine", positions.revision),
        ("unit of the evaluation", f"{told.task.unit:.1f} centipawns"),
        ("weights that differ", f"{int(moved.sum())} of {len(moved)}"),
        ("options", ", ".join(f"{name}: {value}" for name, value in asked.items())),
    ]) + "<h2>Sources</h2>" + table(sources)


def by_pass(told: Told) -> str:
    figure, axes = plt.subplots(1, 2, figsize=(10, 3.6), layout="constrained")
    for name, what, side in (("loss", "learned from", axes[0]), ("held_out", "held out", axes[1])):
        for spread, passes in told.passes.items():
            side.plot(range(1, len(passes) + 1), [getattr(each, name) for each in passes], ".-", label=spread)
        low, high = np.percentile([getattr(each, name) for passes in told.passes.values() for each in passes], [0, 90])
        side.set_ylim(low - 0.1 * (high - low) - 1e-9, high + 0.5 * (high - low) + 1e-9)  # line searches leap
        side.set(title=f"loss by pass: games {what}", xlabel="pass over all positions")
        side.xaxis.get_major_locator().set_params(integer=True)
        side.legend(title="spread")
    return svg(figure)


def by_phase(told: Told) -> str:
    before, after = told.judgements.before, told.judgements.after
    figure, axes = plt.subplots(1, 2, figsize=(10, 3.6), layout="constrained")
    there = np.flatnonzero(before.positions)
    count = before.positions[there]
    for judgement, name in ((before, "before"), (after, "after")):
        axes[0].plot(there, judgement.losses[there] / count, ".-", label=name)
    axes[0].set(title="loss by phase, games held out", xlabel="phase (24: all pieces on the board)")
    axes[0].legend()
    axes[1].bar(there, (after.losses - before.losses)[there] / count)
    axes[1].set(title="its change", xlabel="phase")
    return svg(figure)


def draw_calibration(axes: plt.Axes, title: str, unit: float, judgements: dict[str, model.Judgement]) -> None:
    """What White had of positions, beside what the unit lets expect."""
    value = np.arange(-model.EDGE, model.EDGE + 1, model.BIN)
    axes.plot(value, model.expit(value / unit), color="grey", label=f"expected, unit {unit:.0f}")
    for name, judgement in judgements.items():
        known = judgement.by_value >= FEW
        axes.plot(value[known], judgement.brought[known] / judgement.by_value[known], ".", label=name)
    axes.set(title=title, xlabel="centipawns", ylim=(0, 1))
    axes.legend()


def calibration(told: Told) -> str:
    judgements, target = told.judgements, told.task.target
    figure, axes = plt.subplots(1, 2, figsize=(10, 4), layout="constrained")
    draw_calibration(axes[0], "White's share of the point by evaluation, games held out", told.task.unit,
                     {"before": judgements.before, "after": judgements.after})
    if target.score_unit:
        draw_calibration(axes[1], "by the search's score", target.score_unit, {"score": judgements.scores})
    else:
        axes[1].set_axis_off()  # the data may be without
    return svg(figure)


def changes(told: Told) -> str:
    figure, axes = plt.subplots(2, 4, figsize=(12, 6.4), layout="constrained")
    for place, (title, block) in enumerate(boards.TABLES):
        cells = (told.fitted.block(block, 64) - told.positions.listing.block(block, 64)).reshape(8, 8)
        boards.draw(axes.flat[place], cells, max(float(np.abs(cells).max()), FAINT), title)
    return svg(figure)


def others(told: Told) -> str:
    """Weights outside of the tables."""
    names, old, new = told.fitted.names, told.positions.listing.values, told.fitted.values
    drawn = tuple(block for _, block in boards.TABLES)
    rows = [(name, str(a), str(b)) for name, a, b in zip(names, old, new)
            if a != b and not (name.startswith(drawn))]
    return "<h2>Other weights</h2>" + table([("weight", "before", "after"), *rows]) if rows else ""


def page(told: Told) -> str:
    """The whole text of the file."""
    parts = [facts(told), "<h2>Course</h2>", by_pass(told), "<h2>Phases</h2>", by_phase(told), "<h2>Calibration</h2>",
             calibration(told), "<h2>Changes of the tables, in centipawns</h2>", changes(told), others(told)]
    return PAGE.format(mark=MARK, parts="\n".join(parts))
