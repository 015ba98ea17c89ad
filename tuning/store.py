"""Reads the store of positions that tuning/pack writes: rows of features, found by block and read block by block.

A store is a folder with store.json and segments/NNNNN.rows, one for each source of data.  A segment is a header and
blocks of rows.  A block has a column for each number of its rows, then their entries: bytes that go through the table
of cells of store.json in increasing order, each of which uses a cell once.  docs/tuning.md tells more.
"""

from __future__ import annotations

import builtins
import dataclasses
import hashlib
import json
import mmap
import os
import struct
import zlib
from collections.abc import Iterable, Iterator
from typing import Any, BinaryIO

import listing
import numpy as np

FORMAT = 1
MAGIC = b"MRVROWS\0"
NO_SCORE = -32768

FILE_HEADER = struct.Struct("<8sII")  # magic, format, rows of a full block
BLOCK_HEADER = struct.Struct("<6I")  # rows, bytes of entries, CRC-32, games before and in the block, zero
COLUMNS = (("value", "<i2"), ("score", "<i2"), ("base_mg", "<i2"), ("base_eg", "<i2"), ("length", "<u2"),
           ("phase", "u1"), ("scale", "u1"), ("clock", "u1"), ("flags", "u1"))
ROW_BYTES = sum(np.dtype(kind).itemsize for _, kind in COLUMNS)

RESULT = 3  # bits of the flags: the result in half points
WHITE = 4
FIRST = 8

# What an entry does: how many cells forward, and how often it uses the one that it comes to.
STRIDE = 126
ENTRIES = np.arange(256)
STEPS = np.where(ENTRIES < 2 * STRIDE, ENTRIES % STRIDE, (ENTRIES - 2 * STRIDE + 1) * STRIDE).astype(np.int32)
USES = np.where(ENTRIES < STRIDE, 1, np.where(ENTRIES < 2 * STRIDE, -1, 0)).astype(np.int8)


class Bad(ValueError):
    """What is no store, or a damaged one: one line that names the file."""


@dataclasses.dataclass
class Rows:
    """The rows of a block."""

    value: np.ndarray  # the engine's own evaluation, centipawns, White's view
    score: np.ndarray  # of the search, centipawns, White's view; NO_SCORE where there is none
    base_mg: np.ndarray  # what hangs on no weight
    base_eg: np.ndarray
    phase: np.ndarray  # 24 with all pieces on the board, 0 without
    scale: np.ndarray  # of the end-game value, of 64
    clock: np.ndarray  # halfmove clock
    result: np.ndarray  # 1 White won, 0.5, 0
    white: np.ndarray  # whether White is to move
    game: np.ndarray  # number of its game in the store
    pointers: np.ndarray  # cells of row i: from pointers[i] to pointers[i + 1] in the next two
    cell: np.ndarray  # never decreasing within a row
    count: np.ndarray  # 1 if White uses it, -1 if Black does, 0 where there is only a step; several uses stand apart


@dataclasses.dataclass(frozen=True)
class Segment:
    """A file of rows, and where they come from."""

    path: str
    bytes: int
    sha256: str
    rows: int
    games: int
    scores: bool  # every row has one
    source: dict[str, Any]


