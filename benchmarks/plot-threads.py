#!/usr/bin/python3
"""Draws what "measure.py threads" printed (needs Debian's python3-matplotlib):

    measure.py threads ENGINE 2 3 4 > docs/pictures/threads.txt
    plot-threads.py docs/pictures/threads.txt docs/pictures/threads.svg"""

from __future__ import annotations

import argparse
import os
import re
import sys

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts"))

import commandline  # noqa: E402

missing = None  # of the libraries: --help needs none
try:
    import matplotlib

    matplotlib.use("svg")
    import matplotlib.pyplot as plt
except ImportError as error:
    missing = error

# Colours of the light theme, and what takes their place in the dark one.
INK, FAINT, ACCENT = "#1f2328", "#9198a1", "#0969da"
DARK = {INK: "#e6edf3", FAINT: "#656d76", ACCENT: "#4493f8"}
TITLE = "Nodes per second by number of threads"


def arguments() -> argparse.Namespace:
    parser = commandline.Parser(__doc__)
    parser.add_argument("table", type=commandline.file_to_read, metavar="THREADS.txt")
    parser.add_argument("out", type=commandline.file_to_write, metavar="OUT.svg",
                        help="a file that is not of this program stays")
    return parser.parse_args()


def read(path: str) -> tuple[int, list[tuple[int, float, float, float]]]:
    """Number of processors; threads, median, least and greatest ratio of each row."""
    with open(path, encoding="ascii", errors="replace") as file:
        text = file.read()
    heading = re.match(r"(\d+) processors", text)
    if not heading:
        commandline.refuse(f'{path} is not what "measure.py threads" prints')
    processors = int(heading[1])
    rows = [(1, 1.0, 1.0, 1.0)]
    pattern = r"^(\d+) threads: ([\d.]+) times .* \(from ([\d.]+) to ([\d.]+)\)$"
    for count, *ratios in re.findall(pattern, text, re.MULTILINE):
        rows.append((int(count), *map(float, ratios)))
    return processors, rows


def draw(processors: int, rows: list[tuple[int, float, float, float]]) -> None:
    counts, medians, least, greatest = zip(*rows)
    places = range(len(rows))
    top = max(*greatest, processors)
    figure, axes = plt.subplots(figsize=(7.6, 3.6), layout="constrained")
    axes.bar(places, medians, 0.55, color=[ACCENT if c <= processors else FAINT for c in counts])
    errors = ([m - a for m, a in zip(medians, least)], [b - m for m, b in zip(medians, greatest)])
    axes.errorbar(places[1:], medians[1:], [e[1:] for e in errors], color=INK, fmt="none", capsize=4)
    for place, median, most in zip(places, medians, greatest):
        axes.annotate(f"{median:.2f}", (place, most), (0, 5), textcoords="offset points",
                      color=INK, ha="center")
    axes.axhline(processors, color=INK, linestyle="--", linewidth=1)
    axes.annotate(f"{processors} processors", (-0.45, processors), (0, 4),
                  textcoords="offset points", color=INK)
    axes.set_title(f"{TITLE}, on a machine with {processors} processors", color=INK, fontsize=11)
    axes.set_xlabel("threads (grey: more than processors)", color=INK)
    axes.set_ylabel("times the speed of one", color=INK)
    axes.set_xticks(places, counts)
    axes.set_ylim(0, top * 1.15)
    axes.tick_params(colors=INK)
    for side, spine in axes.spines.items():
        spine.set_color(FAINT)
        spine.set_visible(side in ("left", "bottom"))
    figure.patch.set_visible(False)
    axes.patch.set_visible(False)


def described(svg: str, processors: int, rows: list[tuple[int, float, float, float]]) -> str:
    """The picture with a text for those who do not see it, and with the colours of a dark theme."""
    said = ", ".join(f"{count} threads {median:.2f} times" for count, median, _, _ in rows[1:])
    rules = "".join(
        f'[style*="{part}: {light}"] {{ {part}: {dark} !important }}\n'
        for light, dark in DARK.items() for part in ("fill", "stroke"))
    head = (f'<title id="title">{TITLE}</title>\n<desc id="description">On a machine with {processors}'
            f" processors, beside one thread: {said}.</desc>\n"
            f"<style>\n@media (prefers-color-scheme: dark) {{\n{rules}}}\n</style>\n")
    return re.sub(r"(<svg [^>]*)>\n", r'\1 role="img" aria-labelledby="title description">\n' + head,
                  svg, count=1)


def main() -> None:
    options = arguments()
    commandline.refuse_to_replace(options.out, f">{TITLE}<".encode())
    if missing:
        commandline.refuse_missing(missing, "python3-matplotlib")
    processors, rows = read(options.table)
    plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "threads",
                         "font.family": "sans-serif"})
    draw(processors, rows)
    plt.savefig(options.out, format="svg", metadata={"Date": None, "Creator": None})
    with open(options.out, encoding="utf-8") as file:
        svg = file.read()
    with open(options.out, "w", encoding="utf-8") as file:
        file.write(described(svg, processors, rows))


if __name__ == "__main__":
    main()
