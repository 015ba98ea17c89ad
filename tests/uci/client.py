"""Drives the engine under test through pipes.

The executable's path comes in the environment variable MORVANE_ENGINE.  Deadlines only keep a
hanging engine from hanging the tests; none of them measures speed.
"""

from __future__ import annotations

import os
import queue
import re
import subprocess
import tempfile
import threading
import time
import unittest
from collections.abc import Callable, Sequence

import grammar

START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"
DEADLINE = 60.0  # seconds until the engine counts as hanging


def engine_path() -> str:
    return os.path.abspath(os.environ["MORVANE_ENGINE"])


def run_mode(*arguments: str, stdin: bytes = b"", deadline: float = 1200.0):
    """Runs the engine to its end.  Returns a CompletedProcess with bytes in stdout and stderr."""
    return subprocess.run(
        [engine_path(), *arguments], input=stdin, capture_output=True, timeout=deadline, check=False
    )


class EngineError(AssertionError):
    """The engine did not do what the conversation needs to go on."""


class Engine:
    """One engine process.  Every byte it prints is kept."""

    def __init__(
        self,
        arguments: Sequence[str] = (),
        wrapper: Sequence[str] = (),
        preexec: Callable[[], None] | None = None,
    ) -> None:
        # In pieces: to put all together with each would hold up every thread, and for longer and longer.
        self._stdout: list[bytes] = []
        self._stderr: list[bytes] = []
        self.sent: list[str] = []
        self.abandoned = False
        self._lines: queue.Queue[str | None] = queue.Queue()
        self._process = subprocess.Popen(
            [*wrapper, engine_path(), *arguments],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            bufsize=0,
            preexec_fn=preexec,
        )
        self._readers = [
            threading.Thread(target=self._read_stdout, daemon=True),
            threading.Thread(target=self._read_stderr, daemon=True),
        ]
        for reader in self._readers:
            reader.start()

    @property
    def pid(self) -> int:
        return self._process.pid

    @property
    def stdout(self) -> bytes:
        return b"".join(self._stdout)

    @property
    def stderr(self) -> bytes:
        return b"".join(self._stderr)

    def _read_stdout(self) -> None:
        pending = b""
        while chunk := os.read(self._process.stdout.fileno(), 65536):
            self._stdout.append(chunk)
            *lines, pending = (pending + chunk).split(b"\n")
            for line in lines:
                self._lines.put(line.decode(errors="surrogateescape"))
        self._lines.put(None)

    def _read_stderr(self) -> None:
        while chunk := os.read(self._process.stderr.fileno(), 65536):
            self._stderr.append(chunk)

    # --- talking ---

    def send_bytes(self, data: bytes) -> None:
        view = memoryview(data)
        while view:
            view = view[self._process.stdin.write(view) :]

    def send(self, *lines: str) -> None:
        """Sends the lines in one piece."""
        self.sent += lines
        self.send_bytes("".join(line + "\n" for line in lines).encode(errors="surrogateescape"))

    def close_input(self) -> None:
        self._process.stdin.close()

    # --- listening ---

    def read_line(self, deadline: float = DEADLINE) -> str:
        try:
            line = self._lines.get(timeout=deadline)
        except queue.Empty:
            raise EngineError(f"no answer in {deadline} s to {self.sent[-5:]}") from None
        if line is None:
            self._lines.put(None)
            raise EngineError(f"the engine ended after {self.sent[-5:]}: {self.stderr!r}")
        return line

    def read_until(self, pattern: str, deadline: float = DEADLINE) -> list[str]:
        """The lines up to the first one that the pattern matches in full, which comes last."""
        end = time.monotonic() + deadline
        lines: list[str] = []
        while not lines or not re.fullmatch(pattern, lines[-1]):
            lines.append(self.read_line(max(end - time.monotonic(), 0.001)))
        return lines

    def answers(self, *lines: str, deadline: float = DEADLINE) -> list[str]:
        """Sends the lines and returns everything printed until they are served."""
        self.send(*lines, "isready")
        return self.read_until("readyok", deadline)[:-1]

    def search(self, *lines: str, deadline: float = DEADLINE) -> list[str]:
        """Sends the lines, the last of them a `go`, and returns the output up to the answer."""
        self.send(*lines)
        return self.read_until(grammar.BEST_MOVE, deadline)

    def best_move(self, *lines: str, deadline: float = DEADLINE) -> str:
        return self.search(*lines, deadline=deadline)[-1].split()[1]

    def fen(self) -> str:
        self.send("d")
        return self.read_until(f"fen: {grammar.FEN}")[-1].removeprefix("fen: ")

    def legal_moves(self) -> list[str]:
        """The legal moves of the current position, in the engine's order."""
        self.send("perft 1")
        lines = self.read_until(grammar.DIVIDE_TOTAL)
        return [line.split(":")[0] for line in lines if re.fullmatch(grammar.DIVIDE_MOVE, line)]

    def nodes(self, *lines: str, deadline: float = DEADLINE) -> list[tuple[int, int]]:
        """Depth and node count of every iteration of the search that the lines start."""
        found = []
        for line in self.search(*lines, deadline=deadline):
            if match := re.match(r"info depth (\d+) .* nodes (\d+) .* pv ", line):
                found.append((int(match[1]), int(match[2])))
        return found

    # --- ending ---

    def wait(self, deadline: float = DEADLINE) -> int:
        """Waits for the engine to end by itself; returns its exit status."""
        status = self._process.wait(deadline)
        for reader in self._readers:
            reader.join(deadline)
        return status

    def quit(self) -> int:
        self.send("quit")
        return self.wait()

    def rest(self) -> list[str]:
        """The lines that nobody has read, after the engine's end."""
        lines = []
        while (line := self._lines.get(timeout=DEADLINE)) is not None:
            lines.append(line)
        self._lines.put(None)
        return lines

    def abandon(self) -> None:
        """Ends an engine in the middle of a long work; its end then tells nothing."""
        self.abandoned = True
        self.kill()

    def kill(self) -> None:
        if self._process.poll() is None:
            self._process.kill()
        self.wait()
        for stream in (self._process.stdin, self._process.stdout, self._process.stderr):
            try:
                stream.close()
            except BrokenPipeError:
                pass  # unsent input of an engine that has ended