@dataclasses.dataclass(frozen=True)
class Block:
    """A place in a segment."""

    segment: Segment
    offset: int  # of its header
    rows: int
    entries: int  # bytes
    crc: int
    first_row: int  # rows of the store before it
    first_game: int  # games of the store that begin before it
    games: int  # that begin in it
    cells: int  # of the store's table

    def read(self, verify: bool = False) -> Rows:
        """All of its rows.  Checks the CRC only if asked to."""
        rows, = self.parts(self.rows, verify)
        return rows

    def parts(self, size: int, verify: bool = False) -> Iterator[Rows]:
        """The rows, so many at a time.  The file is in memory only while this runs."""
        with opened(self.segment.path) as file:
            page = self.offset // mmap.ALLOCATIONGRANULARITY * mmap.ALLOCATIONGRANULARITY
            end = self.offset + block_bytes(self.rows, self.entries)
            if os.fstat(file.fileno()).st_size < end:
                raise Bad(f"{self.segment.path}: cut off")
            with mmap.mmap(file.fileno(), end - page, access=mmap.ACCESS_READ, offset=page) as mapped:
                if hasattr(mmap, "MADV_WILLNEED"):  # not on every system
                    mapped.madvise(mmap.MADV_WILLNEED)
                with memoryview(mapped) as view, view[self.offset - page + BLOCK_HEADER.size:] as body:
                    if verify and zlib.crc32(body) != self.crc:
                        raise self._damaged("has another CRC")
                    yield from self._parts(body, size)

    def _damaged(self, what: str) -> Bad:
        return Bad(f"{self.segment.path}: damaged: the block from byte {self.offset} {what}")

    def _parts(self, body: memoryview, size: int) -> Iterator[Rows]:
        """Copies, since arrays that lie in the file would keep it mapped."""
        columns = {}
        place = 0
        for name, kind in COLUMNS:
            columns[name] = np.frombuffer(body, kind, self.rows, place).copy()
            place += columns[name].nbytes
        length, flags = columns.pop("length"), columns.pop("flags")
        ends = np.concatenate(([0], np.cumsum(length, dtype=np.int64)))
        game = np.cumsum((flags & FIRST) != 0, dtype=np.int64) + (self.first_game - 1)
        if (int(ends[-1]) != self.entries or ((flags & RESULT) == RESULT).any()
                or int(game[-1]) + 1 != self.first_game + self.games):
            raise self._damaged("contradicts itself")
        for first in range(0, self.rows, size):
            part = slice(first, first + size)
            begin, end = int(ends[first]), int(ends[min(first + size, self.rows)])
            entries = np.frombuffer(body, np.uint8, end - begin, place + begin).copy()
            pointers, cell, count = decode(length[part], entries)
            if len(cell) and (int(cell.min()) < 0 or int(cell.max()) >= self.cells):
                raise self._damaged("uses cells that do not exist")
            yield Rows(**{name: column[part] for name, column in columns.items()}, result=(flags[part] & RESULT) / 2,
                       white=(flags[part] & WHITE) != 0, game=game[part], pointers=pointers, cell=cell, count=count)


def decode(length: np.ndarray, entries: np.ndarray) -> tuple[np.ndarray, np.ndarray, np.ndarray]:
    """Pointers, cells and counts of rows with entries of these lengths."""
    pointers = np.zeros(len(length) + 1, np.int32)
    np.cumsum(length, out=pointers[1:])
    walked = np.zeros(len(entries) + 1, np.int32)
    np.cumsum(STEPS[entries], out=walked[1:])
    return pointers, walked[1:] - np.repeat(walked[pointers[:-1]], length), USES[entries]


