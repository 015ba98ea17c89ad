"""What a long run tells of itself: lines with the seconds since its start, and one that is written over."""

from __future__ import annotations

import sys
import time

PAUSE = 0.5  # seconds between two looks of the line that is written over

started = time.monotonic()
unfinished = 0  # letters of a line that is to be written over


def say(text: str) -> None:
    """A line that stays."""
    show(text, "\n")


def line(text: str) -> None:
    """On a terminal a line that the next one is written over; elsewhere one that stays."""
    show(text, "" if sys.stdout.isatty() else "\n")


def show(text: str, end: str) -> None:
    global unfinished
    whole = f"{time.monotonic() - started:6.0f} s  {text}"
    print(("\r" if unfinished else "") + whole.ljust(unfinished), end=end, flush=True)
    unfinished = 0 if end else len(whole)


def end_line() -> None:
    """Lets the line stay that would be written over."""
    global unfinished
    if unfinished:
        print(flush=True)
        unfinished = 0


def duration(seconds: float) -> str:
    """Hours, minutes and seconds, as far as there are any."""
    minutes, rest = divmod(round(seconds), 60)
    hours, minutes = divmod(minutes, 60)
    return f"{hours} h {minutes:02} min" if hours else f"{minutes} min {rest:02} s" if minutes else f"{rest} s"


class Meter:
    """Tells on a terminal how far a pass over so many rows is; told the number of rows that are done."""

    def __init__(self, what: str, rows: int) -> None:
        self.what = what
        self.rows = rows
        self.begun = self.told = time.monotonic()

    def __call__(self, done: int) -> None:
        now = time.monotonic()
        if sys.stdout.isatty() and now - self.told > PAUSE:
            self.told = now
            left = duration((now - self.begun) * (self.rows - done) / done)
            line(f"{self.what}: {100 * done // self.rows} % of {self.rows} positions, {left} to go in it")

    def seconds(self) -> float:
        return time.monotonic() - self.begun
