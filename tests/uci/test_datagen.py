"""Generation of self-play games: the file, the report on standard error, and what is left when a
run is interrupted or the disk is full."""

from __future__ import annotations

import bisect
import dataclasses
import functools
import hashlib
import os
import random
import re
import resource
import signal
import subprocess
import tempfile
import time
import unittest
from collections.abc import Callable
from itertools import accumulate, zip_longest

import grammar
from client import Engine, FolderTest, engine_path
from conditions import STRACE, needs_strace
from rules import Position
from selfplay import LINE, Game, Options, Ply, Twister, end_by_rule, read_games

DATA = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "data")
DEADLINE = 1200.0  # seconds, for builds with a sanitizer
MAX_U64 = 2**64 - 1
MAX_I64 = 2**63 - 1

HEADER = (
    "datagen: games={games} out={out} seed={seed} nodes={nodes} maxdepth={maxdepth}"
    " randomplies={randomplies} score={score}"
)
HEADER_DEFAULTS = {"games": 1000, "out": "data.txt", "seed": 1, "nodes": 5000, "maxdepth": 12,
                   "randomplies": 8, "score": 1}
NUMBER = r"\d+(?:\.\d+)?(?:e[-+]\d\d)?"
PROGRESS = re.compile(
    rf"  (\d+)/(\d+) партій, (\d+) позицій, (\d+) відкинуто, {NUMBER} партій/с"
)
SUMMARY = re.compile(
    rf"datagen: готово — (\d+) партій, (\d+) позицій, (\d+) відкинуто, {NUMBER} с"
)
CANNOT_OPEN = "datagen: не вдалося відкрити для запису: {}\n"
UNKNOWN_KEY = "datagen: невідомий параметр: {}\n"
SURPLUS = "datagen: зайвий аргумент: {}\n"
READ_AS = "datagen: {} — прочитано як {}"
EARLIER = b"from an earlier run\n"

# Every position is written, every opening is played, and only rules end a game.
UNCUT = ("skipcheck=0 skipquiet=0 evalcap=1000000 openingcap=1000000 openingtries=1"
         " resign=1000000 draw=-1 maxplies=1000")


ONE_PLY = "skipcheck=0 skipquiet=0 evalcap=1000000 maxplies=1"

# Numbers of all options, each of which decides something with the right seed.
ODD_NUMBERS = ("games=8 seed={} maxdepth=2 randomplies=120 openingcap=600 openingtries=3 resign=700"
               " resignplies=4 draw=40 drawplies=3 drawmin=10 maxplies=60 evalcap=900")
CHANGES = (("openingcap", 400), ("openingtries", 1), ("resign", 100), ("resignplies", 1), ("draw", 0),
           ("drawplies", 9), ("drawmin", 50), ("maxplies", 9), ("evalcap", 70), ("skipcheck", 0),
           ("skipquiet", 0))

ALL_ENDS = {"1.0 mate", "0.0 mate", "0.5 stalemate", "0.5 repetition", "0.5 fifty moves",
            "0.5 bare kings", "0.5 one minor piece", "0.5 bishops of one colour"}
ALL_MINOR_PIECES = {"bbkk", "bkkn", "kknn"}  # with the kings; such games are played on


@functools.cache
def seeds(name: str) -> list[str]:
    """Runs in which something rare happens: options, or a seed (make_datagen_seeds.py)."""
    with open(os.path.join(DATA, "datagen_seeds.txt"), encoding="utf-8") as file:
        lines = [line.rstrip().split(": ") for line in file if not line.startswith("#")]
    return [run for kind, run in lines if kind == name]


def header(**options: object) -> str:
    return HEADER.format(**{**HEADER_DEFAULTS, **options})


