"""Makes and extends stores of positions: what tuning/pack does once it knows its options.

A segment gets its name when it is whole, and then store.json, in one step, its line on it.  So a store is at any time
what store.json says, whatever ends this program; what else is left behind is overwritten or removed by the next one.
"""

from __future__ import annotations

import argparse
import contextlib
import fcntl
import hashlib
import json
import os
import re
import signal
import subprocess
import sys
import time
from collections.abc import Iterator
from typing import Any, NoReturn, Optional

import sources
import store
from sources import Fault, Source

DESCRIPTION = "store.json"
LOCK = "lock"
SEGMENTS = "segments"
LEFT_BEHIND = re.compile(r"(store\.json|\d{5,}\.(rows|listing))\.part\.\d+")  # by a program that was killed
TICK = 0.5  # seconds between two lines of progress


class Engine:
    """What an engine and the packer that belongs to it tell of themselves."""

    def __init__(self, engine: str, packer: str) -> None:
        self.packer = packer
        version = output_of(engine, "--version", stream="stderr")
        told = re.match(r"\S+ [\w.]+(?:, revision (\S+))?\n", version)
        if not told:
            raise Fault(f"{engine} tells no version: it is no engine of this project")
        self.revision = told[1] or ""
        self.listing = output_of(engine, "tuneparams")
        try:
            table = json.loads(output_of(packer, "--cells"))
            self.cells, revision, written = table["cells"], table["revision"], table["format"]
        except (KeyError, TypeError, ValueError):
            raise Fault(f"{packer} tells no cells: it is no morvane_pack") from None
        if written != store.FORMAT:
            raise Fault(f"{packer} writes format {written}, and this program format {store.FORMAT}")
        if revision != self.revision:
            raise Fault(f"{packer} is of revision {revision or 'unknown'} and {engine} of {self.revision or 'unknown'}:"
                        " build both from the same sources")


def output_of(*command: str, stream: str = "stdout") -> str:
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False)
    except OSError as error:
        raise Fault(f"{command[0]}: {error.strerror}") from None
    if done.returncode != 0:
        raise Fault(f"{' '.join(command)} has failed with status {done.returncode}")
    return getattr(done, stream).decode(errors="replace")


# --- the folder ---


