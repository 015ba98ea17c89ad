"""A UCI engine behind two pipes, for programs that ask and wait for the answer.

It reads when it is asked to and in the thread that asks, so that nothing comes between an answer and the clock of
who measures it.  The client of the tests (tests/uci/client.py) is another: it reads at all times, keeps every byte,
and gives an engine up that does not answer."""

from __future__ import annotations

import subprocess
import time


class EngineError(Exception):
    """The engine did not say what was waited for."""


class Engine:
    def __init__(self, path: str, **options: int) -> None:
        """Starts it and sets its options; a name of two words is given as `{"Move Overhead": 10}`."""
        self.path = path
        started = time.perf_counter()
        self.process = subprocess.Popen([path], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True, bufsize=1)
        self.greeting = self.ask("uci", "uciok")
        self.start_seconds = time.perf_counter() - started
        self.send(*(f"setoption name {name} value {value}" for name, value in options.items()))
        self.ready()

    def send(self, *lines: str) -> None:
        try:
            self.process.stdin.write("".join(line + "\n" for line in lines))
            self.process.stdin.flush()
        except BrokenPipeError:
            pass  # its end shows where its answer is read

    def lines_until(self, start: str) -> list[str]:
        """What it says, up to and with the first line that begins so."""
        lines: list[str] = []
        while not (lines and lines[-1].startswith(start)):
            line = self.process.stdout.readline()
            if not line:
                raise EngineError(f"{self.path} ended before it said {start}")
            lines.append(line.rstrip())
        return lines

    def ask(self, line: str, end: str) -> list[str]:
        self.send(line)
        return self.lines_until(end)

    def ready(self) -> None:
        self.ask("isready", "readyok")

    def new_game(self) -> None:
        self.send("ucinewgame")
        self.ready()

    def search(self, fen: str, limit: str) -> list[str]:
        """What it says of a position, to the best move."""
        self.send(f"position fen {fen}", f"go {limit}")
        return self.lines_until("bestmove")

    def close(self) -> None:
        self.send("quit")
        self.process.communicate()