def block_bytes(rows: int, entries: int) -> int:
    """Of a whole block, its header and the padding to a multiple of 8 included."""
    return BLOCK_HEADER.size + -(-(ROW_BYTES * rows + entries) // 8) * 8


def opened(path: str) -> BinaryIO:
    try:
        return builtins.open(path, "rb")
    except OSError as error:
        raise Bad(f"{path}: {error.strerror}") from None


class Store:
    """What a store says of itself.  Use open()."""

    def __init__(self, path: str, described: dict[str, Any]) -> None:
        self.path = path
        self.digest = hashlib.sha256(json.dumps(described, sort_keys=True).encode()).hexdigest()
        self.revision: str = described["engine"]["revision"]
        self.listing_text: str = described["engine"]["listing"]
        self.listing = listing.parse(self.listing_text)
        self.cells: list[list[list[int]]] = described["cells"]
        self.segments = [segment_of(path, entry) for entry in described["segments"]]
        self.rows = sum(segment.rows for segment in self.segments)
        self.games = sum(segment.games for segment in self.segments)
        weights = range(len(self.listing.names))
        if any(len(cell) != 2 or any(weight not in weights for side in cell for weight in side)
               for cell in self.cells):
            raise ValueError("cells of weights that the listing does not have")
        self.blocks = self._find_blocks()

    def _find_blocks(self) -> list[Block]:
        blocks: list[Block] = []
        row = game = 0
        for segment in self.segments:
            blocks += find_blocks(segment, row, game, len(self.cells))
            row += segment.rows
            game += segment.games
        return blocks

    def verify(self) -> None:
        """Whether every segment has the bytes that were written."""
        for segment in self.segments:
            verify(segment)


def verify(segment: Segment) -> None:
    """Raises Bad unless the file has the bytes that were written."""
    with opened(segment.path) as file:
        found = sum_of(pieces_of(file))
    if found != segment.sha256:
        raise Bad(f"{segment.path}: damaged: its SHA-256 is not the one that was written")


def pieces_of(file: BinaryIO) -> Iterator[bytes]:
    return iter(lambda: file.read(1 << 20), b"")


def sum_of(pieces: Iterable[bytes]) -> str:
    """Their SHA-256."""
    digest = hashlib.sha256()
    for piece in pieces:
        digest.update(piece)
    return digest.hexdigest()


def segment_of(store: str, entry: dict[str, Any]) -> Segment:
    return Segment(os.path.join(store, *entry["file"].split("/")), int(entry["bytes"]), entry["sha256"],
                   int(entry["rows"]), int(entry["games"]), bool(entry["scores"]), entry["source"])


def find_blocks(segment: Segment, row: int, game: int, cells: int) -> list[Block]:
    """The blocks of a segment, before which the store has so many rows and games.  Reads their headers alone."""
    blocks = []
    bad = Bad(f"{segment.path}: damaged: not the blocks that were written")
    with opened(segment.path) as file:
        if os.fstat(file.fileno()).st_size != segment.bytes:
            raise Bad(f"{segment.path}: damaged: not the {segment.bytes} bytes that were written")
        header = file.read(FILE_HEADER.size)
        magic, kind, full = FILE_HEADER.unpack(header.ljust(FILE_HEADER.size, b"\0"))
        if magic != MAGIC or kind != FORMAT or full == 0:
            raise Bad(f"{segment.path}: not a file of rows of format {FORMAT}")
        offset = FILE_HEADER.size
        rows = games = 0
        while offset < segment.bytes:
            file.seek(offset)
            header = file.read(BLOCK_HEADER.size)
            if len(header) < BLOCK_HEADER.size:
                raise bad
            size, entries, crc, before, begun, zero = BLOCK_HEADER.unpack(header)
            if rows % full or not 0 < size <= full or before != games or zero:
                raise bad
            blocks.append(Block(segment, offset, size, entries, crc, row + rows, game + games, begun, cells))
            rows += size
            games += begun
            offset += block_bytes(size, entries)
    if (offset, rows, games) != (segment.bytes, segment.rows, segment.games):
        raise bad
    return blocks


def describe(path: str) -> dict[str, Any]:
    """The contents of store.json."""
    name = os.path.join(path, "store.json")
    try:
        with opened(name) as file:
            described = json.loads(file.read())
    except ValueError as error:
        if isinstance(error, Bad):
            raise
        raise Bad(f"{name}: not the description of a store") from None
    if not isinstance(described, dict) or "format" not in described:
        raise Bad(f"{name}: not the description of a store")
    if described["format"] != FORMAT:
        raise Bad(f"{name}: a store of format {described['format']}, and this program reads format {FORMAT}")
    return described


def open(path: str) -> Store:  # as files are opened
    """Checks what can be checked without reading the rows."""
    described = describe(path)
    try:
        return Store(path, described)
    except Bad:
        raise
    except (AttributeError, KeyError, TypeError, ValueError) as error:
        raise Bad(f"{os.path.join(path, 'store.json')}: not the description of a store ({error!r})") from None
