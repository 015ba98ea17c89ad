"""Stores made by tuning/pack: what is in them, what is refused, and what an end in the middle leaves."""

from __future__ import annotations

import contextlib
import fcntl
import gzip
import hashlib
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import time
import unittest
from collections.abc import Iterator, Sequence

from client import START_FEN, FolderTest, run_mode
from conditions import ON_LINUX, needs_plain_build

try:
    import datalines
    import listing
    import numpy as np
    import store
except ImportError as error:
    raise unittest.SkipTest(f"{error}") from None

TUNING = os.path.dirname(os.path.abspath(store.__file__))
PROGRAM = os.path.join(TUNING, "pack")
ENGINE = os.path.abspath(os.environ["MORVANE_ENGINE"])
PACKER = os.path.abspath(os.environ.get("MORVANE_PACK", ENGINE + "_pack"))
GAMES = ("games=40", "nodes=60", "skipcheck=0", "skipquiet=0", "evalcap=32000")
WILD = ("randomplies=40", "openingcap=30000", "resignplies=60", "drawmin=200")

# What a game hardly brings: many pieces of a kind, castling rights, clocks, both sides to move.
ODD = [
    "QQQQQ3/QQQ5/QQ6/8/8/5k2/8/K7 b - - 3 20", "k7/8/5K2/8/8/qq6/qqq5/qqqqq3 w - - 99 300",
    "nnnnnnnn/8/4k3/8/8/3K4/8/BBBBBBBB w - - 100 80", "rrrrrrrr/8/4k3/8/4K3/8/8/NNNNNNNN w - - 150 80",
    "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1", "8/PPPPPPPP/8/4k3/8/4K3/pppppppp/8 w - - 0 1",
    "4k3/8/8/8/8/8/8/4K3 b - - 49 120", "8/8/8/3k4/8/8/4P3/4K3 w - - 12 60",
    "8/8/2b5/3k4/8/2B5/4P3/4K3 w - - 0 60", f"{START_FEN}", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 60",
]


def odd_lines() -> bytes:
    results = ("[1.0]", "[0.5] [-17]", "[0.0] [32000]")
    return "".join(f"{fen} {results[place % 3]}\n" for place, fen in enumerate(ODD)).encode()