class Folder:
    """A store that is locked against others as long as this one is open."""

    def __init__(self, path: str, engine: Engine) -> None:
        self.path = path
        self.lock: Optional[int] = None
        self.is_new = False
        try:
            self._begin(engine)
            self._compare(engine)
        except BaseException:
            self.close()
            raise

    def _begin(self, engine: Engine) -> None:
        if os.path.lexists(self.path) and not os.path.isdir(self.path):
            raise Fault(f"{self.path} is no folder")
        check_names(self.path)
        if not os.path.exists(self.path):
            os.mkdir(self.path)
        self._take_lock()
        check_names(self.path)  # as it is now that nobody else changes it
        os.makedirs(self._of(SEGMENTS), exist_ok=True)
        self._remove_what_is_left_behind()
        self.is_new = not os.path.exists(self._of(DESCRIPTION))
        if self.is_new:
            self.described: dict[str, Any] = {
                "format": store.FORMAT, "engine": {"revision": engine.revision, "listing": engine.listing},
                "cells": engine.cells, "segments": []}
            self._describe()
        store.open(self.path)  # refuses what is damaged at first sight
        self.described = store.describe(self.path)

    def _take_lock(self) -> None:
        self.lock = os.open(self._of(LOCK), os.O_RDWR | os.O_CREAT, 0o666)
        try:
            fcntl.flock(self.lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            os.close(self.lock)
            self.lock = None
            raise Fault(f"{self.path}: another tuning/pack is at work there") from None

    def _compare(self, engine: Engine) -> None:
        begun = self.described["engine"]
        if begun["revision"] != engine.revision:
            raise Fault(f"{self.path} was begun with the engine of revision {begun['revision'] or 'unknown'}, and this"
                        f" one is of {engine.revision or 'unknown'}: take another folder, or that engine")
        if begun["listing"] != engine.listing:
            raise Fault(f"{self.path} was begun with other weights than this engine's (morvane tuneparams)")
        if self.described["cells"] != engine.cells:
            raise Fault(f"{self.path} was begun with another table of cells than this packer's")

    def _of(self, *names: str) -> str:
        return os.path.join(self.path, *names)

    def _remove_what_is_left_behind(self) -> None:
        for folder in (self.path, self._of(SEGMENTS)):
            for name in os.listdir(folder):
                if LEFT_BEHIND.fullmatch(name):
                    os.remove(os.path.join(folder, name))

    def _describe(self) -> None:
        part = self._of(f"{DESCRIPTION}.part.{os.getpid()}")
        try:
            with open(part, "w", encoding="utf-8") as file:
                json.dump(self.described, file)
                file.write("\n")
                file.flush()
                os.fsync(file.fileno())
            os.replace(part, self._of(DESCRIPTION))
        except BaseException:
            with contextlib.suppress(OSError):
                os.remove(part)
            raise

    def sources(self) -> list[dict[str, Any]]:
        return [segment["source"] for segment in self.described["segments"]]

    def part(self, kind: str) -> str:
        """Where to put a part of the next segment."""
        return self._of(SEGMENTS, f"{len(self.sources()) + 1:05}.{kind}.part.{os.getpid()}")

    def add(self, part: str, segment: dict[str, Any]) -> None:
        """Takes a segment that is whole."""
        name = f"{SEGMENTS}/{len(self.sources()) + 1:05}.rows"
        os.replace(part, self._of(name))
        self.described["segments"].append({"file": name, **segment})
        try:
            self._describe()
        except BaseException:
            self.described["segments"].pop()
            raise

    def close(self) -> None:
        """A folder that was begun for nothing goes again."""
        if self.lock is None:
            return
        if self.is_new and not self.sources():
            with contextlib.suppress(OSError):  # the folder may have been there before, and be in use
                self._remove_what_is_left_behind()
                with contextlib.suppress(FileNotFoundError):
                    os.remove(self._of(DESCRIPTION))
                os.rmdir(self._of(SEGMENTS))
                os.remove(self._of(LOCK))
                os.rmdir(self.path)
        os.close(self.lock)
        self.lock = None


def check_names(path: str) -> None:
    """Refuses a folder with anything in it that is not of a store."""
    for folder, _, names in os.walk(path):
        inner = os.path.relpath(folder, path)
        if inner not in (os.curdir, SEGMENTS):
            raise Fault(f"{path} holds other things: {inner}")
        for name in names:
            known = name in (DESCRIPTION, LOCK) if inner == os.curdir else re.fullmatch(r"\d{5,}\.rows", name)
            if not known and not LEFT_BEHIND.fullmatch(name):
                raise Fault(f"{path} holds other things: {os.path.normpath(os.path.join(inner, name))}")
    if os.path.isdir(os.path.join(path, SEGMENTS)) and not os.path.exists(os.path.join(path, DESCRIPTION)):
        if rows := [name for name in os.listdir(os.path.join(path, SEGMENTS)) if name.endswith(".rows")]:
            raise Fault(f"{path} holds {SEGMENTS}/{rows[0]} and no {DESCRIPTION}: no store was begun there")


# --- what may be added ---


def same_name(one: str, other: str) -> bool:
    return os.path.basename(os.path.normpath(one)) == os.path.basename(os.path.normpath(other))


def digest_of(source: Source) -> str:
    """Of the text.  Reads all of it unless a manifest tells."""
    if source.sha256 is None:
        source.sha256 = store.sum_of(source.pieces())
    return source.sha256


def refuse_twins(given: list[Source]) -> None:
    """Data that the command line names twice."""
    for place, source in enumerate(given):
        for other in given[:place]:
            if os.path.samefile(source.name, other.name) or (source.sha256 and source.sha256 == other.sha256):
                raise Fault(f"{source.name} and {other.name} are the same data")
            refuse_overlap(source, other.name, other.seeds())


def refuse_overlap(source: Source, name: str, seeds: Optional[tuple[int, int]]) -> None:
    own = source.seeds()
    if own and seeds and sources.overlap(own, seeds):
        raise Fault(f"{source.name} and {name} have games of the same seeds: {own[1]} from {own[0]} on,"
                    f" and {seeds[1]} from {seeds[0]} on")


def refuse_twice(source: Source, stored: list[dict[str, Any]]) -> None:
    """Data whose text the store has."""
    for there in stored:
        if there["sha256"] == source.sha256:
            raise Fault(f"{source.name}: the same data are in the store already, from {there['name']}")


def still_to_add(given: list[Source], stored: list[dict[str, Any]]) -> list[Source]:
    """Without those that the store has under their names.  Refuses those that must not come in."""
    refuse_twins(given)
    missing = []
    for source in given:
        if any(same_name(source.name, there["name"]) and there["sha256"] == digest_of(source) for there in stored):
            print(f"{source.name}: in the store already", flush=True)
            continue
        refuse_twice(source, stored)
        for there in stored:
            refuse_overlap(source, there["name"], sources.seeds_of(there))
        missing.append(source)
    return missing


# --- packing ---


class Progress:
    """A line at a terminal that tells how far a source has come."""

    def __init__(self, source: Source) -> None:
        self.source = source
        self.started = self.told = time.monotonic()
        self.lines = 0

    def add(self, piece: bytes) -> None:
        self.lines += piece.count(b"\n")
        now = time.monotonic()
        if sys.stderr.isatty() and now - self.told >= TICK:
            self.told = now
            seconds = now - self.started
            done = self.source.place() / max(self.source.size(), 1)
            left = f", {seconds / done - seconds:.0f} s left" if done else ""
            print(f"\r{self.source.name}: {self.lines:,} positions, {self.lines / seconds:,.0f} a second{left}    ",
                  end="", file=sys.stderr, flush=True)

    def end(self) -> float:
        """Clears the line and returns the seconds that it took."""
        if self.told != self.started:
            print("\r\033[K", end="", file=sys.stderr, flush=True)
        return time.monotonic() - self.started


class Packer:
    """A running morvane_pack."""

    def __init__(self, program: str, part: str, listing: str, threads: Optional[int]) -> None:
        command = [program, part, "--listing", listing]
        if threads:
            command += ["--threads", str(threads)]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, bufsize=0)
        sources.widen(self.process.stdin)

    def give(self, piece: bytes) -> bool:
        """Returns whether it takes more."""
        view = memoryview(piece)
        try:
            while view:
                view = view[self.process.stdin.write(view):]
        except BrokenPipeError:
            return False
        return True

    def finish(self, name: str) -> dict[str, Any]:
        """What it reports.  Raises Fault with what it says is wrong."""
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.close()
        report, said = self.process.stdout.read(), self.process.stderr.read().decode(errors="replace")
        status = self.process.wait()
        if status < 0:
            raise Fault(f"{name}: morvane_pack was ended by signal {-status}")
        if status != 0:
            first = said.split("\n")[0].removeprefix("morvane_pack: ")
            raise Fault(f"{name}: {first or f'morvane_pack has failed with status {status}'}")
        return json.loads(report)

    def end(self) -> None:
        self.process.kill()  # if it still runs
        self.process.wait()
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            with contextlib.suppress(OSError):
                stream.close()