@functools.cache
def file_of(options: str) -> bytes:
    """The file of a run, made once for all tests."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([engine_path(), "datagen", *options.split()], cwd=folder, check=True,
                       stderr=subprocess.DEVNULL, timeout=DEADLINE)
        with open(os.path.join(folder, "data.txt"), "rb") as file:
            return file.read()


def changes_nothing(games: str) -> list[str]:
    """The options of which another number changes nothing in these games."""
    return [key for key, value in CHANGES
            if file_of(f"{games} {key}={value}") in (b"", file_of(games))]


def as_arguments(options: dict[str, int]) -> str:
    return " ".join(f"{key}={value}" for key, value in options.items())


def shard(options: str, seed: int, games: int = 1) -> str:
    return f"{options} games={games} seed={seed & MAX_U64}"


def boundaries(options: str, games: int) -> list[int]:
    """The sizes that the file may have, from no game to all of them."""
    sizes = (len(file_of(shard(options, 1 + i))) for i in range(games))
    return list(accumulate(sizes, initial=0))


@dataclasses.dataclass
class Run:
    """A run that went well: its file and its report."""

    data: bytes
    header: str
    progress: list[tuple[int, int, int, int]]  # games so far, of, positions, discarded
    played: int
    written: int
    discarded: int


class DataGenTest(FolderTest):
    def read(self, name: str = "data.txt") -> bytes:
        return super().read(name)

    def launch(self, *arguments: str, wrapper: tuple[str, ...] = (), **options):
        """Runs the mode to its end, in a folder of its own."""
        return subprocess.run(
            [*wrapper, engine_path(), "datagen", *arguments], cwd=self.folder, check=False,
            stdin=subprocess.DEVNULL, capture_output=True, timeout=DEADLINE, **options,
        )

    def generate(self, options: str, out: str = "data.txt") -> Run:
        """A run with the options, a text with blanks between them, that must go well.

        It begins without a file: one from an earlier run would stay if no game is played."""
        if os.path.exists(self.path(out)):
            os.remove(self.path(out))
        result = self.launch(*options.split(), f"out={out}")
        self.assertEqual((result.returncode, result.stdout), (0, b""), result.stderr)
        run = self.run_of(self.read(out), result.stderr)
        given = {**dict(option.split("=") for option in options.split()), "out": out}
        shown = {key: given.get(key, value) for key, value in HEADER_DEFAULTS.items()}
        self.assertEqual(run.header, header(**shown))
        return run

    def run_of(self, data: bytes, stderr: bytes) -> Run:
        first, *middle, last, rest = stderr.decode().split("\n")
        self.assertEqual(rest, "")
        progress = []
        for line in middle:
            self.assertRegex(line, rf"\A{PROGRESS.pattern}\Z")
            progress.append(tuple(map(int, PROGRESS.fullmatch(line).groups())))
        self.assertRegex(last, rf"\A{SUMMARY.pattern}\Z")
        run = Run(data, first, progress, *map(int, SUMMARY.fullmatch(last).groups()))

        lines = data.decode("ascii").splitlines(keepends=True)
        for line in lines:
            self.assertRegex(line, rf"\A{LINE.pattern}\Z")
        self.assertEqual(run.written, len(lines))
        games = int(re.match(r"datagen: games=(-?\d+) ", first)[1])
        self.assertEqual(run.played + run.discarded, max(games, 0))
        return run

    def assert_refused(self, arguments: list[str], message: str) -> None:
        result = self.launch(*arguments)
        self.assertEqual((result.returncode, result.stdout), (1, b""), arguments)
        self.assertEqual(result.stderr.decode(), message)

    def assert_same_file(self, data: bytes, expected: bytes, why: object = None) -> None:
        """With a message about the first difference alone: files are long."""
        if data != expected:
            pairs = zip_longest(data.splitlines(True), expected.splitlines(True))
            number, pair = next((n, p) for n, p in enumerate(pairs, 1) if p[0] != p[1])
            self.fail(f"line {number} is {pair[0]}, should be {pair[1]}: {why}")


class Arguments(DataGenTest):
    LENIENT = {
        " 7x": 7, "+7": 7, "007": 7, "-0": 0, "\t\n\v\f\r 12": 12, "7.9": 7, "1e3": 1, "0x10": 0,
        "": 0, "abc": 0, "- 7": 0, "+-7": 0, "--7": 0, "7 8": 7, "-3": -3, "7=8": 7,
        "9223372036854775807": MAX_I64, "9223372036854775808": MAX_I64,
        "99999999999999999999": MAX_I64, "-99999999999999999999": -MAX_I64 - 1,
    }
    UNSIGNED = {
        "18446744073709551615": MAX_U64, "18446744073709551616": MAX_U64, "-1": MAX_U64,
        "99999999999999999999": MAX_U64, "-99999999999999999999": MAX_U64, "-3": MAX_U64 - 2,
        "9223372036854775808": MAX_I64 + 1,
    }
    TRUTH = {"0": 0, "1": 1, "2": 1, "-1": 1, " 1": 1, "00": 0, "+0": 0, "": 0, "true": 0,
             "0x1": 0, "1x": 1, "4294967296": 1}

    @staticmethod
    def low_32_bits(number: int) -> int:
        return (number + 2**31) % 2**32 - 2**31

    def assert_header(self, arguments: list[str], **options: object) -> None:
        result = self.launch(*arguments)
        self.assertEqual((result.returncode, result.stdout), (0, b""), arguments)
        lines = result.stderr.decode().splitlines()
        self.assertEqual(lines[-2], header(**{"games": 0, **options}), arguments)
        for line in lines[:-2]:  # what is remarked on
            self.assertRegex(line, READ_AS.format(r"\w+=\s*[-+]?\d+.*\S", r"-?\d+"))

    def test_numbers_in_the_header(self) -> None:
        wide = {**self.LENIENT, "4294967298": 4294967298, "2147483648": 2147483648}
        for text, value in wide.items():
            self.assert_header(["games=0", f"nodes={text}"], nodes=value)
            if value <= 0:
                self.assert_header([f"games={text}"], games=value)
            for key in ("maxdepth", "randomplies"):
                value32 = self.low_32_bits(value)
                self.assert_header(["games=0", f"{key}={text}"], **{key: value32})
        for text, value in {**self.LENIENT, **self.UNSIGNED}.items():
            self.assert_header(["games=0", f"seed={text}"], seed=value)
        for text, value in self.TRUTH.items():
            self.assert_header(["games=0", f"score={text}"], score=value)

    def test_numbers_that_the_header_does_not_show(self) -> None:
        """Written oddly, they must act as if they were written plainly."""
        games, = seeds("numbers")
        self.assertEqual(changes_nothing(games), [])
        for key, value in CHANGES:
            plain = file_of(f"{games} {key}={value}")
            beyond = value if key.startswith("skip") else value + 2**32
            for text in (f"\t +{value}x", f"{value}e9", str(beyond)):
                result = self.launch(*games.split(), f"{key}={text}")
                self.assertEqual(result.returncode, 0)
                self.assert_same_file(self.read(), plain, f"{key}={text}")
        for text in ("7", "-1", " +1", "4294967296"):
            self.launch(*games.split(), f"skipquiet={text}")
            self.assert_same_file(self.read(), file_of(games), f"skipquiet={text}")

    def test_where_the_number_and_the_path_may_stand(self) -> None:
        for arguments, options in (
            (["0"], {}),
            (["games=0"], {}),
            (["0", "a.txt"], {"out": "a.txt"}),
            (["seed=5", "0", "nodes=9", "a.txt", "score=0"],
             {"seed": 5, "nodes": 9, "out": "a.txt", "score": 0}),
            (["games=3", "0"], {}),
            (["3", "games=0"], {}),
            (["out=b.txt", "0", "a.txt"], {"out": "a.txt"}),
            (["0", "a.txt", "out=b.txt"], {"out": "b.txt"}),
            (["games=0", "out=a=b.txt"], {"out": "a=b.txt"}),
            (["games=0", "out=="], {"out": "="}),
            (["games=0", "seed=1", "seed=2"], {"seed": 2}),
            (["", " "], {"out": " "}),
            (["games", "out"], {"out": "out"}),
            (["-7", "дані.txt"], {"games": -7, "out": "дані.txt"}),
            ([" -2x", "-hh"], {"games": -2, "out": "-hh"}),
            (["0", "help"], {"out": "help"}),
        ):
            with self.subTest(arguments):
                self.assert_header(arguments, **options)
                out = options.get("out", "data.txt")
                self.assertEqual(os.listdir(self.folder), [out])
                os.remove(self.path(out))

    def test_a_number_and_a_path(self) -> None:
        result = self.launch("2", "out.txt", "nodes=1", "maxplies=3")
        run = self.run_of(self.read("out.txt"), result.stderr)
        self.assertEqual(run.header, header(games=2, out="out.txt", nodes=1))
        self.assertEqual((run.played, run.discarded), (2, 0))
        self.assert_same_file(run.data, file_of("games=2 nodes=1 maxplies=3"))

    def test_no_argument_means_the_defaults(self) -> None:
        with subprocess.Popen([engine_path(), "datagen"], cwd=self.folder,
                              stdin=subprocess.DEVNULL, stderr=subprocess.PIPE) as engine:
            line = engine.stderr.readline().decode()
            engine.kill()
        self.assertEqual(line, header() + "\n")
        self.assertEqual(os.listdir(self.folder), ["data.txt"])

    def test_no_games(self) -> None:
        for games in (0, -3):
            run = self.generate(f"games={games}")
            self.assertEqual((run.data, run.progress), (b"", []))
            self.assertEqual((run.played, run.written, run.discarded), (0, 0, 0))

    def test_what_stands_behind_a_number_is_remarked_on(self) -> None:
        for argument, option, read in (("games=0k", "games=0k", 0), ("0k", "games=0k", 0)):
            result = self.launch(argument, "nodes=5e3")
            remarks = f"{READ_AS.format(option, read)}\n{READ_AS.format('nodes=5e3', 5)}\n"
            self.assertTrue(result.stderr.decode().startswith(remarks + "datagen: games=0 "))
        for argument in ("abc", "games=abc", "games=", "games= 0 ", "score=true"):
            result = self.launch("games=0", argument)
            self.assertEqual(result.stderr.decode().count("\n"), 2, argument)

    def test_help(self) -> None:
        for arguments in (["--help"], ["-h"], ["help"], ["5", "data.txt", "--help"],
                          ["games=1", "help"], ["x=1", "-h"], ["-h", "1", "2", "3"]):
            with self.subTest(arguments):
                self.write("data.txt", EARLIER)
                result = self.launch(*arguments)
                self.assertEqual((result.returncode, result.stdout), (0, b""))
                shown = dict(re.findall(r"^  (\w+)=(\S+) +\S", result.stderr.decode(), re.MULTILINE))
                self.assertEqual(len(shown), 19)
                for key, value in HEADER_DEFAULTS.items():
                    self.assertEqual(shown[key], str(value))
                self.assertEqual(os.listdir(self.folder), ["data.txt"])
                self.assertEqual(self.read(), EARLIER)
                os.remove(self.path("data.txt"))
                self.launch(*arguments)
                self.assertEqual(os.listdir(self.folder), [])

    def test_refused_arguments(self) -> None:
        self.write("kept.txt", EARLIER)
        given = ["games=1", "out=kept.txt", "nodes=1"]
        for key in ("Games", "GAMES", " games", "games ", "", "threads", "hash", "skip", "depth",
                    "партій", "--games"):
            self.assert_refused([*given, f"{key}=1"], UNKNOWN_KEY.format(key))
            self.assert_refused([f"{key}=1=2", *given], UNKNOWN_KEY.format(key))
        for surplus in ("x", "", "3", " ", "skipcheck", "зайве"):
            self.assert_refused(["1", "kept.txt", surplus], SURPLUS.format(surplus))
            arguments = ["seed=3", "1", "nodes=1", "kept.txt", "score=0", surplus, "seed=4"]
            self.assert_refused(arguments, SURPLUS.format(surplus))
        self.assert_refused(["a=1", "1", "kept.txt", "x"], UNKNOWN_KEY.format("a"))
        self.assert_refused(["1", "kept.txt", "x", "a=1"], SURPLUS.format("x"))
        self.assert_refused(["1", "new.txt", "x"], SURPLUS.format("x"))
        self.assert_refused(["a=b.txt"], UNKNOWN_KEY.format("a"))
        self.assertEqual(os.listdir(self.folder), ["kept.txt"])
        self.assertEqual(self.read("kept.txt"), EARLIER)


class Reports(DataGenTest):
    OPTIONS = "nodes=20 openingcap=60 openingtries=1 maxplies=20"
    GAMES = 9

    def test_progress(self) -> None:
        singles = [self.generate(shard(self.OPTIONS, 1 + i)) for i in range(self.GAMES)]
        self.assertEqual({run.played for run in singles}, {0, 1})  # some are discarded
        for every in (1, 2, 3, self.GAMES, self.GAMES + 1, 0, -1):
            run = self.generate(f"{self.OPTIONS} games={self.GAMES} progress={every}")
            expected = [
                (count, self.GAMES, sum(run.written for run in singles[:count]),
                 sum(run.discarded for run in singles[:count]))
                for count in range(1, self.GAMES + 1)
                if every > 0 and count % every == 0 and singles[count - 1].played
            ]
            self.assertEqual(run.progress, expected, every)
            self.assertEqual(run.played, sum(run.played for run in singles))
            self.assertEqual(run.written, sum(run.written for run in singles))

    def test_every_hundredth_game_by_default(self) -> None:
        run = self.generate("games=101 nodes=1 randomplies=0 maxplies=0")
        self.assertEqual(run.progress, [(100, 101, 0, 0)])
        self.assertEqual((run.played, run.data), (101, b""))

    def test_paths_as_they_were_given(self) -> None:
        for out in ("./data.txt", self.path("data.txt"), "дані", "a b"):
            with self.subTest(out):
                result = self.launch("games=0", f"out={out}")
                self.assertEqual(result.stderr.decode().split("\n")[0], header(games=0, out=out))

    def test_the_systems_own_files(self) -> None:
        options = ["games=3", "nodes=1", "maxplies=9"]
        data = self.generate(" ".join(options)).data
        result = self.launch(*options, "out=/dev/stdout")
        self.assertEqual((result.returncode, result.stdout), (0, data))
        result = self.launch(*options, "out=/dev/null")
        self.assertEqual((result.returncode, result.stdout), (0, b""))

    def test_closed_streams(self) -> None:
        """A file opened then gets the stream's number; the report must not go into it."""
        options = "games=3 nodes=1 maxplies=9 progress=1"
        for stream in (0, 1, 2):
            with self.subTest(stream=stream):
                result = self.launch(*options.split(), preexec_fn=lambda: os.close(stream))
                self.assertEqual(result.returncode, 0)
                self.assert_same_file(self.read(), file_of(options))


