"""The counts of a search come from the search alone: not from memory's old contents, the session
before, the environment, the folder, the program's name or the language of the system."""

import atexit
import functools
import os
import re
import shutil
import subprocess
import tempfile
import unittest

import grammar
from client import START_FEN, EngineTest, FolderTest, engine_path
from hostile_cases import QUEENS
from test_signature import without_times

DEPTH = "5"
DEADLINE = 600.0
LOCALES = ["C", "POSIX", "C.UTF-8", "uk_UA.UTF-8", "tr_TR.UTF-8"]


@functools.cache
def made_locales() -> str | None:
    """A folder with the locales that the system lacks, or nothing where they cannot be made: their
    names alone then change little."""
    if not shutil.which("localedef"):
        return None
    folder = tempfile.mkdtemp()
    atexit.register(shutil.rmtree, folder)
    for name in ("uk_UA", "tr_TR"):
        command = ["localedef", "-i", name, "-f", "UTF-8", os.path.join(folder, f"{name}.UTF-8")]
        # Warnings of the sources' own make for a status of 1.
        if subprocess.run(command, capture_output=True, check=False).returncode > 1:
            return None
    return folder


def environment(**variables: str) -> dict[str, str]:
    return {**os.environ, **variables}


def language(name: str) -> dict[str, str]:
    """The variables that set a locale."""
    folder = made_locales()
    path = {"LOCPATH": folder} if folder and "_" in name else {}
    return {"LC_ALL": name, "LANG": name, "LANGUAGE": name, **path}


def in_language(name: str) -> dict[str, str]:
    return environment(**language(name))


def launch(*arguments: str, **options) -> subprocess.CompletedProcess:
    return subprocess.run([engine_path(), *arguments], capture_output=True, timeout=DEADLINE,
                          check=False, **options)


def bench(**options) -> list[str]:
    """The benchmark's lines in a process of its own."""
    result = launch("benchsearch", DEPTH, **options)
    if result.returncode != 0 or result.stderr:
        raise AssertionError(f"status {result.returncode}: {result.stderr!r}")
    return without_times(result.stdout.decode().splitlines())


@functools.cache
def usual() -> list[str]:
    return bench()


class OneProcess(EngineTest):
    """What a session did before changes no count."""

    BEFORE = {
        "nothing": [],
        "the same": [f"benchsearch {DEPTH}"],
        "another depth": ["benchsearch 3"],
        "a search": ["position startpos moves d2d4 g8f6", "go depth 8"],
        "a search with a clock": ["go wtime 300 btime 300"],
        "a stopped search": ["go infinite", "stop"],
        "a search that still runs": ["position startpos", "go infinite"],
        "a new game": ["ucinewgame"],
        "a game": ["position startpos moves " + 300 * "g1f3 g8f6 f3g1 f6g8 ", "go depth 5"],
        "a full board": [f"position fen {QUEENS[0]} w - -", "go infinite", "stop"],
        "mate": ["position startpos moves f2f3 e7e5 g2g4 d8h4", "go depth 3"],
        "refusals": ["position x", "setoption name Hash value x", "perft 0", "xyzzy"],
        "a perft": ["perft 3"],
        "more threads and back": ["setoption name Threads value 8", "go depth 6",
                                  "setoption name Threads value 1"],
        "more threads": ["setoption name Threads value 3", "go depth 6"],
        "another table and back": ["setoption name Hash value 1", "go depth 6",
                                   "setoption name Hash value 64"],
        "a greater table and back": ["setoption name Hash value 200", "go depth 6",
                                     "setoption name Hash value 64"],
        "another overhead": ["setoption name Move Overhead value 5000", "go movetime 20"],
        "everything back": ["setoption name Move Overhead value 10",
                            "setoption name Threads value 1", "ucinewgame"],
    }

    def run_session(self, **options) -> None:
        engine = self.start(**options)
        for name, commands in self.BEFORE.items():
            with self.subTest(name):
                for command in commands:
                    if re.match("go (?!infinite)", command):
                        engine.search(command, deadline=DEADLINE)
                    else:
                        engine.send(command)
                engine.answers(deadline=DEADLINE)
                engine.send(f"benchsearch {DEPTH}")
                lines = engine.read_until(grammar.BENCH_TOTAL, DEADLINE)
                self.assertEqual(without_times(lines[-11:]), usual())

    def test_session(self) -> None:
        self.run_session()

    def test_session_in_filled_memory(self) -> None:
        # The allocator fills what it gives with one value and what it takes back with another.
        for fill in ("1", "170", "255"):
            with self.subTest(fill=fill):
                self.run_session(wrapper=["env", f"MALLOC_PERTURB_={fill}"])