@contextlib.contextmanager
def temporary(path: str) -> Iterator[str]:
    try:
        yield path
    finally:
        with contextlib.suppress(FileNotFoundError):
            os.remove(path)


def feed(source: Source, packer: Packer, progress: Progress) -> tuple[int, str]:
    """Gives the packer the whole text.  Returns its size and SHA-256."""
    digest = hashlib.sha256()
    size = 0
    takes_more = True
    for piece in source.pieces():
        digest.update(piece)
        size += len(piece)
        takes_more = takes_more and packer.give(piece)
        progress.add(piece)
        if not takes_more and not source.shards[0]:  # a shard is read to its end, which tells if it is damaged
            break
    return size, digest.hexdigest()


def hash_and_keep(path: str) -> str:
    """SHA-256 of a file, which the disk has when this returns."""
    with open(path, "rb") as file:
        found = store.sum_of(store.pieces_of(file))
        os.fsync(file.fileno())
    return found


def check_manifest(source: Source, size: int, digest: str, rows: int) -> None:
    """Whether a run is the one that its manifest describes."""
    if source.positions is not None and (digest, rows) != (source.sha256, source.positions):
        raise Fault(f"{source.name}: {rows} positions in {size} bytes: not what manifest.json says of the whole")


def pack_one(source: Source, folder: Folder, engine: Engine, threads: Optional[int]) -> None:
    """Adds a segment."""
    progress = Progress(source)
    with temporary(folder.part("rows")) as part, temporary(folder.part("listing")) as listing:
        with open(listing, "w", encoding="utf-8") as file:
            file.write(engine.listing)
        packer = Packer(engine.packer, part, listing, threads)
        try:
            size, digest = feed(source, packer, progress)
            report = packer.finish(source.name)
        finally:
            packer.end()
            seconds = progress.end()
        if report["rows"] != progress.lines or report["bytes"] != os.stat(part).st_size:
            raise Fault(f"{source.name}: morvane_pack has not written what it was given")
        check_manifest(source, size, digest, report["rows"])
        source.sha256 = digest
        refuse_twice(source, folder.sources())
        folder.add(part, {"bytes": report["bytes"], "sha256": hash_and_keep(part), "rows": report["rows"],
                          "games": report["games"], "scores": report["scores"],
                          "source": {"name": source.name, "bytes": size, "sha256": digest, **source.described}})
    print(f"{source.name}: {report['rows']} positions of {report['games']} games in {seconds:.1f} s,"
          f" {report['rows'] / max(seconds, 1e-3):.0f} a second, {report['bytes'] / report['rows']:.1f} bytes each",
          flush=True)