class Repeatability(DataGenTest):
    OPTIONS = {
        "nodes=60": 1,
        "nodes=0 maxdepth=2 randomplies=30 score=0": MAX_I64 - 2,
        "nodes=25 skipcheck=0 skipquiet=0 evalcap=99999": MAX_U64 - 2,
        "nodes=40 openingcap=40 openingtries=2": MAX_U64,
        "nodes=1 maxplies=5 progress=1": 0,
    }
    GAMES = 6
    SPLITS = [(1, 1, 1, 1, 1, 1), (2, 4), (5, 1), (3, 0, 3)]

    def test_a_run_is_the_sum_of_its_shards(self) -> None:
        for options, seed in self.OPTIONS.items():
            with self.subTest(options):
                whole = self.generate(shard(options, seed, self.GAMES)).data
                again = self.generate(shard(options, seed, self.GAMES)).data
                self.assert_same_file(again, whole)
                self.assertGreater(len(set(self.shards(options, seed, self.SPLITS[0]))), 2)
                for split in self.SPLITS:
                    joined = b"".join(self.shards(options, seed, split))
                    self.assert_same_file(joined, whole, split)

    def shards(self, options: str, seed: int, split: tuple[int, ...]) -> list[bytes]:
        starts = accumulate(split, initial=seed)
        return [file_of(shard(options, start, games)) for start, games in zip(starts, split)]

    def test_without_random_plies_all_games_are_one(self) -> None:
        one = self.generate("games=1 nodes=40 randomplies=0").data
        self.assertTrue(one)
        for seed in (1, 77):
            run = self.generate(f"games=3 nodes=40 randomplies=0 seed={seed}")
            self.assert_same_file(run.data, 3 * one)

    def test_every_build_writes_the_same_bytes(self) -> None:
        with open(os.path.join(DATA, "datagen.sha256"), encoding="utf-8") as file:
            known = [line.split(maxsplit=1) for line in file if not line.startswith("#")]
        self.assertGreaterEqual(len(known), 3)
        for digest, options in known:
            data = self.generate(options).data
            self.assertEqual(hashlib.sha256(data).hexdigest(), digest, options)