class Surroundings(FolderTest):
    """A process of its own for each: one count on every line."""

    def check(self, **options) -> None:
        self.assertEqual(bench(**options), usual())

    def test_filled_memory(self) -> None:
        for variables in (*({"MALLOC_PERTURB_": str(fill)} for fill in (0, 1, 85, 170, 254, 255)),
                          {"MALLOC_ARENA_MAX": "1"}, {"MALLOC_MMAP_THRESHOLD_": "0"},
                          {"MALLOC_TOP_PAD_": "50000000"},
                          {"MALLOC_MMAP_THRESHOLD_": "900000000", "MALLOC_PERTURB_": "127"}):
            with self.subTest(**variables):
                self.check(env=environment(**variables))

    def test_size_of_the_environment(self) -> None:
        # It moves the stack, byte by byte and page by page.
        for size in (*range(1, 17), 100, 1000, 4096, 10_000, 50_001, 100_000):
            with self.subTest(size=size):
                self.check(env={"X": size * "x"})
        with self.subTest("many variables"):
            self.check(env={f"X{i}": 90 * "x" for i in range(1000)})
        with self.subTest("none"):
            self.check(env={})

    def test_folder(self) -> None:
        for name in (200 * "x", "тека з пробілами", "a/" * 100):
            folder = self.path(name)
            os.makedirs(folder)
            with self.subTest(folder[-30:]):
                self.check(cwd=folder)
        with self.subTest("/"):
            self.check(cwd="/")

    def test_name_of_the_program(self) -> None:
        for name in ("", "m", 7 * "x", 100 * "x", 4097 * "x", 100_000 * "x", "двигун", "-quit"):
            with self.subTest(name[:20]):
                result = subprocess.run([name, "benchsearch", DEPTH], executable=engine_path(),
                                        capture_output=True, timeout=DEADLINE, check=True)
                self.assertEqual(without_times(result.stdout.decode().splitlines()), usual())

    def test_arguments_that_are_ignored(self) -> None:
        for count in (1, 100, 1000):
            with self.subTest(count=count):
                result = launch("benchsearch", DEPTH, *count * ["x" * 99])
                self.assertEqual(without_times(result.stdout.decode().splitlines()), usual())


class LanguageTest(unittest.TestCase):
    """Numbers, letters and files are the same in every language of the system."""

    @classmethod
    def setUpClass(cls) -> None:
        if not made_locales():
            print("(no locales can be made: their names alone) ", end="", flush=True)

    def same_everywhere(self, run) -> None:
        """Whether what `run` returns for a language's environment is what it returns for C."""
        expected = run(in_language("C"))
        for name in LOCALES:
            with self.subTest(name):
                self.assertEqual(run(in_language(name)), expected)

    def output(self, *arguments: str, **options) -> list[str]:
        result = launch(*arguments, **options)
        self.assertEqual(result.returncode, 0, result.stderr)
        # A table of nearly all memory may be had once and not another time.
        lines = [line for line in result.stdout.decode().splitlines() if "виділити" not in line]
        return without_times(lines)


class LanguagesOfASession(LanguageTest, EngineTest):
    # Everything that writes or reads numbers, capital letters, or a decimal point.
    CONVERSATION = [
        "uci", "position startpos moves e2e4", "d", "ucinewgame", "perft 4",
        "setoption name HASH value 1234567i", "setoption NAME threads value İ",
        "setoption name mOVE oVERHEAD value 1,5", "setoption name Hash value 2147483647",
        "setoption name Hash value 4", "position fen x", "position startpos moves e2e4 e7e5 İ",
        f"position fen {START_FEN.replace('0 1', '99 999999999')}", "d", "perft 1", "benchsearch 2",
        "quit",
    ]

    @unittest.skipUnless(shutil.which("locale"), "asks the system whether a locale is real")
    def test_locales_are_real(self) -> None:
        if not made_locales():
            self.skipTest("no locales can be made")
        for name in LOCALES:
            with self.subTest(name):
                result = subprocess.run(["locale", "-k", "decimal_point"], env=in_language(name),
                                        capture_output=True, check=True)
                self.assertEqual(result.stderr, b"")
                self.assertIn(b'","' if "_" in name else b'"."', result.stdout)

    def test_conversation(self) -> None:
        text = "".join(line + "\n" for line in self.CONVERSATION).encode()
        self.assertIn("Nodes searched: 197281", self.output(input=text, env=in_language("C")))
        self.same_everywhere(lambda env: self.output(input=text, env=env))

    def test_search(self) -> None:
        def nodes(env: dict[str, str]) -> list[tuple[int, int]]:
            variables = (f"{name}={env[name]}" for name in ("LC_ALL", "LOCPATH") if name in env)
            return self.start(wrapper=["env", *variables]).nodes("go depth 8")

        self.same_everywhere(nodes)


class LanguagesOfModes(LanguageTest, FolderTest):
    def test_benchmark(self) -> None:
        self.same_everywhere(lambda env: bench(env=env))

    def test_other_modes(self) -> None:
        eval_trace = ["evaltrace", START_FEN.replace("0 1", "9 1")]
        for arguments in (["perft", START_FEN, "4"], eval_trace, ["tuneparams"], ["egscale"]):
            with self.subTest(arguments[0]):
                self.same_everywhere(
                    lambda env: self.output(*arguments, input=START_FEN.encode(), env=env))

    def test_self_play_and_its_export(self) -> None:
        def files(env: dict[str, str]) -> tuple[bytes, bytes, bytes]:
            played = launch("datagen", "games=1", "seed=3", "nodes=2000", "out=data.txt",
                            cwd=self.folder, env=env)
            self.assertEqual(played.returncode, 0, played.stderr)
            last = played.stderr.decode().splitlines()[-1]
            self.assertRegex(last, r" 1 партій, \d+ позицій, \d+ відкинуто, \d+\.\d+ с\Z")
            export = launch("featureexport", self.path("data.txt"), self.path("rows.txt"), env=env)
            self.assertEqual(export.returncode, 0, export.stderr)
            result = self.read("data.txt"), self.read("rows.txt"), export.stderr
            os.remove(self.path("data.txt"))
            os.remove(self.path("rows.txt"))
            return result

        self.assertGreater(files(in_language("C"))[0].count(b"\n"), 20)
        self.same_everywhere(files)


if __name__ == "__main__":
    unittest.main()
