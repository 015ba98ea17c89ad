"""Writes stores of positions, plainly and slowly: for tests of what reads them."""

from __future__ import annotations

import dataclasses
import hashlib
import json
import os
import struct
import zlib
from typing import Any

BLOCK_ROWS = 65536


@dataclasses.dataclass
class Row:
    """A row as tests give it."""

    cells: list[tuple[int, int]] = dataclasses.field(default_factory=list)  # cell and count, in increasing order
    value: int = 0
    score: int = -32768  # none
    base_mg: int = 0
    base_eg: int = 0
    phase: int = 24
    scale: int = 64
    clock: int = 0
    half_points: int = 1
    white: bool = True
    first: bool = False


def entries(cells: list[tuple[int, int]]) -> bytes:
    """The bytes that use the cells so often."""
    out = bytearray()
    place = 0
    for cell, count in cells:
        step = cell - place
        while step >= 126:
            jump = min(step // 126, 4)
            out.append(251 + jump)
            step -= 126 * jump
        for _ in range(abs(count)):
            out.append(step if count > 0 else 126 + step)
            step = 0
        if count:
            place = cell
    return bytes(out)


def block(rows: list[Row], games_before: int) -> bytes:
    coded = [entries(row.cells) for row in rows]
    body = b"".join(struct.pack(f"<{len(rows)}h", *(getattr(row, name) for row in rows))
                    for name in ("value", "score", "base_mg", "base_eg"))
    body += struct.pack(f"<{len(rows)}H", *map(len, coded))
    body += b"".join(bytes(getattr(row, name) for row in rows) for name in ("phase", "scale", "clock"))
    body += bytes(row.half_points | row.white << 2 | row.first << 3 for row in rows) + b"".join(coded)
    body += bytes(-len(body) % 8)
    return struct.pack("<6I", len(rows), sum(map(len, coded)), zlib.crc32(body), games_before,
                       sum(row.first for row in rows), 0) + body


def segment(rows: list[Row], full: int = BLOCK_ROWS) -> bytes:
    out = struct.pack("<8sII", b"MRVROWS\0", 1, full)
    for start in range(0, len(rows), full):
        out += block(rows[start : start + full], sum(row.first for row in rows[:start]))
    return out


def write(folder: str, listing: str, cells: list[list[list[int]]], sources: list[list[Row]],
          revision: str = "0123456789ab", full: int = BLOCK_ROWS) -> dict[str, Any]:
    """Makes a store with a segment for each source, in blocks of so many rows, and returns what store.json says."""
    os.makedirs(os.path.join(folder, "segments"))
    described: dict[str, Any] = {"format": 1, "engine": {"revision": revision, "listing": listing},
                                 "cells": cells, "segments": []}
    for number, rows in enumerate(sources, 1):
        name = f"segments/{number:05}.rows"
        data = segment(rows, full)
        with open(os.path.join(folder, name), "wb") as file:
            file.write(data)
        described["segments"].append({
            "file": name, "bytes": len(data), "sha256": hashlib.sha256(data).hexdigest(), "rows": len(rows),
            "games": sum(row.first for row in rows), "scores": all(row.score != -32768 for row in rows),
            "source": {"name": f"source {number}", "bytes": 1, "sha256": hashlib.sha256(b"%d" % number).hexdigest()}})
    describe(folder, described)
    return described


def describe(folder: str, described: Any) -> None:
    with open(os.path.join(folder, "store.json"), "w", encoding="ascii") as file:
        json.dump(described, file)


def cut(folder: str, full: int) -> None:
    """Cuts the segments of a store into blocks of so many rows: as a program with smaller blocks would write it."""
    with open(os.path.join(folder, "store.json"), encoding="utf-8") as file:
        described = json.load(file)
    for entry in described["segments"]:
        path = os.path.join(folder, entry["file"])
        with open(path, "rb") as file:
            data = cut_segment(file.read(), full)
        with open(path, "wb") as file:
            file.write(data)
        entry.update(bytes=len(data), sha256=hashlib.sha256(data).hexdigest())
    describe(folder, described)


def cut_segment(data: bytes, full: int) -> bytes:
    rows, size, _, _, _, _ = struct.unpack_from("<6I", data, 16)
    body = data[40:]
    assert len(body) == (14 * rows + size + 7) // 8 * 8, "more than one block"
    columns = [body[2 * rows * i : 2 * rows * (i + 1)] for i in range(5)]
    columns += [body[10 * rows + rows * i :][:rows] for i in range(4)]
    lengths = struct.unpack(f"<{rows}H", columns[4])
    out = struct.pack("<8sII", b"MRVROWS\0", 1, full)
    place = 14 * rows
    games = 0
    for first in range(0, rows, full):
        last = min(first + full, rows)
        used = sum(lengths[first:last])
        part = b"".join(column[first * (len(column) // rows) : last * (len(column) // rows)] for column in columns)
        part += body[place : place + used]
        place += used
        part += bytes(-len(part) % 8)
        begun = sum(flags >> 3 for flags in columns[8][first:last])
        out += struct.pack("<6I", last - first, used, zlib.crc32(part), games, begun, 0) + part
        games += begun
    return out