class Openings(DataGenTest):
    """Every opening is drawn once more here, from the generator's definition, and judged by a
    search through the protocol.  One ply a game is enough to see them."""

    ANY = {"openingcap": 1000000, "openingtries": 1}

    def setUp(self) -> None:
        super().setUp()
        self.judge = Engine()
        self.addCleanup(self.judge.kill)

    def set_up(self, moves: list[str]) -> None:
        self.judge.send(f"position startpos{' moves ' if moves else ''}{' '.join(moves)}")

    def draw(self, twister: Twister, plies: int) -> list[str] | None:
        moves: list[str] = []
        for _ in range(plies):
            self.set_up(moves)
            legal = self.judge.legal_moves()
            if not legal:
                return None
            moves.append(legal[twister.below(len(legal)) if len(legal) > 1 else 0])
        self.set_up(moves)
        return moves if self.judge.legal_moves() else None

    def evaluate(self, moves: list[str], nodes: int, maxdepth: int) -> int:
        """The score after the iteration that spends the nodes, for the side to move."""
        self.judge.send("ucinewgame")
        self.set_up(moves)
        self.judge.send(f"go depth {min(max(maxdepth, 1), 128)}")
        score = 0
        while match := re.match(r"info depth .* score (cp|mate) (-?\d+) nodes (\d+) ",
                                self.judge.read_line()):
            score = int(match[2])
            if match[1] == "mate":
                score = 30001 - 2 * score if score > 0 else -30000 - 2 * score
            if 1 <= nodes <= int(match[3]):
                self.judge.send("stop")
                self.judge.read_until(grammar.BEST_MOVE)
                break
        return score

    def opening(self, seed: int, plies: int, nodes: int, maxdepth: int, cap: int, tries: int):
        """FEN and score of the opening of a game, or None."""
        twister = Twister(seed)
        for _ in range(tries):
            moves = self.draw(twister, plies)
            if moves is not None:
                score = self.evaluate(moves, nodes, maxdepth)
                if abs(score) <= cap:
                    return self.judge.fen(), score
        return None

    def check(self, games: int, seed: int, plies: int, nodes: int, maxdepth: int,
              **limits: int) -> Run:
        cap, tries = limits.get("openingcap", 200), limits.get("openingtries", 12)
        expected, discarded = "", 0
        for game in range(games):
            found = self.opening((seed + game) & MAX_U64, plies, nodes, maxdepth, cap, tries)
            if found is None:
                discarded += 1
                continue
            ply = Ply(found[0], found[1] if " w " in found[0] else -found[1])
            if end_by_rule(ply, []) is None:
                expected += f"{ply.fen} [0.5] [{ply.score}]\n"
        run = self.generate(f"{shard(ONE_PLY, seed, games)} randomplies={plies} nodes={nodes}"
                            f" maxdepth={maxdepth} {as_arguments(limits)}")
        self.assert_same_file(run.data, expected.encode())
        self.assertEqual(run.discarded, discarded)
        return run

    def test_the_generator_itself(self) -> None:
        twister = Twister(5489)
        numbers = [twister.next() for _ in range(10000)]
        self.assertEqual(numbers[-1], 9981545732273789042)  # known from the C++ standard

    def test_random_plies(self) -> None:
        for plies, games in ((0, 2), (-1, 1), (1, 6), (2, 6), (3, 3), (8, 10), (31, 4)):
            with self.subTest(plies=plies):
                run = self.check(games, 3, plies, 0, 1, **self.ANY)
                self.assertEqual(run.written, games)

    def test_seeds(self) -> None:
        for seed in (0, 2**32 - 1, MAX_I64, MAX_U64 - 1):  # the last one wraps
            with self.subTest(seed=seed):
                self.check(3, seed, 6, 0, 1, **self.ANY)

    def test_openings_out_of_balance_are_drawn_again(self) -> None:
        discarded = [
            self.check(16, 50, 8, 0, 2, openingcap=30, openingtries=tries).discarded
            for tries in (1, 2, 12)
        ]
        self.assertGreater(discarded[0], discarded[1])
        self.assertGreater(discarded[1], discarded[2])
        self.check(8, 50, 8, 0, 2, openingcap=0, openingtries=3)
        self.assertEqual(self.check(3, 50, 8, 0, 1, openingcap=-1).discarded, 3)
        for tries in (0, -1):
            self.assertEqual(self.check(3, 50, 0, 0, 1, openingtries=tries).discarded, 3)

    def test_random_games_that_end_too_soon(self) -> None:
        self.assertGreater(self.check(5, 12, 250, 0, 1, **self.ANY).discarded, 0)
        self.check(4, 12, 250, 0, 1, openingcap=1000000, openingtries=3)

    def test_a_random_game_that_ends_with_the_last_ply(self) -> None:
        seed, plies = 22, 35
        self.assertIsNone(self.draw(Twister(seed), plies))
        self.assertEqual(self.check(1, seed, plies, 0, 1, **self.ANY).discarded, 1)
        self.assertEqual(self.check(1, seed, plies - 1, 0, 1, **self.ANY).discarded, 0)

    def test_defaults(self) -> None:
        """Openings at the border of the default cap and of the default tries."""
        for name, scores, played in (("played", (200,), 1), ("discarded", (201, 202, 203), 0)):
            seed = int(seeds(name)[0])
            run = self.check(1, seed, 8, 0, 1, openingtries=1)
            self.assertEqual(run.played, played)
            self.assertIn(abs(self.opening(seed, 8, 0, 1, max(scores), 1)[1]), scores)
        for tries, played in ((12, 1), (13, 0)):
            seed = int(seeds(f"{tries}-tries")[0])
            run = self.check(1, seed, 8, 0, 1, openingcap=8)
            self.assertEqual(run.played, played)
            self.check(1, seed, 8, 0, 1, openingcap=8, openingtries=tries)
            self.assertIsNone(self.opening(seed, 8, 0, 1, 8, tries - 1))
            self.assertIsNotNone(self.opening(seed, 8, 0, 1, 8, tries))

    def test_nodes_and_depth(self) -> None:
        self.judge.send("ucinewgame", "position startpos")
        spent = [nodes for _, nodes in self.judge.nodes("go depth 7")]
        self.assertEqual(spent, sorted(set(spent)))
        for nodes in {1, *spent, *(n + 1 for n in spent[:-1])}:
            self.check(1, 1, 0, nodes, 12)
        for maxdepth in (1, 2, 5, 0, -5):
            self.check(2, 1, 4, 0, maxdepth, **self.ANY)
        self.check(2, 1, 4, -3, 3, **self.ANY)
        self.check(2, 1, 4, 500, 2, **self.ANY)
        self.check(2, 1, 4, 500, 200, **self.ANY)


