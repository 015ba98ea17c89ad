"""Data that go into a store: files and runs, as one text each."""

from __future__ import annotations

import contextlib
import dataclasses
import fcntl
import hashlib
import json
import os
import re
import shutil
import subprocess
from collections.abc import Iterator
from typing import Any, Optional

from datashards.plan import SEEDS, overlap  # noqa: F401: for those that take sources in

PIECE = 1 << 20
UNPACKERS = {".gz": ("gzip", "-dc"), ".zst": ("zstd", "-dcq")}


class Fault(Exception):
    """What ends the program: one line."""


def widen(pipe: Any) -> None:
    """Lets a pipe hold a whole piece, where that can be asked for: fewer waits."""
    with contextlib.suppress(AttributeError, OSError):
        fcntl.fcntl(pipe.fileno(), fcntl.F_SETPIPE_SZ, PIECE)


class Text:
    """The text of a file, unpacked by a program beside this one."""

    def __init__(self, path: str) -> None:
        self.path = path
        self.size = os.stat(path).st_size  # of the file
        self.place = 0  # in the file, that far has been read

    def pieces(self) -> Iterator[bytes]:
        with open(self.path, "rb", buffering=0) as file:
            unpacker = UNPACKERS.get(os.path.splitext(self.path)[1])
            if not unpacker:
                while piece := file.read(PIECE):
                    self.place += len(piece)
                    yield piece
                return
            with unpacking(unpacker, file, self.path) as unpacked:
                while piece := unpacked.read(PIECE):
                    self.place = file.tell()  # the program reads by the same descriptor
                    yield piece


@contextlib.contextmanager
def unpacking(command: tuple[str, ...], file: Any, path: str) -> Iterator[Any]:
    """What a program gives of a file.  Tells if it is not content with the file."""
    if not shutil.which(command[0]):
        raise Fault(f"{path}: needs {command[0]} (Debian package: {command[0]})")
    process = subprocess.Popen(command, stdin=file, stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0)
    widen(process.stdout)
    try:
        yield process.stdout
        said = process.stderr.read().decode(errors="replace").split("\n")
        if process.wait() != 0:
            raise Fault(f"{path}: damaged or cut off ({' '.join(line for line in said if line).strip()})")
    finally:
        process.kill()  # if it still runs
        process.wait()
        process.stdout.close()
        process.stderr.close()


@dataclasses.dataclass
class Shard:
    """A part of a run, as its manifest describes it."""

    path: str
    bytes: int
    sha256: str


class Source:
    """A file of data, or a run."""

    def __init__(self, name: str) -> None:
        self.name = name  # as given
        self.described: dict[str, Any] = {}  # what a manifest tells
        self.sha256: Optional[str] = None  # of the text, where it is known beforehand
        self.positions: Optional[int] = None
        self.texts = [Text(name)]
        self.shards: list[Optional[Shard]] = [None]

    def size(self) -> int:
        """Bytes of the files."""
        return sum(text.size for text in self.texts)

    def place(self) -> int:
        """How many of them have been read."""
        return sum(text.place for text in self.texts)

    def pieces(self) -> Iterator[bytes]:
        """The text.  Raises Fault for a shard that is not what the manifest says, once all of it has been given."""
        for text, shard in zip(self.texts, self.shards):
            if shard:
                yield from checked(text, shard)
            else:
                yield from text.pieces()

    def seeds(self) -> Optional[tuple[int, int]]:
        return seeds_of(self.described)


def checked(text: Text, shard: Shard) -> Iterator[bytes]:
    digest = hashlib.sha256()
    size = 0
    for piece in text.pieces():
        digest.update(piece)
        size += len(piece)
        yield piece
    if size != shard.bytes or digest.hexdigest() != shard.sha256:
        raise Fault(f"{shard.path}: damaged: not the text that manifest.json describes")


class Run(Source):
    """The folder of a run with its manifest."""

    def __init__(self, folder: str) -> None:
        super().__init__(folder)
        manifest = read_manifest(os.path.join(folder, "manifest.json"))
        self.described = {"first_seed": manifest["first_seed"], "games": manifest["games"],
                          "options": manifest["options"], "engine": manifest["engine"]["revision"]}
        self.sha256 = manifest["sha256"]
        self.positions = manifest["positions"]
        self.shards = [Shard(os.path.join(folder, shard["file"]), shard["bytes"], shard["sha256"])
                       for shard in manifest["shards"]]
        for shard in self.shards:
            if not os.path.isfile(shard.path):
                raise Fault(f"{shard.path}: missing")
        self.texts = [Text(shard.path) for shard in self.shards]


def seeds_of(described: dict[str, Any]) -> Optional[tuple[int, int]]:
    """First seed and number of seeds of what a store or a manifest tells, if it tells them."""
    return (described["first_seed"], described["games"]) if "first_seed" in described else None


def read_manifest(path: str) -> dict[str, Any]:
    try:
        with open(path, encoding="utf-8") as file:
            manifest = json.load(file)
    except ValueError:
        raise Fault(f"{path}: not a manifest of scripts/datagen-shards") from None
    if isinstance(manifest, dict) and manifest.get("format", 1) != 1:
        raise Fault(f"{path}: of format {manifest['format']}, and this program reads format 1")
    if not is_manifest(manifest):
        raise Fault(f"{path}: not a manifest of scripts/datagen-shards")
    return manifest


def is_manifest(manifest: Any) -> bool:
    def number(value: Any) -> bool:
        return isinstance(value, int) and not isinstance(value, bool) and value >= 0

    def digest(value: Any) -> bool:
        return isinstance(value, str) and re.fullmatch("[0-9a-f]{64}", value) is not None

    try:
        return (manifest["format"] == 1 and isinstance(manifest["engine"]["revision"], str)
                and all(isinstance(option, str) for option in manifest["options"])
                and all(number(manifest[key]) for key in ("first_seed", "games", "bytes", "positions"))
                and manifest["first_seed"] < SEEDS and digest(manifest["sha256"]) and len(manifest["shards"]) > 0
                and all(isinstance(shard["file"], str) and number(shard["bytes"]) and digest(shard["sha256"])
                        for shard in manifest["shards"]))
    except (KeyError, TypeError):
        return False


def open_source(name: str) -> Source:
    return Run(name) if os.path.isdir(name) else Source(name)
