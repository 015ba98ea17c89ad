#!/usr/bin/env python3
"""Draws a session with the engine as a terminal shows it: session.py ENGINE > docs/pictures/session.svg

The engine is really asked, so the picture shows what it says. Colours follow the reader's theme."""

import html
import subprocess
import sys
import time
from collections.abc import Iterator

# What is typed, and how the last line of the answer begins.
SESSION = (
    ("uci", "uciok"),
    ("position startpos moves e2e4 e7e5", None),
    ("go depth 8", "bestmove"),
)
PROMPT = "$ ./run"
TYPING_SECONDS = 1.0  # a line; meanwhile the engine fetches its memory

FONT_SIZE = 14
LETTER = 8.43  # advance of a letter of that size in the usual monospaced fonts
LINE = 20
MARGIN = 20
BAR = 34  # the window's title bar

# Class: colours of the light and of the dark theme, other properties.
COLOURS = {
    "paper": ("#f6f8fa", "#161b22", ""),
    "bar": ("#d8dee4", "#30363d", ""),
    "said": ("#656d76", "#8d96a0", ""),
    "typed": ("#0550ae", "#79c0ff", "font-weight: bold"),
    "score": ("#9a6700", "#e3b341", "font-weight: bold"),
    "line": ("#1f2328", "#e6edf3", ""),
    "best": ("#1a7f37", "#56d364", "font-weight: bold"),
}
TITLE = "A session with Morvane in a terminal"
DESCRIPTION = (
    "The engine is started and sent the commands uci, position startpos moves e2e4 e7e5 and go depth 8."
    " It names itself and its options Hash, Threads and Move Overhead, then prints a line for each of"
    " eight depths with score, nodes, speed, time and principal variation, and answers with a best move."
)


def played(engine: str) -> Iterator[tuple[str, str]]:
    """The lines of the session in order, each with its class."""
    yield "typed", PROMPT
    with subprocess.Popen(
        [engine], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1
    ) as process:
        for command, end in SESSION:
            yield "typed", command
            time.sleep(TYPING_SECONDS)
            process.stdin.write(command + "\n")
            while end:
                line = process.stdout.readline().rstrip("\n")
                if not line:
                    sys.exit(f"the engine said nothing to {command}")
                yield "best" if line.startswith("bestmove") else "said", line
                if line.startswith(end):
                    break


def spans(kind: str, line: str) -> Iterator[tuple[str, str]]:
    """The line in pieces: score and variation of an info line stand out."""
    before, score, rest = line.partition(" score ")
    if not score:
        yield kind, line
        return
    effort, _, variation = rest.partition(" pv ")
    words = effort.split()
    yield kind, before + score
    yield "score", " ".join(words[:2])
    yield kind, " " + " ".join(words[2:]) + " pv "
    yield "line", variation


def style() -> str:
    def rules(theme: int) -> str:
        return " ".join(f".{name} {{ fill: {values[theme]} }}" for name, values in COLOURS.items())

    others = " ".join(f".{name} {{ {more} }}" for name, (_, _, more) in COLOURS.items() if more)
    return (
        f"text {{ font-family: ui-monospace, 'DejaVu Sans Mono', Menlo, Consolas, monospace;"
        f" font-size: {FONT_SIZE}px }}\n{others}\n{rules(0)}\n"
        f"@media (prefers-color-scheme: dark) {{ {rules(1)} }}"
    )


def picture(lines: list[tuple[str, str]]) -> str:
    width = round(max(len(line) for _, line in lines) * LETTER) + 2 * MARGIN
    height = BAR + len(lines) * LINE + MARGIN
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}"'
        f' height="{height}" role="img" aria-labelledby="title description">',
        f'<title id="title">{TITLE}</title>',
        f'<desc id="description">{DESCRIPTION}</desc>',
        f"<style>\n{style()}\n</style>",
        f'<rect class="bar" width="{width}" height="{height}" rx="8"/>',
        f'<path class="paper" d="M1 {BAR - 8} h{width - 2} v{height - BAR} a7 7 0 0 1 -7 7'
        f' h{16 - width} a7 7 0 0 1 -7 -7 z"/>',
    ]
    parts += [f'<circle class="said" cx="{x}" cy="{BAR // 2 - 4}" r="5"/>' for x in (18, 36, 54)]
    for number, (kind, line) in enumerate(lines):
        pieces = "".join(
            f'<tspan class="{name}">{html.escape(text)}</tspan>' for name, text in spans(kind, line)
        )
        parts.append(
            f'<text xml:space="preserve" x="{MARGIN}" y="{BAR + LINE * (number + 1) - 6}"'
            f' textLength="{len(line) * LETTER:.1f}">{pieces}</text>'
        )
    return "\n".join(parts) + "\n</svg>\n"


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.stdout.write(picture(list(played(sys.argv[1]))))


if __name__ == "__main__":
    main()