@functools.cache
def uncut_games(options: str) -> list[Game]:
    """Games with every position written, which go on to an end by rule."""
    return read_games(file_of(f"{UNCUT} {options}"))


def ends_and_minor_pieces(games: list[Game]) -> tuple[set[str], set[str]]:
    """How games end, where the file tells, and which four men were left in them."""
    ends, minor_pieces = set(), set()
    for game in games:
        rules = set(game.last_moves.values())
        if len(rules) == 1:
            ends.add(f"{game.result} {rules.pop()}")
        for ply in game.plies:
            men = "".join(sorted("".join(ply.position.board.values()).lower()))
            if len(men) == 4 and not set(men) - set("bnk"):
                minor_pieces.add(men)
    return ends, minor_pieces


def has_en_passant(game: Game) -> bool:
    pairs = zip(game.plies, game.plies[1:], game.quiet)
    return any(not quiet and ply.position.en_passant in after.position.board
               for ply, after, quiet in pairs)


def unseen_defaults(games: list[Game]) -> list[str]:
    """Defaults that these games would not show to be wrong."""
    def lines(options: Options) -> list[str]:
        return [line for game in games for line in game.lines(options)]

    unseen = []
    for options, changes in (
        (Options(), {"skipcheck": (0,), "skipquiet": (0,), "score": (0,)}),
        (Options(skipcheck=0, skipquiet=0),
         {"resign": (950, 1050), "resignplies": (5, 7), "draw": (6, 10), "drawplies": (11, 13),
          "drawmin": (39, 41)}),
        (Options(resign=1000000, draw=-1), {"maxplies": (399, 401), "evalcap": (1950, 2050)}),
    ):
        usual = lines(options)
        unseen += [f"{key}={value}" for key, values in changes.items() for value in values
                   if lines(dataclasses.replace(options, **{key: value})) == usual]
    return unseen