def extend(options: argparse.Namespace) -> None:
    engine = Engine(options.engine, options.packer)
    given = [sources.open_source(name) for name in options.data]
    folder = Folder(options.store, engine)
    try:
        for source in still_to_add(given, folder.sources()):
            pack_one(source, folder, engine, options.threads)
    finally:
        folder.close()
    tell(store.open(options.store))


def tell(opened: store.Store) -> None:
    print(f"{opened.path}: {opened.rows} positions of {opened.games} games in"
          f" {len(opened.segments)} segment{'s' if len(opened.segments) != 1 else ''}", flush=True)


def check(path: str) -> None:
    opened = store.open(path)
    for segment in opened.segments:
        store.verify(segment)
        print(f"{segment.path}: whole ({segment.source['name']})", flush=True)
    tell(opened)


def fail(message: str) -> NoReturn:
    print(f"{os.path.basename(sys.argv[0])}: {message}", file=sys.stderr)
    sys.exit(1)


def interrupt(*_: Any) -> NoReturn:
    raise KeyboardInterrupt


def run(options: argparse.Namespace) -> None:
    signal.signal(signal.SIGTERM, interrupt)
    try:
        if options.data:
            extend(options)
        else:
            check(options.store)
    except (Fault, store.Bad) as error:
        fail(str(error))
    except OSError as error:
        fail(f"{error.filename}: {error.strerror}" if error.filename else str(error.strerror))
    except KeyboardInterrupt:
        fail("interrupted; the same command goes on")
