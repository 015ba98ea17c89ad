"""The weights that the engine under test is built with, and where the programs are that learn others."""

from __future__ import annotations

import os

import listing
from client import run_mode

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TUNING = os.path.join(ROOT, "tuning")
SQUARES = os.path.join(TUNING, "squares.txt")


def weights() -> listing.Listing:
    return listing.parse(run_mode("tuneparams").stdout.decode())
