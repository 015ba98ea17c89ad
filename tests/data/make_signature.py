#!/usr/bin/env python3
"""Writes what a change of play or of the evaluation changes: signature.txt and datagen.sha256.

    MORVANE_ENGINE=build/release/morvane make_signature.py
"""

from __future__ import annotations

import hashlib
import re
import sys
from collections.abc import Callable
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True  # no __pycache__ among the test data
sys.path[:0] = [str(HERE.parent / "uci"), str(HERE.parent / "match")]
from test_datagen import file_of  # noqa: E402
from test_signature import bench, total  # noqa: E402


def renew(name: str, pattern: str, line: Callable[[re.Match], str]) -> None:
    """Writes the lines of a file that match anew; the others stay."""
    path = HERE / name
    text = re.sub(pattern, line, path.read_text(encoding="utf-8"), flags=re.MULTILINE)
    path.write_text(text, encoding="utf-8")


def main() -> None:
    renew("signature.txt", r"^(\d+) .*$",
          lambda match: " ".join(map(str, (match[1], *total(bench(match[1]))))))
    renew("datagen.sha256", r"^[0-9a-f]{64}  (.*)$",
          lambda match: f"{hashlib.sha256(file_of(match[1])).hexdigest()}  {match[1]}")


if __name__ == "__main__":
    main()