class StoreTest(FolderTest):
    """A test with data of some games, and calls of the program."""

    @classmethod
    def setUpClass(cls) -> None:
        if not shutil.which(PACKER):
            raise unittest.SkipTest("no morvane_pack")

    def setUp(self) -> None:
        super().setUp()
        self.store = self.path("store")

    def play(self, name: str, *options: str) -> str:
        path = self.path(name)
        done = run_mode("datagen", *GAMES, f"out={path}", *options)
        self.assertEqual(done.returncode, 0, done.stderr)
        return path

    def command(self, *arguments: str, packer: str = PACKER, engine: str = ENGINE) -> list[str]:
        return [sys.executable, PROGRAM, self.store, *arguments, "--packer", packer, "--engine", engine]

    def pack(self, *arguments: str, **options) -> subprocess.CompletedProcess:
        others = {key: options.pop(key) for key in ("packer", "engine") if key in options}
        return subprocess.run(self.command(*arguments, **others), capture_output=True, text=True, check=False,
                              timeout=600, **options)

    def assert_packs(self, *arguments: str, **options) -> str:
        done = self.pack(*arguments, **options)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def check(self) -> subprocess.CompletedProcess:
        return subprocess.run([sys.executable, PROGRAM, self.store], capture_output=True, text=True, check=False)

    def assert_whole(self, rows_there: int) -> None:
        done = self.check()
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn(f"{rows_there} positions", done.stdout)

    def contents(self) -> dict[str, bytes]:
        """Every file of the store but the lock, which says nothing."""
        found = {}
        for folder, _, names in os.walk(self.store):
            for name in names:
                if name != "lock":
                    with open(os.path.join(folder, name), "rb") as file:
                        found[os.path.relpath(os.path.join(folder, name), self.store)] = file.read()
        return found

    def segment(self, number: int = 1) -> bytes:
        return self.read(f"store/segments/{number:05}.rows")

    def assert_refuses(self, message: str, *arguments: str, status: int = 1, **options) -> None:
        """One line, and nothing has changed."""
        before = self.contents()
        existed = os.path.exists(self.store)
        done = self.pack(*arguments, **options)
        self.assertRegex(done.stderr, rf"\Apack: .*{message}.*\n\Z")
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
        self.assertEqual(done.returncode, status, done.stderr)
        self.assertEqual(self.contents(), before)
        self.assertEqual(os.path.exists(self.store), existed)

    def shard(self, folder: str, seed: int, games: int = 6) -> dict:
        """Plays a shard of a run and returns what a manifest says of it."""
        path = f"shards/{seed}.gz"
        text = run_mode("datagen", f"games={games}", f"seed={seed}", "nodes=40", "out=" + self.path("part"))
        self.assertEqual(text.returncode, 0)
        data = self.read("part")
        with gzip.open(os.path.join(folder, path), "wb") as file:
            file.write(data)
        return {"file": path, "first_seed": seed, "games": games, "positions": data.count(b"\n"),
                "bytes": len(data), "sha256": hashlib.sha256(data).hexdigest()}

    def run_folder(self, name: str, first_seed: int = 1, shards: int = 3) -> str:
        """A run of scripts/datagen-shards that is whole."""
        folder = self.path(name)
        os.makedirs(os.path.join(folder, "shards"))
        parts = [self.shard(folder, first_seed + 6 * number) for number in range(shards)]
        text = self.text_of(folder, parts)
        self.manifest(folder, {
            "format": 1, "engine": {"revision": "feedfeedfeed", "sha256": "0" * 64}, "options": ["nodes=40"],
            "first_seed": first_seed, "games": 6 * shards, "shards": parts, "bytes": len(text),
            "positions": text.count(b"\n"), "sha256": hashlib.sha256(text).hexdigest()})
        return folder

    def text_of(self, folder: str, parts: Sequence[dict]) -> bytes:
        text = b""
        for part in parts:
            with gzip.open(os.path.join(folder, part["file"])) as file:
                text += file.read()
        return text

    def manifest(self, folder: str, manifest: object) -> None:
        with open(os.path.join(folder, "manifest.json"), "w", encoding="ascii") as file:
            json.dump(manifest, file)

    def script(self, name: str, text: str) -> str:
        path = self.write(name, text.encode())
        os.chmod(path, 0o755)
        return path