class Games(DataGenTest):
    GAMES, = seeds("games")  # one of these lasts more than 400 plies
    ENDINGS = seeds("endings")  # with these every default of the adjudication decides something
    EN_PASSANT, = seeds("en-passant")
    # These go through positions that occurred among the random plies.
    REPEATED = "games=3 seed=1 maxdepth=1 randomplies=400 openingtries=3"

    OPTIONS = [
        {},
        {"score": 0},
        {"skipcheck": 0},
        {"skipquiet": 0},
        {"skipcheck": 0, "skipquiet": 0, "evalcap": 1000000},
        {"evalcap": 0, "skipquiet": 0},
        {"evalcap": -1},
        {"evalcap": 50, "score": 0},
        {"evalcap": 300, "skipcheck": 0, "resign": 100000},
        {"resign": 1000000, "draw": -1, "evalcap": 1000000},
        {"resign": 400, "resignplies": 1},
        {"resign": 150, "resignplies": 2},
        {"resign": 60, "resignplies": 4, "skipquiet": 0},
        {"resign": 0, "resignplies": 3},
        {"resign": -5, "resignplies": 30},
        {"resign": 29990, "resignplies": 1},
        {"draw": 40, "drawplies": 1, "drawmin": 0},
        {"draw": 40, "drawplies": 3, "drawmin": 0, "skipcheck": 0},
        {"draw": 40, "drawplies": 3, "drawmin": 25, "resign": 300},
        {"draw": 0, "drawplies": 2, "drawmin": 10},
        {"draw": 1000000, "drawplies": 5, "drawmin": 7},
        {"draw": 1000000, "drawplies": 4, "resign": 0, "resignplies": 4, "drawmin": 0},
        {"draw": 150, "drawplies": 20, "drawmin": -9, "resign": 150, "resignplies": 3},
        *({"maxplies": plies} for plies in (0, -1, 1, 2, 7, 50)),
        {"maxplies": 20, "skipcheck": 0, "skipquiet": 0, "resign": 100, "resignplies": 20},
    ]

    def check(self, base: str, options: dict[str, int]) -> None:
        games = uncut_games(base)
        asked = Options(**options)
        expected = "".join(line for game in games for line in game.lines(asked))
        run = self.generate(f"openingcap=1000000 openingtries=1 {base} {as_arguments(options)}")
        self.assert_same_file(run.data, expected.encode(), options)

    def test_games_follow_the_rules(self) -> None:
        games = [game for run in (self.GAMES, *self.ENDINGS, *seeds("rare"), self.REPEATED)
                 for game in uncut_games(run)]
        self.assertEqual(len(uncut_games(self.REPEATED)), 3)
        for game in games:
            game.check_moves()
            self.assertTrue(game.last_moves, game.plies[-1].fen)
        ends, minor_pieces = ends_and_minor_pieces(games)
        self.assertEqual(ends, ALL_ENDS)
        self.assertGreaterEqual(minor_pieces, ALL_MINOR_PIECES)

    def test_options_only_cut_games_and_leave_positions_out(self) -> None:
        for base in (self.GAMES, *self.ENDINGS):
            for options in self.OPTIONS:
                with self.subTest(base, **options):
                    self.check(base, options)

    def test_en_passant_is_a_capture(self) -> None:
        game = uncut_games(self.EN_PASSANT)[0]
        self.assertTrue(has_en_passant(game))
        self.check(self.EN_PASSANT, {"resign": 1000000, "draw": -1, "evalcap": 1000000})

    def test_scores_on_a_threshold(self) -> None:
        """They count for resigning and for a draw, and they are too much for the file."""
        scores = [abs(ply.score) for ply in uncut_games(self.GAMES)[0].plies[:30]]
        for options in ({"resign": max(scores), "resignplies": 1},
                        {"draw": min(scores), "drawplies": 1, "drawmin": 0},
                        {"evalcap": max(scores)}):
            self.check(self.GAMES, {**options, "skipcheck": 0, "skipquiet": 0})

    def test_the_length_cap_comes_before_the_rules(self) -> None:
        game = uncut_games(self.GAMES)[0]
        self.assertEqual(set(game.last_moves.values()), {"mate"})
        wide = {"resign": 1000000, "draw": -1, "evalcap": 1000000, "skipquiet": 0}
        for plies, result in ((len(game.plies), "0.5"), (len(game.plies) + 1, game.result)):
            self.check(self.GAMES, {**wide, "maxplies": plies})
            self.assertEqual(read_games(self.read())[0].result, result)

    def test_every_default_matters(self) -> None:
        games = [game for run in (self.GAMES, *self.ENDINGS) for game in uncut_games(run)]
        self.assertEqual(unseen_defaults(games), [])

    def test_equal_efforts(self) -> None:
        for same in (
            ("nodes=0 maxdepth=2", "nodes=-7 maxdepth=2", f"nodes={MAX_I64} maxdepth=2"),
            ("nodes=0 maxdepth=1", "nodes=1", "nodes=0 maxdepth=0", "nodes=0 maxdepth=-4"),
            ("nodes=200 maxdepth=128", "nodes=200 maxdepth=129", "nodes=200 maxdepth=1000000"),
        ):
            for options in same[1:]:
                run = self.generate(f"games=2 seed=9 {options}")
                self.assert_same_file(run.data, file_of(f"games=2 seed=9 {same[0]}"), options)

    def test_other_efforts(self) -> None:
        efforts = ("nodes=0 maxdepth=1", "nodes=0 maxdepth=2", "nodes=100", "nodes=400")
        files = {file_of(f"games=2 seed=9 {options}") for options in efforts}
        self.assertEqual(len(files), len(efforts))

    def test_positions_are_legal(self) -> None:
        """With the default filters and effort: what a user of the file relies on."""
        run = self.generate("games=2 seed=4 nodes=300")
        self.assertTrue(run.data)
        for line in run.data.decode().splitlines(keepends=True):
            fen, _, score = LINE.fullmatch(line).groups()
            position = Position(fen)
            self.assertEqual(position.fen(), fen)
            self.assertFalse(position.in_check())
            self.assertFalse(position.king_attacked(not position.white))
            self.assertTrue(position.legal_moves())
            self.assertLess(abs(int(score)), 2000)


