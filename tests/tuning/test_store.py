"""The reader of stores: what it gives, block by block, and what it refuses."""

from __future__ import annotations

import json
import os
import random
import unittest

from client import FolderTest

try:
    import numpy as np
    import store
    import storewriter
except ImportError as error:
    raise unittest.SkipTest(f"{error}") from None

from storewriter import Row

LISTING = "# Morvane tune params: index name value  (NPARAMS=2)\n0 a 5\n1 b -7\n"
CELLS = [[[0], [1]], [[1], []]] + [[[], [0]]] * 998


def random_row(rng: random.Random, first: bool) -> Row:
    used = sorted(rng.sample(range(len(CELLS)), rng.randrange(30)))
    return Row([(cell, rng.choice((-3, -2, -1, 1, 2, 3, 9))) for cell in used], rng.randint(-32768, 32767),
               rng.randint(-32768, 32767), rng.randint(-32768, 32767), rng.randint(-32768, 32767), rng.randrange(25),
               rng.randrange(65), rng.randrange(101), rng.randrange(3), rng.random() < 0.5, first)


class Stores(FolderTest):
    def store(self, *sources: list[Row]) -> str:
        storewriter.write(self.path("store"), LISTING, CELLS, list(sources))
        return self.path("store")

    def edit(self, change) -> str:
        name = os.path.join(self.path("store"), "store.json")
        with open(name, encoding="ascii") as file:
            described = json.load(file)
        storewriter.describe(self.path("store"), change(described) or described)
        return self.path("store")

    def assert_bad(self, message: str, path: str | None = None) -> None:
        with self.assertRaisesRegex(store.Bad, message) as caught:
            store.open(path or self.path("store"))
        self.assertNotIn("\n", str(caught.exception))


def sums(cells: np.ndarray, counts: np.ndarray) -> dict[int, int]:
    """How often each cell is used."""
    total: dict[int, int] = {}
    for cell, count in zip(cells.tolist(), counts.tolist()):
        total[cell] = total.get(cell, 0) + count
    return {cell: count for cell, count in total.items() if count}