def truncated(dividend: np.ndarray, divisor: int) -> np.ndarray:
    """A quotient without its fraction, whatever the sign, as in C++."""
    return np.sign(dividend) * (np.abs(dividend) // divisor)


class Contents(StoreTest):
    def rows_as_text(self) -> bytes:
        """As featureexport writes them."""
        opened = store.open(self.store)
        lines = []
        for block in opened.blocks:
            read = block.read(verify=True)
            for place in range(block.rows):
                counts: dict[int, list[int]] = {}
                for entry in range(read.pointers[place], read.pointers[place + 1]):
                    for side, weights in enumerate(opened.cells[read.cell[entry]]):
                        for weight in weights:
                            counts.setdefault(weight, [0, 0])[side] += int(read.count[entry])
                used = {weight: count for weight, count in sorted(counts.items()) if count != [0, 0]}
                head = [f"{read.result[place]:g}", read.phase[place], read.scale[place], read.base_mg[place],
                        read.base_eg[place], len(used)]
                triples = [number for weight, (mg, eg) in used.items() for number in (weight, mg, eg)]
                lines.append(" ".join(map(str, head + triples)) + "\n")
        return "".join(lines).encode()

    def test_rows_are_those_of_featureexport(self) -> None:
        data = self.play("games.txt", "seed=3")
        wild = self.play("wild.txt", *WILD)
        odd = self.write("odd.txt", odd_lines())
        self.assert_packs(data, wild, odd)
        exported = b""
        for path in (data, wild, odd):
            self.assertEqual(run_mode("featureexport", path, self.path("rows.txt")).returncode, 0)
            exported += self.read("rows.txt")
        self.assertGreater(exported.count(b"\n"), 3000)
        self.assertTrue(self.rows_as_text() == exported)

    def test_values_are_the_engines_evaluations(self) -> None:
        data = self.play("data.txt", *WILD)
        with open(data, "ab") as file:
            file.write(odd_lines())
        self.assert_packs(data)
        told = subprocess.run([os.environ["MORVANE_SELFCHECK"], "evaluate", data], capture_output=True, check=True)
        opened = store.open(self.store)
        values, told = [], np.array(told.stdout.split(), int)
        for block in opened.blocks:
            read = block.read()
            weights = opened.listing.values
            by_cell = np.array([[sum(weights[weight] for weight in side) for side in cell] for cell in opened.cells])
            row = np.repeat(np.arange(block.rows), np.diff(read.pointers))
            mg, eg = (np.bincount(row, by_cell[read.cell, side] * read.count, block.rows).astype(int)
                      for side in (0, 1))
            mg, eg = mg + read.base_mg, eg + read.base_eg
            eg = truncated(read.scale * eg, 64)
            tapered = truncated(read.phase * mg + eg * (24 - read.phase.astype(int)), 24)
            self.assertEqual(truncated(tapered * (200 - read.clock.astype(int)), 200).tolist(),
                             read.value.tolist())
            values += (read.value * np.where(read.white, 1, -1)).tolist()
        self.assertEqual(values, told.tolist())
        self.assertGreater(len(set(values)), 300)

    def test_results_scores_sides_and_games_are_those_of_the_lines(self) -> None:
        first, second = self.play("a.txt"), self.play("b.txt", "seed=9", "score=0")
        self.assert_packs(first, second)
        expected = datalines.read_positions([first, second])
        opened = store.open(self.store)
        read = [block.read() for block in opened.blocks]

        def joined(name: str) -> list:
            return np.concatenate([getattr(part, name) for part in read]).tolist()

        self.assertEqual(joined("result"), expected.result.tolist())
        self.assertEqual(joined("white"), expected.white.tolist())
        self.assertEqual(joined("clock"), expected.clock.tolist())
        self.assertEqual(joined("game"), expected.game.tolist())
        self.assertEqual(joined("score"), np.where(np.isnan(expected.score), store.NO_SCORE, expected.score).tolist())
        self.assertEqual([segment.scores for segment in opened.segments], [True, False])
        self.assertEqual(opened.games, 80)

    def test_the_description(self) -> None:
        data = self.play("data.txt")
        told = self.assert_packs(data)
        opened = store.open(self.store)
        self.assertEqual(opened.listing.text(), run_mode("tuneparams").stdout.decode())
        self.assertIn(f"revision {opened.revision}" if opened.revision else "", run_mode("--version").stderr.decode())
        segment, = opened.segments
        text = self.read("data.txt")
        self.assertEqual(segment.source, {"name": data, "bytes": len(text), "sha256": hashlib.sha256(text).hexdigest()})
        self.assertEqual((segment.rows, segment.games), (text.count(b"\n"), 40))
        self.assertIn(f"{data}: {segment.rows} positions of 40 games", told)
        self.assertLess(segment.bytes / segment.rows, 60)
        self.assertEqual(len(listing.parse(opened.listing_text).names), 1082)
        self.assert_whole(segment.rows)
        self.assertEqual(set(os.listdir(self.store)), {"store.json", "segments", "lock"})

    def test_any_number_of_threads_gives_the_same_bytes(self) -> None:
        data = self.play("data.txt")
        text = self.read("data.txt")
        self.write("data.txt", text * (3_000_000 // len(text)))  # several pieces
        self.assert_packs(data, "--threads", "1")
        bytes_of_one = self.segment()
        for threads in ("2", "5"):
            shutil.rmtree(self.store)
            self.assert_packs(data, "--threads", threads)
            self.assertTrue(self.segment() == bytes_of_one, threads)

    def test_packed_files_give_the_same_segment(self) -> None:
        data = self.play("data.txt")
        subprocess.run(["gzip", "-k", data], check=True)
        names = [data, f"{data}.gz"]
        if shutil.which("zstd"):
            subprocess.run(["zstd", "-q", data], check=True)
            names.append(f"{data}.zst")
        found = []
        for name in names:
            self.assert_packs(name)
            found.append(self.segment())
            shutil.rmtree(self.store)
        self.assertTrue(all(segment == found[0] for segment in found))
        if len(names) < 3:
            self.skipTest("zstd is not installed")

    def test_appending_gives_what_packing_at_once_gives(self) -> None:
        names = [self.play(f"{seed}.txt", f"seed={seed}") for seed in (1, 100, 200)]
        self.assert_packs(*names)
        at_once = self.contents()
        shutil.rmtree(self.store)
        for name in names:
            self.assert_packs(name)
        self.assertEqual(self.contents(), at_once)
        self.assertEqual(len(store.open(self.store).segments), 3)

    def test_a_run_is_one_segment(self) -> None:
        folder = self.run_folder("run")
        self.assert_packs(folder)
        segment, = store.open(self.store).segments
        with open(os.path.join(folder, "manifest.json"), encoding="ascii") as file:
            manifest = json.load(file)
        self.assertEqual(segment.source, {
            "name": folder, "bytes": manifest["bytes"], "sha256": manifest["sha256"], "first_seed": 1, "games": 18,
            "options": ["nodes=40"], "engine": "feedfeedfeed"})
        of_run = self.segment()
        joined = self.write("joined.txt", self.text_of(folder, manifest["shards"]))
        shutil.rmtree(self.store)
        self.assert_packs(joined)
        self.assertTrue(self.segment() == of_run)


class Refusals(StoreTest):
    def setUp(self) -> None:
        super().setUp()
        self.data = self.play("data.txt")

    def test_lines_that_are_none(self) -> None:
        good = self.read("data.txt")
        lines = good.splitlines(keepends=True)
        for bad, what in ((b"\n", "not a line"), (b"x" * 300 + b"\n", f"not a line of morvane datagen: {'x' * 80}$"),
                          (lines[0].replace(b"[", b"[nan] ["), "not a line"), (b"1 24 64 0 0 0\n", "not a line"),
                          (b"8/8/8/8/8/8/8/8 w - - 0 1 [0.5] [1]\n", "no position"),
                          (lines[0][:-1] + b"\r\n", "not a line"),
                          (re.sub(rb"\[-?\d+\]\n", b"[32768]\n", lines[0]), "does not fit")):
            with self.subTest(bad):
                self.write("bad.txt", b"".join(lines[:100]) + bad + b"".join(lines[100:]))
                self.assert_refuses(f"bad.txt: line 101 .*{what}", self.path("bad.txt"))
        self.write("bad.txt", good[:-1])
        self.assert_refuses(f"bad.txt: line {len(lines)} is not a line", self.path("bad.txt"))
        self.write("bad.txt", b"")
        self.assert_refuses("bad.txt: no positions came in", self.path("bad.txt"))

    def test_the_same_data_twice(self) -> None:
        self.assert_packs(self.data)
        before = self.contents()
        self.assertTrue(self.assert_packs(self.data).startswith(f"{self.data}: in the store already\n"))
        self.assertEqual(self.contents(), before)
        other = shutil.copy(self.data, self.path("other.txt"))
        self.assert_refuses(f"{other}: the same data are in the store already, from {self.data}", other)
        subprocess.run(["gzip", "-k", self.data], check=True)
        self.assert_refuses("data.txt.gz: the same data are in the store already", f"{self.data}.gz")

    def test_the_same_data_twice_in_one_call(self) -> None:
        os.link(self.data, self.path("link.txt"))
        self.assert_refuses("are the same data", self.data, self.path("link.txt"))
        folder = self.run_folder("run")
        shutil.copytree(folder, self.path("copy"))
        self.assert_refuses("are the same data", folder, self.path("copy"))

    def test_runs_whose_seeds_overlap(self) -> None:
        first, second = self.run_folder("one", 1), self.run_folder("two", 17)
        self.assert_packs(first)
        self.assert_refuses(f"{second} and {first} have games of the same seeds: 18 from 17 on, and 18 from 1 on",
                            second)
        third = self.run_folder("three", 19)
        self.assert_refuses("have games of the same seeds", second, third)
        self.assert_packs(third)

    def test_seeds_begin_again_at_zero(self) -> None:
        import sources
        end = 2**64
        for one, other, expected in (((1, 5), (6, 5), False), ((1, 5), (5, 1), True), ((end - 2, 4), (1, 3), True),
                                     ((end - 2, 3), (1, 3), False), ((end - 1, 1), (0, 9), False)):
            self.assertEqual(sources.overlap(one, other), expected)
            self.assertEqual(sources.overlap(other, one), expected)

    def test_another_engine(self) -> None:
        """Of another revision, with other weights, or not the packer's."""
        self.assert_packs(self.data)
        new = self.play("new.txt", "seed=50")
        version = "Morvane 1.2.3, revision 111111111111"
        engine = self.script("engine", f'#!/bin/sh\n[ "$1" = --version ] && echo "{version}" >&2 && exit\n'
                                       f'exec {ENGINE} "$@"\n')
        self.assert_refuses("morvane_pack is of revision .* and .*engine of 111111111111", new, engine=engine)
        packer = self.script("packer", "#!/bin/sh\nexec " + PACKER + ' "$@" | sed '
                             "'s/\"revision\": \"[^\"]*\"/\"revision\": \"111111111111\"/'\n")
        self.assert_refuses("begun with the engine of revision .*, and this one is of 111111111111", new,
                            engine=engine, packer=packer)
        engine = self.script("engine", f'#!/bin/sh\n{ENGINE} "$@" | sed "s/matMg_P 93/matMg_P 94/"\n')
        self.assert_refuses("begun with other weights", new, engine=engine)

    def test_another_listing_than_the_packers(self) -> None:
        """A packer proves by the weights that the engine tells."""
        engine = self.script("engine", f'#!/bin/sh\n{ENGINE} "$@" | sed "s/matMg_P 93/matMg_P 94/"\n')
        self.assert_refuses("another value than the evaluation", self.data, engine=engine)
        engine = self.script("engine", f'#!/bin/sh\n{ENGINE} "$@" | sed "s/bishopPair/bishopTwin/"\n')
        self.assert_refuses("not a listing of this build's weights", self.data, engine=engine)

    def test_another_format(self) -> None:
        self.assert_packs(self.data)
        description = json.loads(self.read("store/store.json"))
        self.write("store/store.json", json.dumps({**description, "format": 2}).encode())
        self.assert_refuses("a store of format 2", self.play("new.txt", "seed=50"))
        packer = self.script("packer", f"#!/bin/sh\n{PACKER} \"$@\" | sed 's/\"format\": 1/\"format\": 2/'\n")
        self.assert_refuses("writes format 2", self.data, packer=packer)

    def test_another_table_of_cells(self) -> None:
        self.assert_packs(self.data)
        description = json.loads(self.read("store/store.json"))
        description["cells"][0], description["cells"][1] = description["cells"][1], description["cells"][0]
        self.write("store/store.json", json.dumps(description).encode())
        self.assert_refuses("another table of cells", self.play("new.txt", "seed=50"))

    def test_a_folder_with_other_things(self) -> None:
        os.mkdir(self.store)
        for name in ("notes.txt", "segments/00001.txt", "other/file", "segments/00001.rows"):
            with self.subTest(name):
                os.makedirs(os.path.dirname(self.path(f"store/{name}")), exist_ok=True)
                self.write(f"store/{name}", b"mine")
                self.assert_refuses("holds ", self.data)
                shutil.rmtree(self.store)
                os.mkdir(self.store)
        self.assert_packs(self.data)
        self.write("store/notes.txt", b"mine")
        self.assert_refuses("holds other things: notes.txt", self.play("new.txt", "seed=50"))

    def test_calls_that_are_wrong(self) -> None:
        self.assert_refuses("missing.txt: No such file", self.path("missing.txt"), status=2)
        os.mkdir(self.path("folder"))
        self.assert_refuses("has no manifest.json", self.path("folder"), status=2)
        self.assert_refuses("--check takes no data", self.data, "--check", status=2)
        self.assert_refuses("not above 0", self.data, "--threads", "0", status=2)
        self.assert_refuses("is no program", self.data, packer=self.path("none"), status=2)
        self.assert_refuses("tells no cells", self.data, packer=shutil.which("true"))
        self.assert_refuses("tells no version", self.data, engine=shutil.which("true"))
        self.write("file", b"")
        self.store = self.path("file")
        self.assertRegex(self.pack(self.data).stderr, r"\Apack: .*file is no folder\n\Z")
        self.store = self.path("missing/store")
        self.assert_refuses("missing/store: No such file", self.data)

    def test_a_packed_file_that_is_damaged(self) -> None:
        subprocess.run(["gzip", "-k", self.data], check=True)
        packed = self.read("data.txt.gz")
        self.write("cut.gz", packed[: len(packed) // 2])
        self.write("changed.gz", packed[:-5] + bytes([packed[-5] ^ 1]) + packed[-4:])
        self.write("none.gz", b"text\n")
        for name in ("cut.gz", "changed.gz", "none.gz"):
            with self.subTest(name):
                self.assert_refuses(f"{name}: ", self.path(name))
        if shutil.which("zstd"):
            self.write("none.zst", b"text\n")
            self.assert_refuses("none.zst: damaged", self.path("none.zst"))

    def test_manifests_that_are_none(self) -> None:
        folder = self.run_folder("run")
        with open(os.path.join(folder, "manifest.json"), encoding="ascii") as file:
            good = json.load(file)
        for bad in ([], {}, {**good, "sha256": "x"}, {**good, "games": "many"}, {**good, "shards": []},
                    {**good, "shards": [{}]}, {**good, "engine": None}):
            with self.subTest(bad):
                self.manifest(folder, bad)
                self.assert_refuses("manifest.json: not a manifest", folder)
        self.manifest(folder, {**good, "format": 2})
        self.assert_refuses("manifest.json: of format 2", folder)
        self.manifest(folder, {**good, "positions": good["positions"] + 1})
        self.assert_refuses("not what manifest.json says", folder)
        self.manifest(folder, {**good, "sha256": "0" * 64})
        self.assert_refuses("not what manifest.json says", folder)

    def test_shards_that_are_damaged_are_named(self) -> None:
        folder = self.run_folder("run")
        path = os.path.join(folder, "shards", "7.gz")
        with open(path, "rb") as file:
            whole = file.read()
        text = gzip.decompress(whole)
        lines = text.splitlines(keepends=True)
        for what, damaged in (("cut off", whole[: len(whole) // 2]), ("short", gzip.compress(b"".join(lines[:-1]))),
                              ("changed", gzip.compress(b"".join([lines[1], lines[0], *lines[2:]]))),
                              ("broken", gzip.compress(b"".join([b"x\n", *lines[1:]]))), ("empty", b"")):
            with self.subTest(what):
                with open(path, "wb") as file:
                    file.write(damaged)
                self.assert_refuses("shards/7.gz: damaged", folder)
        os.remove(path)
        self.assert_refuses("shards/7.gz: missing", folder)

    def test_two_at_once(self) -> None:
        self.assert_packs(self.data)
        new = self.play("new.txt", "seed=50")
        with open(self.path("store/lock"), "rb+") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assert_refuses("another tuning/pack is at work there", new)
        self.assert_packs(new)

    def test_without_zstd(self) -> None:
        self.write("data.zst", b"")
        tools = self.path("tools")
        os.mkdir(tools)
        os.symlink(shutil.which("gzip"), os.path.join(tools, "gzip"))
        self.assert_refuses(r"data.zst: needs zstd \(Debian package: zstd\)", self.path("data.zst"),
                            env={**os.environ, "PATH": tools})


class Ends(StoreTest):
    """A store is at any time what it was, or has a segment more."""

    def setUp(self) -> None:
        super().setUp()
        self.first = self.play("first.txt")
        self.second = self.play("second.txt", "seed=90")
        self.assert_packs(self.first)
        self.before = self.contents()
        self.rows_before = store.open(self.store).rows
        self.all = self.rows_before + self.read("second.txt").count(b"\n")

    @contextlib.contextmanager
    def waiting(self) -> Iterator[subprocess.Popen]:
        """A pack of second.txt and slow.gz that has begun with the latter, and waits for the rest of it."""
        self.write("slow.gz", b"")
        self.write("more to come", b"")
        os.makedirs(self.path("tools"), exist_ok=True)
        self.script("tools/gzip", f"#!/bin/sh\nhead -n 20 '{self.first}'\n"
                                  f"while [ -e '{self.path('more to come')}' ]; do sleep 0.02; done\n")
        process = subprocess.Popen(
            self.command(self.second, self.path("slow.gz")), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            env={**os.environ, "PATH": f"{self.path('tools')}:{os.environ['PATH']}"})
        try:
            while not [name for name in os.listdir(self.path("store/segments")) if name.startswith("00003.rows.part")]:
                self.assertIsNone(process.poll(), "ended too early")
                time.sleep(0.01)
            yield process
        finally:
            os.remove(self.path("more to come"))
            process.kill()
            process.communicate()

    def packer_of(self, process: subprocess.Popen) -> int:
        children = subprocess.run(["ps", "-o", "pid=,args=", "--ppid", str(process.pid)], capture_output=True,
                                  text=True, check=True)
        found = [line.split()[0] for line in children.stdout.splitlines() if "--listing" in line]
        self.assertEqual(len(found), 1, children.stdout)
        return int(found[0])

    def assert_second_is_whole(self) -> None:
        """The first two segments are there and whole, and nothing else."""
        self.assert_whole(self.all)
        for name, data in self.before.items():
            if name != "store.json":
                self.assertTrue(self.contents()[name] == data)

    def test_interrupted(self) -> None:
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number):
                with self.waiting() as process:
                    process.send_signal(number)
                    _, err = process.communicate(timeout=60)
                self.assertEqual((process.returncode, err), (1, "pack: interrupted; the same command goes on\n"))
                self.assert_second_is_whole()
                self.assertEqual(len(self.contents()), 3)

    @unittest.skipUnless(ON_LINUX, "finds a child in the process table")
    def test_the_packer_killed(self) -> None:
        with self.waiting() as process:
            os.kill(self.packer_of(process), signal.SIGKILL)
            os.rename(self.path("more to come"), self.path("no more"))
            _, err = process.communicate(timeout=60)
            os.rename(self.path("no more"), self.path("more to come"))
        self.assertEqual((process.returncode, err.count("\n")), (1, 1), err)
        self.assertRegex(err, r"\Apack: .*slow.gz: morvane_pack was ended by signal 9\n\Z")
        self.assert_second_is_whole()
        self.assertEqual(len(self.contents()), 3)

    def test_killed_and_called_again(self) -> None:
        with self.waiting() as process:
            process.kill()
            process.wait()
        self.assert_second_is_whole()
        third = self.play("slow", "seed=300")
        os.remove(self.path("slow.gz"))
        subprocess.run(["gzip", third], check=True)
        told = self.assert_packs(self.second, f"{third}.gz")
        self.assertIn(f"{self.second}: in the store already\n", told)
        self.assertEqual(len(store.open(self.store).segments), 3)
        self.assertEqual(sorted(self.contents()), [f"segments/0000{i}.rows" for i in (1, 2, 3)] + ["store.json"])

    def test_killed_between_the_segment_and_its_description(self) -> None:
        """What lies there without being told of is no part of the store."""
        self.write("store/segments/00002.rows", b"a segment")
        self.write("store/store.json.part.77", b"{")
        self.write("store/segments/00002.listing.part.77", b"")
        self.assert_whole(self.rows_before)
        self.assert_packs(self.second)
        self.assert_second_is_whole()
        self.assertEqual(len(self.contents()), 3)

    @needs_plain_build
    def test_full_disk(self) -> None:
        """A limit on the size of files is told in the same way."""
        big = self.write("big.txt", self.read("first.txt") * 60)
        for limit in (10, 1000, 100_000, 3_000_000):
            with self.subTest(limit):
                done = self.pack(self.second if limit < 3_000_000 else big,
                                 preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
                self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1), done.stderr)
                self.assertRegex(done.stderr, r"\Apack: .*(cannot be written whole|File too large)")
                self.assertEqual(self.contents(), self.before)
        self.assert_packs(self.second)
        self.store = self.path("new")
        self.assert_refuses("File too large", self.second,
                            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000)))

    def test_a_damaged_segment_is_found(self) -> None:
        self.assert_packs(self.second)
        data = bytearray(self.segment(2))
        data[len(data) // 2] ^= 4
        self.write("store/segments/00002.rows", data)
        done = self.check()
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"\Apack: .*00002.rows: damaged: its SHA-256 is not the one .*\n\Z")
        self.write("store/segments/00002.rows", data[:-8])
        done = self.check()
        self.assertRegex(done.stderr, r"\Apack: .*00002.rows: damaged: not the \d+ bytes .*\n\Z")
        self.assert_refuses("00002.rows: damaged", self.play("third.txt", "seed=300"))

    def test_a_bad_source_leaves_those_before_it(self) -> None:
        self.write("bad.txt", b"no line\n")
        done = self.pack(self.second, self.path("bad.txt"))
        self.assertEqual(done.returncode, 1)
        self.assertIn("bad.txt: line 1 is not a line", done.stderr)
        self.assert_second_is_whole()


class Packer(StoreTest):
    """The program that packs, called directly."""

    def setUp(self) -> None:
        super().setUp()
        self.listing = self.write("listing", run_mode("tuneparams").stdout)
        self.out = self.path("out")
        self.line = f"{START_FEN} [0.5] [3]\n".encode()

    def call(self, *arguments: str, data: bytes | None = None, **options) -> subprocess.CompletedProcess:
        return subprocess.run([PACKER, *arguments], input=self.line if data is None else data, timeout=600,
                              check=False, **{"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options})

    def assert_fails(self, message: str, *arguments: str, status: int = 1, **options) -> None:
        done = self.call(*(arguments or (self.out, "--listing", self.listing)), **options)
        self.assertEqual(done.returncode, status, done.stderr)
        self.assertRegex(done.stderr.decode(), message)
        self.assertFalse(os.path.exists(self.out))

    def test_what_it_reports(self) -> None:
        done = self.call(self.out, "--listing", self.listing, "--threads", "3", data=self.line * 5)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(json.loads(done.stdout),
                         {"rows": 5, "games": 5, "scores": True, "bytes": os.stat(self.out).st_size})

    def test_cells(self) -> None:
        table = json.loads(self.call("--cells").stdout)
        self.assertEqual(table["format"], 1)
        for side in (0, 1):  # each weight has a cell of its own in either sum
            alone = [cell[side][0] for cell in table["cells"] if len(cell[side]) == 1 and not cell[1 - side]]
            self.assertTrue(set(range(1082)) <= set(alone))

    def test_calls_that_are_wrong(self) -> None:
        for arguments in ((), ("out",), ("--listing", self.listing), (self.out, "--listing"), (self.out, "--cells"),
                          (self.out, self.out, "--listing", self.listing),
                          (self.out, "--listing", self.listing, "--threads", "0"),
                          (self.out, "--listing", self.listing, "--threads", "x"),
                          (self.out, "--listing", self.listing, "--threads", "100000"),
                          (self.out, "--listing", self.listing, "--none")):
            with self.subTest(arguments):
                done = self.call(*arguments)
                self.assertEqual(done.returncode, 2)
                self.assertIn(b"Usage:", done.stderr)
                self.assertFalse(os.path.exists(self.out))

    def test_files_that_cannot_be_read_or_written(self) -> None:
        self.assert_fails(r"\Amorvane_pack: .*none: cannot be read\n\Z", self.out, "--listing", self.path("none"))
        self.assert_fails(r"\Amorvane_pack: .*not a listing", self.out, "--listing", PROGRAM)
        self.assert_fails("cannot be created", self.path("none/out"), "--listing", self.listing)
        self.assert_fails("cannot be created", self.folder, "--listing", self.listing)

    @unittest.skipUnless(os.path.exists("/dev/full"), "needs /dev/full")
    def test_a_report_that_nobody_gets(self) -> None:
        with open("/dev/full", "wb") as full:
            self.assert_fails(r"\Amorvane_pack: standard output cannot be written\n\Z", stdout=full)
            self.assertEqual(self.call("--cells", stdout=full).returncode, 1)
        reader, writer = os.pipe()
        os.close(reader)
        self.assert_fails("standard output cannot be written", stdout=writer)
        os.close(writer)

    @needs_plain_build
    def test_too_little_memory(self) -> None:
        """One line, whether there is none for data or none for threads."""
        told = set()
        for room in range(16, 400, 24):
            limit = room << 20
            done = self.call(self.out, "--listing", self.listing, "--threads", "64",
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
            if done.returncode == 127 or b"error while loading" in done.stderr:
                continue  # not even the program has room
            if done.returncode == 0:
                os.remove(self.out)
                continue
            self.assertEqual(done.returncode, 1, (room, done.stderr))
            self.assertRegex(done.stderr.decode(),
                             r"\Amorvane_pack: (not enough memory|the system gives no thread)\n\Z")
            self.assertFalse(os.path.exists(self.out))
            told.add(done.stderr)
        self.assertTrue(told)