class FolderTest(unittest.TestCase):
    """A test with a folder of its own for files."""

    maxDiff = None

    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name: str) -> str:
        return os.path.join(self.folder, name)

    def read(self, name: str) -> bytes:
        with open(self.path(name), "rb") as file:
            return file.read()

    def write(self, name: str, data: bytes) -> str:
        """Writes a file and returns its path."""
        with open(self.path(name), "wb") as file:
            file.write(data)
        return self.path(name)


class EngineTest(unittest.TestCase):
    """A test with an engine that is checked when it ends: every line it printed is protocol."""

    maxDiff = None

    def start(self, *arguments: str, **options) -> Engine:
        engine = Engine(arguments, **options)
        self.addCleanup(self._finish, engine)
        return engine

    def setUp(self) -> None:
        self.engine = self.start()

    def _finish(self, engine: Engine) -> None:
        if engine.abandoned:
            return
        try:
            engine.send("quit")
        except (BrokenPipeError, ValueError):
            pass  # it has ended, or its input was closed
        try:
            status = engine.wait()
        except subprocess.TimeoutExpired:
            status = "it does not end"
        engine.kill()
        self.assertEqual(status, 0, engine.stderr)
        self.check_protocol(engine)

    def check_protocol(self, engine: Engine) -> None:
        output = engine.stdout.decode(errors="surrogateescape")
        self.assertTrue(output == "" or output.endswith("\n"), "the last line has no end")
        for line in output.split("\n")[:-1]:
            self.assertTrue(grammar.is_protocol(line), f"not protocol: {line!r}")

    def assert_info_string(self, lines: list[str], message: str) -> None:
        self.assertEqual(lines, ["info string " + message])

    def assert_legal(self, engine: Engine, move: str) -> None:
        self.assertIn(move, engine.legal_moves())
