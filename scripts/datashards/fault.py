"""What ends the program with a line."""

from __future__ import annotations

import sys


class Fault(Exception):
    """Something is wrong: status 1."""


class WrongCall(Exception):
    """The program was not called as it must be: status 2."""


def remark(text: str) -> None:
    print(f"datagen-shards: {text}", file=sys.stderr, flush=True)