class Reading(Stores):
    def assert_rows(self, read: store.Rows, expected: list[Row]) -> None:
        for name in ("value", "score", "base_mg", "base_eg", "phase", "scale", "clock", "white"):
            self.assertEqual(getattr(read, name).tolist(), [getattr(row, name) for row in expected], name)
        self.assertEqual((read.result * 2).tolist(), [row.half_points for row in expected])
        starts = read.pointers.tolist()
        self.assertEqual([sums(read.cell[start:end], read.count[start:end]) for start, end in zip(starts, starts[1:])],
                         [dict(row.cells) for row in expected])

    def test_gives_what_was_written(self) -> None:
        rng = random.Random(1)
        sources = [[random_row(rng, i == 0 or rng.random() < 0.1) for i in range(size)] for size in (1, 700, 20)]
        opened = store.open(self.store(*sources))
        self.assertEqual((opened.rows, opened.revision), (721, "0123456789ab"))
        self.assertEqual(opened.listing.values.tolist(), [5, -7])
        self.assertEqual(opened.cells, CELLS)
        self.assertEqual([block.rows for block in opened.blocks], [1, 700, 20])
        self.assertEqual([block.first_row for block in opened.blocks], [0, 1, 701])
        game = -1
        for block, rows in zip(opened.blocks, sources):
            self.assertEqual(block.first_game, game + 1)
            read = block.read(verify=True)
            self.assert_rows(read, rows)
            for number, row in zip(read.game.tolist(), rows):
                game += row.first
                self.assertEqual(number, game)
        self.assertEqual(opened.games, game + 1)
        opened.verify()

    def test_blocks_of_a_long_segment(self) -> None:
        """A game goes on from one block to the next."""
        rows = [Row([(i % 1000, 1)], value=i % 1000, first=i % 65530 == 0) for i in range(2 * 65536 + 5)]
        opened = store.open(self.store([Row(first=True)], rows))
        self.assertEqual([block.rows for block in opened.blocks], [1, 65536, 65536, 5])
        self.assertEqual([block.first_game for block in opened.blocks], [0, 1, 3, 4])
        numbers = np.concatenate([block.read(True).game for block in opened.blocks])
        self.assertEqual(numbers.tolist(), [0] + [1 + i // 65530 for i in range(len(rows))])
        self.assertEqual(opened.blocks[3].read().value.tolist(), [(2 * 65536 + i) % 1000 for i in range(5)])

    def test_rows_without_cells_and_far_cells(self) -> None:
        expected = [Row(first=True), Row([(0, -1)]), Row(), Row([(125, 1), (126, 2), (251, -2), (999, 3)]),
                    Row([(999, -1)]), Row([(0, 9), (0 + 126, 1)]), Row([(630, 1)]), Row()]
        self.assert_rows(store.open(self.store(expected)).blocks[0].read(), expected)

    def test_a_block_without_entries(self) -> None:
        self.assert_rows(store.open(self.store([Row(first=True), Row()])).blocks[0].read(), [Row(), Row()])

    def test_entries(self) -> None:
        for entries, cells, counts in ((bytes([5, 126, 3]), [5, 5, 8], [1, -1, 1]),
                                       (bytes([2, 3, 0, 251]), [2, 5, 5, 130], [1, 1, 1, -1]),
                                       (bytes([252, 253, 0, 255]), [126, 378, 378, 882], [0, 0, 1, 0])):
            with self.subTest(entries):
                pointers, cell, count = store.decode(np.array([0, len(entries), 0], np.uint16),
                                                     np.frombuffer(entries, np.uint8))
                self.assertEqual(pointers.tolist(), [0, 0, len(entries), len(entries)])
                self.assertEqual((cell.tolist(), count.tolist()), (cells, counts))

    def test_of_a_store_without_segments(self) -> None:
        opened = store.open(self.store())
        self.assertEqual((opened.rows, opened.games, opened.blocks), (0, 0, []))


class Refused(Stores):
    def setUp(self) -> None:
        super().setUp()
        self.store([Row([(3, 1)], first=True)] * 9, [Row([(998, 1)], first=True)] * 9)
        self.file = os.path.join(self.path("store"), "segments", "00002.rows")

    def damage(self, place: int, value: int) -> int:
        """Changes a byte and returns what it was."""
        with open(self.file, "r+b") as file:
            file.seek(place)
            usual = file.read(1)[0]
            file.seek(place)
            file.write(bytes([value]))
        self.assertNotEqual(value, usual)
        return usual

    def test_what_is_no_store(self) -> None:
        self.assert_bad("nothing/store.json: No such file", self.path("nothing"))
        for text in (b"", b"{", b"[]", b"3", b"{}", b"\xff\xfe"):
            with self.subTest(text):
                self.write("store/store.json", text)
                self.assert_bad("store.json: not the description of a store")

    def test_another_format(self) -> None:
        self.edit(lambda described: described.update(format=2))
        self.assert_bad("store.json: a store of format 2, and this program reads format 1")

    def test_descriptions_that_lack_something(self) -> None:
        for change in (lambda d: d.pop("engine"), lambda d: d.update(engine="x"), lambda d: d.pop("segments"),
                       lambda d: d.update(cells=[[[2], []]]), lambda d: d.update(cells=[[[0]]]),
                       lambda d: d["segments"][0].pop("rows"), lambda d: d["engine"].update(listing="no")):
            with self.subTest(change):
                with open(os.path.join(self.path("store"), "store.json"), encoding="ascii") as file:
                    usual = json.load(file)
                self.edit(lambda described: change(described) and None)
                self.assert_bad("store.json: not the description of a store")
                storewriter.describe(self.path("store"), usual)

    def test_a_segment_that_is_gone_cut_off_or_too_long(self) -> None:
        with open(self.file, "ab") as file:
            file.write(b"\0")
        self.assert_bad(r"00002.rows: damaged: not the \d+ bytes")
        os.truncate(self.file, 40)
        self.assert_bad(r"00002.rows: damaged: not the \d+ bytes")
        os.remove(self.file)
        self.assert_bad("00002.rows: No such file")

    def test_a_header_of_something_else(self) -> None:
        for place, value in ((0, 0), (8, 2), (12, 1)):
            with self.subTest(place):
                self.damage(place, value)
                self.assert_bad("00002.rows: not a file of rows of format 1")

    def test_headers_of_blocks(self) -> None:
        for place, value in ((16, 0), (16, 8), (18, 2), (20, 0), (28, 1), (32, 8), (36, 1)):
            with self.subTest(place):
                usual = self.damage(place, value)
                self.assert_bad("00002.rows: damaged: not the blocks")
                self.damage(place, usual)
        store.open(self.path("store"))

    def test_a_changed_byte_is_found(self) -> None:
        opened = store.open(self.path("store"))
        self.damage(50, 99)
        opened.blocks[0].read(verify=True)
        opened.blocks[1].read()
        with self.assertRaisesRegex(store.Bad, "00002.rows: damaged: the block from byte 16 has another CRC"):
            opened.blocks[1].read(verify=True)
        with self.assertRaisesRegex(store.Bad, "00002.rows: damaged: its SHA-256"):
            opened.verify()

    def test_contradictions_are_found_without_the_crc(self) -> None:
        opened = store.open(self.path("store"))
        first = 40 + 14 * 9
        for place, value, message in (
                (40 + 8 * 9, 9, "contradicts itself"),  # length
                (first - 9, 15, "contradicts itself"),  # result
                (first - 1, 5, "contradicts itself"),  # games
                (first + 1, 255, "uses cells that do not exist")):
            with self.subTest(place):
                usual = self.damage(place, value)
                with self.assertRaisesRegex(store.Bad, f"00002.rows: damaged: the block from byte 16 {message}"):
                    opened.blocks[1].read()
                self.damage(place, usual)
        opened.blocks[1].read(verify=True)
