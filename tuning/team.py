"""Workers that share the blocks of a store: none but this process, processes of this machine, or those that mpirun
has started, here or on other machines.

Sums are the same bytes with any number of workers: whole numbers are exact, and others are added in the order of
the blocks, whoever computes them.
"""

from __future__ import annotations

import contextlib
import dataclasses
import multiprocessing
import signal
from collections.abc import Callable, Iterator
from multiprocessing import connection

import numpy as np

import store

Result = list[np.ndarray]
Function = Callable[..., Result]  # of the rows of a block, and of arguments; whole numbers come first


PART = 8192  # rows that are computed at a time: so few that a processor's cache holds what is computed of them


class Lost(Exception):
    """A worker has ended or failed: one line about it."""


@dataclasses.dataclass(frozen=True)
class Job:
    """What is to be computed of each block."""

    function: Function
    arguments: tuple
    verify: bool  # whether the block is what was written

    def of(self, positions: store.Store, number: int) -> Result | str:
        """The result of a block, or a line about why there is none."""
        try:
            parts = [self.function(rows, *self.arguments) for rows in positions.blocks[number].parts(PART, self.verify)]
            return [added_in_order(sums) for sums in zip(*parts)]
        except (OSError, ValueError, MemoryError) as error:
            return str(error) or type(error).__name__


def received(result: Result | str) -> Result:
    if isinstance(result, str):
        raise Lost(result)
    return result


class Team:
    """This process alone."""

    def __init__(self, positions: store.Store) -> None:
        self.positions = positions

    def results(self, job: Job) -> Iterator[tuple[int, Result]]:
        """The number of each block and its result, as they come."""
        for number in range(len(self.positions.blocks)):
            yield number, received(job.of(self.positions, number))

    def total(self, function: Function, *arguments: object, verify: bool = False,
              tell: Callable[[int], None] = lambda rows: None) -> Result:
        """The sums of the results of all blocks.  `tell` hears how many rows are done."""
        by_block: list[Result] = [[] for _ in self.positions.blocks]
        whole: Result = []
        rows = 0
        for number, result in self.results(Job(function, arguments, verify)):
            numbers, others = apart(result)
            whole = [a + b for a, b in zip(whole, numbers)] if whole else numbers
            by_block[number] = others
            rows += self.positions.blocks[number].rows
            tell(rows)
        return whole + [added_in_order(parts) for parts in zip(*by_block)]

    def leads(self) -> bool:
        """Whether this process is the one that asks.  False after it has done, as one of many, what was asked for."""
        return True

    def __enter__(self) -> Team:
        return self

    def __exit__(self, *failure: object) -> None:
        """Lets the workers go."""


def apart(result: Result) -> tuple[Result, Result]:
    """Whole numbers and others."""
    return ([part.astype(np.int64) for part in result if part.dtype.kind == "i"],
            [part for part in result if part.dtype.kind != "i"])


def added_in_order(parts: tuple[np.ndarray, ...]) -> np.ndarray:
    total = parts[0].copy()
    for part in parts[1:]:
        total += part
    return total


# --- processes of this machine ---


class Processes(Team):
    """So many processes, each of which gets the next block when it has done one."""

    def __init__(self, positions: store.Store, count: int) -> None:
        super().__init__(positions)
        self.pipes: dict[connection.Connection, multiprocessing.Process] = {}
        context = multiprocessing.get_context("fork")
        for _ in range(count):
            ours, theirs = context.Pipe()
            process = context.Process(target=work, args=(positions, theirs, [ours, *self.pipes]), daemon=True)
            process.start()
            theirs.close()
            self.pipes[ours] = process

    def results(self, job: Job) -> Iterator[tuple[int, Result]]:
        blocks = iter(range(len(self.positions.blocks)))
        busy = set()
        for pipe in self.pipes:
            self.send(pipe, job)
            busy |= self.give(pipe, blocks)
        while busy:
            for pipe in connection.wait(busy):
                number, result = self.receive(pipe)
                busy -= {pipe}
                busy |= self.give(pipe, blocks)
                yield number, result

    def give(self, pipe: connection.Connection, blocks: Iterator[int]) -> set[connection.Connection]:
        """Gives a worker the next block, if there is one; returns whose answer is to come for it."""
        number = next(blocks, None)
        if number is None:
            return set()
        self.send(pipe, number)
        return {pipe}

    def send(self, pipe: connection.Connection, what: object) -> None:
        try:
            pipe.send(what)
        except OSError:
            raise Lost(self.end_of(pipe)) from None

    def receive(self, pipe: connection.Connection) -> tuple[int, Result]:
        try:
            number, result = pipe.recv()
        except (EOFError, OSError):
            raise Lost(self.end_of(pipe)) from None
        return number, received(result)

    def end_of(self, pipe: connection.Connection) -> str:
        process = self.pipes[pipe]
        process.join(timeout=5)
        status = process.exitcode
        how = f"killed by signal {-status}" if status and status < 0 else f"ended with status {status}"
        return f"a worker (process {process.pid}) was {how}"

    def __exit__(self, *failure: object) -> None:
        for pipe, process in self.pipes.items():
            pipe.close()
            process.terminate()  # it may be amid a block that nobody wants any more
            process.join()


def work(positions: store.Store, pipe: connection.Connection, others: list[connection.Connection]) -> None:
    """The life of a worker.  It ends with the pipe, so it must not keep the ends that others live by."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)  # the first process tells, and lets go
    for other in others:
        other.close()
    job = None
    with contextlib.suppress(EOFError, OSError):
        while True:
            message = pipe.recv()
            if isinstance(message, Job):
                job = message
            else:
                pipe.send((message, job.of(positions, message)))


# --- processes that mpirun has started ---


class Mpi(Team):
    """The processes of mpirun, each with blocks that lie together.  Number 0 leads; the others do what it asks for."""

    def __init__(self, positions: store.Store) -> None:
        super().__init__(positions)
        from mpi4py import MPI  # needed only here

        self.world = MPI.COMM_WORLD
        self.place = MPI.Get_processor_name()

    def leads(self) -> bool:
        seen = self.world.gather((self.positions.digest, self.place))
        if self.world.rank != 0:
            self.serve()
            return False
        for rank, (digest, place) in enumerate(seen):
            if digest != self.positions.digest:
                raise Lost(f"process {rank}, on {place}, has another store than process 0, on {self.place}")
        return True

    def share(self) -> range:
        count, size, rank = len(self.positions.blocks), self.world.size, self.world.rank
        return range(count * rank // size, count * (rank + 1) // size)

    def results(self, job: Job) -> Iterator[tuple[int, Result]]:
        self.world.bcast(job)
        for number in self.share():
            yield number, received(job.of(self.positions, number))
        for rank, theirs in enumerate(self.world.gather(None)[1:], 1):
            if isinstance(theirs, str):
                raise Lost(f"process {rank}, {theirs}")
            yield from theirs

    def serve(self) -> None:
        """Does what the leader asks for, until it lets go."""
        while (job := self.world.bcast(None)) is not None:
            try:
                self.world.gather([(number, received(job.of(self.positions, number))) for number in self.share()])
            except Lost as reason:
                self.world.gather(f"on {self.place}: {reason}")

    def __exit__(self, kind: type | None, failure: BaseException | None, *_: object) -> None:
        if failure:  # the others wait for an answer that will not come
            self.world.Abort(failure.code if isinstance(failure, SystemExit) else 1)
        if self.world.rank == 0:
            self.world.bcast(None)