class Interrupted(DataGenTest):
    """A run that is killed leaves whole games.  Short games are written often; long ones are
    larger than any buffer."""

    OPTIONS = {
        "short": f"{UNCUT} nodes=1 randomplies=20 maxplies=4",
        "long": f"{UNCUT} maxdepth=2 randomplies=4",
    }
    GAMES = 24
    SIGNALS = (signal.SIGKILL, signal.SIGTERM, signal.SIGINT)
    KILLS = 36  # of each of the two tests

    def setUp(self) -> None:
        super().setUp()
        self.rng = random.Random(20240501)
        self.torn = 0
        self.sizes, self.whole, self.seconds = {}, {}, {}
        for kind, options in self.OPTIONS.items():
            self.sizes[kind] = boundaries(options, self.GAMES)
            self.whole[kind] = file_of(shard(options, 1, self.GAMES))
            start = time.monotonic()
            self.begin(kind, 0).communicate()
            self.seconds[kind] = time.monotonic() - start
            self.assertEqual(self.whole_games(kind), self.GAMES)

    def test_games_are_as_long_as_meant(self) -> None:
        for sizes in self.sizes.values():
            self.assertEqual(len(set(sizes)), self.GAMES + 1)  # each wrote something
        sizes = self.sizes["long"]
        self.assertGreater(max(b - a for a, b in zip(sizes, sizes[1:])), 8192)

    def begin(self, kind: str, progress: int) -> subprocess.Popen:
        def heed_interrupts() -> None:  # which a shell makes its background jobs ignore
            signal.signal(signal.SIGINT, signal.SIG_DFL)

        if os.path.exists(self.path("data.txt")):  # it would stay if no game is finished
            os.remove(self.path("data.txt"))
        arguments = [*self.OPTIONS[kind].split(), f"games={self.GAMES}", f"progress={progress}"]
        engine = subprocess.Popen([engine_path(), "datagen", *arguments], cwd=self.folder,
                                  stdin=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                  preexec_fn=heed_interrupts)
        engine.stderr.readline()
        return engine

    def whole_games(self, kind: str) -> int:
        """How many games are in the file, which must hold nothing else.

        When the system kills a process in the middle of a write, it may leave that write at the
        end of a page.  Such a file is counted as torn; there can be few of them."""
        data = self.read()
        self.assert_same_file(data, self.whole[kind][: len(data)])
        if len(data) not in self.sizes[kind]:
            self.assertEqual(len(data) % resource.getpagesize(), 0)
            self.torn += 1
            self.assertLessEqual(self.torn, self.KILLS // 8)
        return bisect.bisect(self.sizes[kind], len(data)) - 1

    def kill_runs(self, progress: int, wait: Callable[[str, subprocess.Popen], int]) -> None:
        """Kills runs after a wait that returns how many games it saw reported."""
        kills = 0
        for attempt in range(5 * self.KILLS):
            kind, number = tuple(self.OPTIONS)[attempt % 2], self.SIGNALS[attempt % 3]
            engine = self.begin(kind, progress)
            reported = wait(kind, engine)
            engine.send_signal(number)
            reported += engine.stderr.read().count("партій/с\n".encode())
            engine.stderr.close()
            status = engine.wait(DEADLINE)
            games = self.whole_games(kind)
            if status == 0:  # it was faster
                self.assertEqual(games, self.GAMES)
                continue
            self.assertEqual(status, -number)
            if progress:  # at most one game is in the file that has not been reported
                self.assertIn(games - reported, (0, 1))
            kills += 1
            if kills == self.KILLS:
                return
        self.fail(f"only {kills} runs were killed")

    def test_at_any_moment(self) -> None:
        def wait(kind: str, _: subprocess.Popen) -> int:
            time.sleep(self.rng.uniform(0, 0.6 * self.seconds[kind]))
            return 0

        self.kill_runs(0, wait)

    def test_what_was_reported_is_in_the_file(self) -> None:
        def wait(kind: str, engine: subprocess.Popen) -> int:
            reported = self.rng.randrange(8)
            for _ in range(reported):
                engine.stderr.readline()
            time.sleep(self.rng.uniform(0, self.seconds[kind] / self.GAMES))
            return reported

        self.kill_runs(1, wait)


class EarlierFile(DataGenTest):
    """A file is replaced when the first game is to be written, not before."""

    def setUp(self) -> None:
        super().setUp()
        self.write("data.txt", EARLIER)

    def test_stays_without_a_game(self) -> None:
        for arguments in (["0"], ["games=-3"], ["games=abc"], ["games=all", "nodes=1"],
                          ["games=3", "openingtries=0"], ["games=3", "openingcap=-1", "nodes=1"]):
            with self.subTest(arguments):
                result = self.launch(*arguments)
                self.assertEqual(result.returncode, 0)
                self.assertRegex(result.stderr.decode().splitlines()[-1], SUMMARY)
                self.assertEqual(self.read(), EARLIER)

    def test_stays_until_the_first_game_is_played(self) -> None:
        with subprocess.Popen([engine_path(), "datagen", "nodes=0", "maxdepth=128"],
                              cwd=self.folder, stdin=subprocess.DEVNULL,
                              stderr=subprocess.PIPE) as engine:
            engine.stderr.readline()  # the file is open
            time.sleep(0.2)
            engine.kill()
        self.assertEqual(self.read(), EARLIER)

    def test_is_replaced_by_games(self) -> None:
        options = "games=2 nodes=1 maxplies=9"
        self.assertEqual(self.launch(*options.split()).returncode, 0)
        self.assert_same_file(self.read(), file_of(options))

    def test_is_replaced_by_games_without_a_position(self) -> None:
        self.assertEqual(self.launch("games=1", "maxplies=0").returncode, 0)
        self.assertEqual(self.read(), b"")

    def test_is_longer_than_the_new_one(self) -> None:
        self.write("data.txt", 100_000 * b"x")
        options = "games=2 nodes=1 maxplies=9"
        self.assertEqual(self.launch(*options.split()).returncode, 0)
        self.assert_same_file(self.read(), file_of(options))

    def test_a_pipe_takes_games(self) -> None:
        os.mkfifo(self.path("pipe"))
        options = "games=3 nodes=1 maxplies=9"
        with subprocess.Popen(["cat", self.path("pipe")], stdout=subprocess.PIPE) as reader:
            result = self.launch(*options.split(), "out=pipe")
            self.assertEqual(result.returncode, 0)
            self.assert_same_file(reader.stdout.read(), file_of(options))


class FullDisk(DataGenTest):
    OPTIONS = {
        "short": f"{Interrupted.OPTIONS['short']} games=5 progress=1",
        "long": f"{Interrupted.OPTIONS['long']} games=5 progress=0",
    }

    def assert_write_error(self, result, out: str, games: int, progress: int) -> None:
        """The run ends with a message of its own after the games that it could write."""
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        first, *middle, last, rest = result.stderr.decode().split("\n")
        self.assertRegex(first, r"^datagen: games=")
        self.assertEqual(len(middle), games if progress else 0)
        for line in middle:
            self.assertRegex(line, rf"\A{PROGRESS.pattern}\Z")
        self.assertTrue(last.startswith("datagen: "))
        self.assertNotEqual(last, first)
        self.assertNotRegex(last, SUMMARY)
        self.assertIn(out, last)
        self.assertEqual(rest, "")

    def test_full_device(self) -> None:
        for options in self.OPTIONS.values():
            result = self.launch(*options.split(), "out=/dev/full")
            self.assert_write_error(result, "/dev/full", 0, 0)
        result = self.launch("games=0", "out=/dev/full")
        self.assertEqual(result.returncode, 0)  # there was nothing to write

    def test_file_that_may_not_grow(self) -> None:
        for kind, options in self.OPTIONS.items():
            progress = int(kind == "short")
            sizes = boundaries(Interrupted.OPTIONS[kind], 5)
            whole = file_of(options)
            self.assertEqual(len(whole), sizes[-1])
            edges = {size + step for size in sizes for step in (-1, 0, 1)} - {-1}
            middles = {(a + b) // 2 for a, b in zip(sizes, sizes[1:])}
            for limit in sorted(edges | middles):
                games = sum(size <= limit for size in sizes) - 1
                with self.subTest(kind, limit=limit, games=games):
                    # The system sends a signal to a program that goes beyond the limit.
                    for ignored in (False, True):
                        result = self.limited(options, limit, ignored)
                        self.assert_same_file(self.read(), whole[: sizes[games]])
                        if games == 5:
                            self.assertEqual(result.returncode, 0)
                        else:
                            self.assert_write_error(result, "data.txt", games, progress)

    def limited(self, options: str, limit: int, ignored: bool):
        def set_limit() -> None:
            action = signal.SIG_IGN if ignored else signal.SIG_DFL
            signal.signal(signal.SIGXFSZ, action)
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

        self.write("data.txt", b"x" * 100)
        return self.launch(*options.split(), preexec_fn=set_limit)


class Unopenable(DataGenTest):
    def test_paths(self) -> None:
        self.write("file", b"kept\n")
        os.mkdir(self.path("folder"))
        for out in (".", "folder", "folder/", "missing/data.txt", "file/data.txt", "", 300 * "x",
                    "/proc/none/data.txt"):
            with self.subTest(out):
                self.assert_refused(["games=1", "nodes=1", f"out={out}"], CANNOT_OPEN.format(out))
                self.assert_refused(["1", out], CANNOT_OPEN.format(out))
        self.assertEqual(sorted(os.listdir(self.folder)), ["file", "folder"])
        self.assertEqual(self.read("file"), b"kept\n")

    def test_no_right_to_write(self) -> None:
        os.chmod(self.folder, 0o755)
        os.mkdir(self.path("folder"))
        self.write("file", b"kept\n")
        os.chmod(self.path("file"), 0o444)
        os.chmod(self.path("folder"), 0o555)
        # The superuser may write anywhere.
        options = {"user": 65534} if os.geteuid() == 0 else {}
        for out in ("file", "folder/data.txt"):
            try:
                result = self.launch("games=1", "nodes=1", f"out={out}", **options)
            except OSError:
                self.skipTest("nobody else may run the engine")
            self.assertEqual(result.returncode, 1)
            self.assertEqual(result.stderr.decode(), CANNOT_OPEN.format(out))
        self.assertEqual(os.listdir(self.path("folder")), [])
        self.assertEqual(self.read("file"), b"kept\n")


@needs_strace
class SystemCalls(DataGenTest):
    """What the system sees: no moment at which a part of a game is in the file."""

    OPTIONS = Interrupted.OPTIONS
    GAMES = 6

    def trace(self, options: str, *more: str):
        arguments = ["-f", "-o", self.path("trace"), "-P", self.path("data.txt"), *more]
        return self.launch(*options.split(), f"games={self.GAMES}",
                           f"out={self.path('data.txt')}", wrapper=(STRACE, *arguments))

    def test_each_write_ends_with_a_game(self) -> None:
        for options in self.OPTIONS.values():
            with self.subTest(options):
                sizes = boundaries(options, self.GAMES)
                result = self.trace(options, "-e", "trace=write,writev,pwrite64,ftruncate")
                self.assertEqual(result.returncode, 0)
                with open(self.path("trace"), encoding="utf-8") as file:
                    first, *trace = [line for line in file if "+++" not in line]
                self.assertRegex(first, r" ftruncate\w*\(\d+, 0\) += 0\n")  # what it held before
                written = [re.search(r" \w*write\w*\(.* = (\d+)\n", line) for line in trace]
                self.assertTrue(all(written), trace)
                ends = list(accumulate(int(match[1]) for match in written))
                self.assertLessEqual(set(ends), set(sizes))
                self.assertEqual(ends[-1], sizes[-1])

    def test_errors_of_the_system(self) -> None:
        options = self.OPTIONS["long"]
        sizes = boundaries(options, self.GAMES)
        whole = file_of(f"{options} games={self.GAMES}")
        for error in ("ENOSPC", "EIO", "EDQUOT"):
            for call in (1, 3):
                with self.subTest(error, call=call):
                    result = self.trace(options, "-e", "trace=write,writev", "-e",
                                        f"inject=write,writev:error={error}:when={call}")
                    self.assertEqual((result.returncode, result.stdout), (1, b""))
                    last = result.stderr.decode().split("\n")[-2]
                    self.assertTrue(last.startswith("datagen: "), last)
                    self.assertIn(self.path("data.txt"), last)
                    self.assertNotRegex(last, SUMMARY)
                    data = self.read()
                    self.assertIn(len(data), sizes[:-1])
                    self.assertTrue(whole.startswith(data))


if __name__ == "__main__":
    unittest.main()
