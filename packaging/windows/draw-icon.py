#!/usr/bin/env python3
"""Draws morvane.ico beside this file: an M on the squares of a chess board, in the sizes that Windows shows."""

import pathlib
import struct
import zlib

SIZES = (16, 32, 48, 256)
FINE = 4  # samples per pixel and direction
LIGHT, DARK, INK = (236, 217, 185), (174, 126, 88), (38, 32, 44)
STROKE = 0.075  # half the width, of a side of 1
M = ((0.22, 0.80), (0.22, 0.22), (0.50, 0.60), (0.78, 0.22), (0.78, 0.80))


def distance(x: float, y: float, a: tuple[float, float], b: tuple[float, float]) -> float:
    """From a point to a line between two others."""
    dx, dy = b[0] - a[0], b[1] - a[1]
    along = ((x - a[0]) * dx + (y - a[1]) * dy) / (dx * dx + dy * dy)
    along = min(max(along, 0.0), 1.0)
    return ((x - a[0] - along * dx) ** 2 + (y - a[1] - along * dy) ** 2) ** 0.5


def colour(x: float, y: float) -> tuple[int, int, int]:
    if any(distance(x, y, a, b) <= STROKE for a, b in zip(M, M[1:])):
        return INK
    return LIGHT if (int(4 * x) + int(4 * y)) % 2 == 0 else DARK


def pixel(x: int, y: int, size: int) -> bytes:
    """The mean of its samples, opaque."""
    steps = [(i + 0.5) / FINE for i in range(FINE)]
    samples = [colour((x + i) / size, (y + j) / size) for i in steps for j in steps]
    return bytes(sum(channel) // len(samples) for channel in zip(*samples)) + b"\xff"


def chunk(name: bytes, data: bytes) -> bytes:
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def rows(size: int) -> bytes:
    """All pixels, each row behind the byte by which PNG tells that it stands as it is."""
    return b"".join(b"\0" + b"".join(pixel(x, y, size) for x in range(size)) for y in range(size))


def png(size: int) -> bytes:
    header = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)  # red, green, blue and opacity of 8 bits each
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows(size), 9))
            + chunk(b"IEND", b""))


def icon() -> bytes:
    images = [png(size) for size in SIZES]
    place = 6 + 16 * len(SIZES)
    folder = struct.pack("<HHH", 0, 1, len(SIZES))
    for size, image in zip(SIZES, images):
        folder += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), place)
        place += len(image)
    return folder + b"".join(images)


if __name__ == "__main__":
    pathlib.Path(__file__).with_name("morvane.ico").write_bytes(icon())
