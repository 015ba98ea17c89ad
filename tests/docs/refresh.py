"""Writes into the pages what their commands print now, after a change of play or of the evaluation.

    MORVANE_ENGINE=build/release/morvane MORVANE_SELFCHECK=build/test/tests/morvane_selfcheck \\
        python3 tests/docs/refresh.py

Tells which outputs it has renewed, and which it leaves to a person: those that are shown for other
arguments than the test has, and those of which a middle is left out twice.
"""

from __future__ import annotations

import contextlib
import os
import re
import sys

TESTS = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path[:0] = [os.path.join(TESTS, "uci")]
sys.dont_write_bytecode = True

import pages  # noqa: E402
import test_commands  # noqa: E402
from pages import Block, PageError  # noqa: E402
from sandbox import Sandbox  # noqa: E402

GAP = re.compile(r"^\.\.\.\n", re.MULTILINE)  # stands for any lines


def renewed(block: Block, output: str) -> str:
    """The block with the output of now, with the same lines left out."""
    if block.tested != block.text:
        raise PageError(f"{block.place}: shown for other arguments than it is tested with")
    lines = output.splitlines(keepends=True)
    first, *rest = GAP.split(block.text)
    if not rest:
        return output
    if len(rest) > 1:
        raise PageError(f"{block.place}: more than one gap")
    last = rest[0].count("\n")
    return "".join([*lines[: first.count("\n")], "...\n", *lines[len(lines) - last:]])


def replace(old: str, new: str) -> None:
    """In every page that shows it: translations show the same."""
    for path in pages.pages():
        text = path.read_text(encoding="utf-8")
        if old in text:
            path.write_text(text.replace(old, new), encoding="utf-8")


def main() -> int:
    left = 0

    def compare(block: Block, output: str) -> str:
        nonlocal left
        try:
            return usual(block, output)
        except PageError:
            pass
        try:
            replace(block.text, renewed(block, output))
        except PageError as error:
            print(f"left: {error}")
            left += 1
        else:
            print(f"renewed: {block.place}")
        return ""

    usual, test_commands.compare = test_commands.compare, compare
    for path in pages.pages():
        if pages.is_translation(path):
            continue
        with contextlib.closing(Sandbox()) as box:
            reader = test_commands.Reader(box)
            for block in pages.blocks_of(path):
                try:
                    reader.read(block)
                except Exception as error:  # what the test of the pages will say
                    print(f"not read: {block.place}: {type(error).__name__}")
    return 1 if left else 0


if __name__ == "__main__":
    sys.exit(main())
