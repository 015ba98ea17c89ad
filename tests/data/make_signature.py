#!/usr/bin/env python3
"""Writes what a change of play or of the evaluation changes: signature.txt and datagen.sha256.

    MORVANE_ENGINE=build/release/morvane make_signature.py
"""

from __future__ import annotations

import hashlib
import os
import re
import subprocess
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent


def run(*arguments: str) -> str:
    return subprocess.run([os.environ["MORVANE_ENGINE"], *arguments], stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, text=True, check=True).stdout


def counts(depth: str) -> str:
    return " ".join(re.search(r"^bench: (\d+) nodes (\d+) qnodes", run("benchsearch", depth), re.M).groups())


def checksum(options: str) -> str:
    with tempfile.TemporaryDirectory() as folder:
        file = Path(folder, "data.txt")
        run("datagen", *options.split(), f"out={file}")
        return hashlib.sha256(file.read_bytes()).hexdigest()


def renew(name: str, pattern: str, line: object) -> None:
    """Writes the lines of a file that match anew; the others stay."""
    path = HERE / name
    path.write_text(re.sub(pattern, line, path.read_text(encoding="utf-8"), flags=re.M), encoding="utf-8")


def main() -> None:
    renew("signature.txt", r"^(\d+) .*$", lambda match: f"{match[1]} {counts(match[1])}")
    renew("datagen.sha256", r"^[0-9a-f]{64}  (.*)$", lambda match: f"{checksum(match[1])}  {match[1]}")


if __name__ == "__main__":
    main()
