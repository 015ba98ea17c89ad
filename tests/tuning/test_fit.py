"""The program tuning/fit: what it finds, what it leaves alone, what it writes, and how it goes on."""

from __future__ import annotations

import json
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
from typing import ClassVar

from client import DEADLINE, FolderTest, engine_path, run_mode

try:
    import built_in
    import listing
    import numpy as np
    import storewriter
    import tables
    import training  # noqa: F401: needs scipy
    from built_in import ROOT, SQUARES, TUNING
except ImportError as error:
    raise unittest.SkipTest(f"{error}") from None

QUICK = ("--spread", "1:1", "--patience", "1")


class FitTest(FolderTest):
    """Games, in a store of many small blocks."""

    GAMES = ("games=60", "nodes=200", "seed=5", "skipcheck=0", "skipquiet=0", "evalcap=32000")
    data: ClassVar[str]  # of all these tests
    folder_of_all: ClassVar[tempfile.TemporaryDirectory]

    @classmethod
    def setUpClass(cls) -> None:
        cls.folder_of_all = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder_of_all.cleanup)
        path = os.path.join(cls.folder_of_all.name, "data.txt")
        run_mode("datagen", *cls.GAMES, f"out={path}")
        with open(path, encoding="ascii") as file:
            cls.data = cls.with_far_pawns_winning(file.read())

    def setUp(self) -> None:
        super().setUp()
        self.weights = built_in.weights()
        self.store = self.path("store")

    @staticmethod
    def with_far_pawns_winning(data: str, field: str = r"\[[\d.]+\]", win: str = "[1.0]", draw: str = "[0.5]",
                               loss: str = "[0.0]") -> str:
        """Gives each position to the side whose pawns have come farther: a fit must see that."""
        lines = []
        for line in data.splitlines():
            ranks = line.split("/", 7)
            white = sum(row.count("P") * (6 - place) for place, row in enumerate(ranks))
            black = sum(row.count("p") * (place - 1) for place, row in enumerate(ranks))
            told = win if white > black else loss if white < black else draw
            lines.append(re.sub(field, told, line, count=1) + "\n")
        return "".join(lines)

    def pack(self, data: str | None = None, full: int = 256) -> str:
        """A store of the data, in blocks of so many rows."""
        shutil.rmtree(self.store, ignore_errors=True)
        path = self.write("data.txt", (data or self.data).encode())
        subprocess.run([f"{TUNING}/pack", self.store, path, "--engine", engine_path(), "--packer",
                        os.environ["MORVANE_PACK"]], capture_output=True, check=True)
        storewriter.cut(self.store, full)
        return self.store

    def command(self, *options: str) -> list[str]:
        return [f"{TUNING}/fit", self.store, "--engine", engine_path(), "--listing", self.path("new.txt"),
                "--tables", self.path("new.h"), "--jobs", "1", *options]

    def fit(self, *options: str, wrapper: tuple[str, ...] = (), command: list[str] | None = None,
            ) -> subprocess.CompletedProcess:
        return subprocess.run([*wrapper, *(command or self.command(*options))], capture_output=True, text=True,
                              check=False, timeout=4 * DEADLINE)

    def fitted(self, *options: str, **named: object) -> str:
        """What the program prints; the new weights are in new.txt."""
        done = self.fit(*options, **named)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        return done.stdout

    def files(self) -> dict[str, bytes]:
        return {name: self.read(name) for name in os.listdir(self.folder) if os.path.isfile(self.path(name))}

    def assert_refused(self, message: str, *options: str, status: int = 2) -> None:
        """In one line, and nothing is written."""
        before = self.files()
        done = self.fit(*options)
        with self.subTest(message):
            self.assertEqual((done.returncode, done.stdout, done.stderr.count("\n")), (status, "", 1), done.stderr)
            self.assertIn(message, done.stderr)
            self.assertEqual(self.files(), before)


class Learning(FitTest):
    def test_from_games_to_tables(self) -> None:
        self.pack()
        told = self.fitted("--spread", "1:1,10:10", "--mix", "0", "--held-out", "3")
        fitted = listing.read(self.path("new.txt"))
        choice = listing.read_choice(SQUARES, fitted.names)
        moved = fitted.values != self.weights.values
        self.assertFalse(moved[~choice.free].any())
        self.assertGreater(moved.sum(), 50)
        self.assertNotIn("the weights are unchanged", told)
        self.assertTrue((fitted.values <= choice.high)[choice.free].all())
        self.assertEqual(self.read("new.h").decode(), tables.source(fitted))
        before, after = re.search(r" 0 to 24 +\d+ +([\d.]+) +([\d.]+)", told).groups()
        self.assertLess(float(after), float(before))
        change = fitted.values - self.weights.values
        third, fifth = (sum(change[fitted.index(f"{block}{8 * row}"):][:8].sum()
                            for block in ("pstMg_P_", "pawnEg_")) for row in (5, 3))
        self.assertLess(third, fifth)
        self.assertEqual(sorted(self.files()), ["data.txt", "new.h", "new.txt"])

    def test_a_fit_that_learns_nothing_says_so(self) -> None:
        """The games held out tell the opposite of the others."""
        scored = self.with_far_pawns_winning(self.data, r"\[-?\d+\]$", "[300]", "[0]", "[-300]")
        game, last, lines = -1, ("", 0), []
        for line in scored.splitlines():
            number, result = int(line.split()[5]), line.split()[6]
            ply = 2 * number + (line.split()[1] == "b")
            game += (last[0] != result or ply <= last[1])
            last = (result, ply)
            lines.append(re.sub(r"\[(-?)300\]$", lambda told: f"[{'' if told[1] else '-'}300]", line)
                         if game % 3 == 2 else line)
        self.pack("\n".join(lines) + "\n")
        told = self.fitted("--scores-alone", "210", "--spread", "10:10", "--held-out", "3", "--patience", "2")
        self.assertIn("no step was better on the held-out games: the weights are unchanged", told)
        self.assertTrue((listing.read(self.path("new.txt")).values == self.weights.values).all())

    def test_scores_alone(self) -> None:
        data = self.with_far_pawns_winning(self.data, r"\[-?\d+\]$", "[300]", "[0]", "[-300]")
        options = ("--scores-alone", "210", "--spread", "10:10", "--patience", "3")
        self.pack(data)
        self.fitted(*options)
        learned = self.read("new.txt")
        self.assertTrue((listing.read(self.path("new.txt")).values != self.weights.values).any(),
                        "the fit has moved nothing")
        self.pack(re.sub(r"\[([10])\.0\]", lambda won: f"[{1 - int(won[1])}.0]", data))
        self.fitted(*options)
        self.assertTrue(self.read("new.txt") == learned, "results have been looked at")
        self.pack(re.sub(r" \[[-\d]+\]\n", "\n", data))
        self.assert_refused("the data are without scores", *options)
        self.assert_refused("the data are without scores")
        self.fitted(*QUICK, "--mix", "0")

    def test_the_report(self) -> None:
        self.pack()
        report = self.path("report.html")
        self.fitted("--spread", "1:1,5:5", "--passes", "3", "--report", report)
        page = self.read("report.html").decode()
        moved = (listing.read(self.path("new.txt")).values != self.weights.values).sum()
        for text in ("<h2>Course</h2>", "<h2>Phases</h2>", "<h2>Calibration</h2>", f"<td>{moved} of 1082</td>"):
            self.assertEqual(page.count(text), 1, text)
        self.assertEqual(page.count("<svg"), 4)
        self.assertEqual(re.findall(r"(?:src|href)=[\"'](?!#|data:)[^\"']*", page), [], "it fetches something")
        self.write("report.html", b"of earlier days")
        self.assert_refused("report.html exists and is not of this program", "--report", report)


class Workers(FitTest):
    """The same bytes, whoever does the work and however often it is interrupted."""

    OPTIONS = ("--spread", "5:1,10:10", "--passes", "5")

    def setUp(self) -> None:
        super().setUp()
        self.pack()
        self.assertGreater(len(os.listdir(self.store)), 1)

    def outcome(self) -> dict[str, bytes]:
        """The files of a fit, the journal with every bit of every pass among them."""
        found = {name: self.read(name) for name in ("new.txt", "new.h", "new.txt.journal")}
        for name in found:
            os.remove(self.path(name))
        return found

    def test_any_number_of_processes(self) -> None:
        self.fitted(*self.OPTIONS)
        alone = self.outcome()
        self.assertGreater(alone["new.txt.journal"].count(b"\n"), 8)
        for count in ("2", "4", "16"):
            self.fitted(*self.OPTIONS, "--jobs", count)
            self.assertTrue(self.outcome() == alone, count)

    @unittest.skipUnless(shutil.which("mpirun"), "mpirun is not installed")
    def test_mpi(self) -> None:
        self.fitted(*self.OPTIONS)
        alone = self.outcome()
        command = [word for word in self.command(*self.OPTIONS, "--mpi") if word not in ("--jobs", "1")]
        for count in ("1", "2", "4"):
            self.fitted(wrapper=self.mpirun("-n", count), command=command)
            self.assertTrue(self.outcome() == alone, count)

    @unittest.skipUnless(shutil.which("mpirun"), "mpirun is not installed")
    def test_mpi_with_another_store_somewhere(self) -> None:
        command = [word for word in self.command(*self.OPTIONS, "--mpi") if word not in ("--jobs", "1")]
        other = self.path("other")
        shutil.copytree(self.store, other)
        with open(os.path.join(other, "store.json"), encoding="utf-8") as file:
            described = json.load(file)
        described["segments"][0]["source"]["sha256"] = "another"
        storewriter.describe(other, described)
        done = self.fit(wrapper=self.mpirun("-n", "1"), command=[
            *command, ":", "-n", "1", *(other if word == self.store else word for word in command)])
        self.assertNotEqual(done.returncode, 0)
        self.assertRegex(done.stderr, r"(?m)^fit: process 1, on \S+, has another store than process 0, on ")
        self.assertFalse(os.path.exists(self.path("new.txt")))

    @staticmethod
    def mpirun(*arguments: str) -> tuple[str, ...]:
        return ("env", "OMPI_ALLOW_RUN_AS_ROOT=1", "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1", "mpirun", "--oversubscribe",
                *arguments)

    def passes(self) -> int:
        try:
            return self.read("new.txt.journal").count(b"\n") - 1
        except FileNotFoundError:
            return 0

    def test_an_interrupted_fit_goes_on(self) -> None:
        self.fitted(*self.OPTIONS)
        whole = self.outcome()
        for number, jobs in ((signal.SIGKILL, "1"), (signal.SIGINT, "3")):
            with subprocess.Popen(self.command(*self.OPTIONS, "--jobs", jobs), stdout=subprocess.DEVNULL,
                                  stderr=subprocess.PIPE, text=True) as process:
                end = time.monotonic() + DEADLINE
                while self.passes() < 2 and time.monotonic() < end:
                    time.sleep(0.001)
                process.send_signal(number)
                told = process.stderr.read()
            kept = self.passes()
            with self.subTest(number):
                self.assertGreaterEqual(kept, 2)
                self.assertLess(kept, 10)
                self.assertEqual(told, "" if number == signal.SIGKILL else
                                 "fit: interrupted; the passes so far are kept, the same command goes on\n")
                self.assertFalse(os.path.exists(self.path("new.txt")))
                self.fitted(*self.OPTIONS, "--jobs", "2")
                self.assertTrue(self.outcome() == whole)

    def test_another_fit_in_the_place_of_an_interrupted_one(self) -> None:
        self.fitted(*self.OPTIONS)
        self.assert_refused("is of an interrupted fit that differs in: --mix; to begin anew, remove it",
                            *self.OPTIONS, "--mix", "0.4")

    def test_more_passes_go_on(self) -> None:
        told = self.fitted("--spread", "10:10", "--passes", "3")
        self.assertIn("new.txt.journal stays: the same command with more --passes goes on", told)
        first = self.read("new.txt.journal")
        self.fitted("--spread", "10:10", "--passes", "6")
        more = self.outcome()
        self.assertTrue(more["new.txt.journal"].startswith(first))
        self.fitted("--spread", "10:10", "--passes", "6")
        self.assertTrue(self.outcome() == more)

    def test_a_full_disk(self) -> None:
        """Files may not grow beyond some kilobytes: the journal stops, and the same command goes on."""
        self.fitted(*self.OPTIONS)
        whole = self.outcome()
        done = self.fit(*self.OPTIONS, wrapper=("bash", "-c", 'ulimit -f 64; exec "$@"', "bash"))
        self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1), done.stderr)
        self.assertIn("new.txt.journal cannot be written: File too large; the passes so far are kept", done.stderr)
        self.assertGreaterEqual(self.passes(), 2)
        self.fitted(*self.OPTIONS)
        self.assertTrue(self.outcome() == whole)


class Refused(FitTest):
    def test_too_little_data(self) -> None:
        lines = self.data.splitlines(keepends=True)
        starts = [0] + [i for i in range(1, len(lines)) if self.begins(lines[i - 1], lines[i])]
        self.pack("".join(lines[: starts[9]]))
        self.assert_refused("too little data: 9 games, and 10 are needed at least")
        self.pack("".join(lines[: starts[9] + 1]))  # the least of a tenth game
        self.assertNotIn("nan", self.fitted(*QUICK))
        self.assert_refused("too little data: 10 games, and 11 are needed", "--held-out", "11")

    @staticmethod
    def begins(before: str, line: str) -> bool:
        ply, last = (2 * int(words[5]) + (words[1] == "b") for words in (line.split(), before.split()))
        return line.split()[6] != before.split()[6] or ply <= last

    def test_what_is_no_store(self) -> None:
        self.assert_refused("store is no folder: tuning/pack makes a store of data files")
        os.mkdir(self.store)
        self.assert_refused("store.json: No such file or directory")
        self.pack()
        segment = os.path.join(self.store, "segments", "00001.rows")
        with open(segment, "r+b") as file:
            file.seek(9000)
            byte = file.read(1)
            file.seek(9000)
            file.write(bytes([byte[0] ^ 1]))
        done = self.fit()
        self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1), done.stderr)
        self.assertRegex(done.stderr, r"^fit: \S+00001\.rows: damaged: ")
        os.truncate(segment, 9000)
        self.assert_refused("00001.rows: damaged")

    def test_other_inputs(self) -> None:
        self.pack()
        self.assert_refused("no listing of", "--engine", "/bin/true")
        self.assert_refused("failed with status 1", "--engine", "/bin/false")
        self.assert_refused("not a rule", "--choice", self.path("data.txt"))
        for spread in ("-1:1", "5", "a:b", "1:2:3", "nan:1", "1:nan", "inf:1"):
            self.assert_refused(f"not a spread, TOGETHER:ALONE: {spread}", f"--spread={spread}")
        for option, value in (("--held-out", "1"), ("--mix", "2"), ("--mix", "nan"), ("--patience", "0"),
                              ("--scores-alone", "x"), ("--scores-alone", "nan"), ("--scores-alone", "inf"),
                              ("--passes", "0"), ("--jobs", "0"), ("--mpi", "--jobs=2")):
            self.assert_refused(option, option, value)

    def test_weights_of_another_engine(self) -> None:
        self.pack()
        engine = self.write("engine", (
            f"#!/bin/sh\n'{engine_path()}' \"$@\" | sed 's/bishopPair 56/bishopPair 58/'\n").encode())
        os.chmod(engine, 0o755)
        self.assert_refused(f"{self.store} was packed with other weights than those of {engine}", "--engine", engine)

    def test_files_of_others_stay(self) -> None:
        self.pack()
        for text in (self.weights.text(), "", "of earlier days"):
            self.write("new.txt", text.encode())
            self.assert_refused("new.txt exists and is not of this program")
        os.remove(self.path("new.txt"))
        self.write("new.txt.journal", b"of earlier days\n")
        self.assert_refused("new.txt.journal exists and is no journal of a fit")
        os.remove(self.path("new.txt.journal"))
        self.write("new.h", b"of earlier days")
        self.assert_refused("new.h exists and is not of this program")
        self.assert_refused("cannot be written", "--listing", self.path("none/new.txt"))

    def test_its_own_files_are_written_anew(self) -> None:
        """A round after another, as docs/tuning.md has it, over the tables in the source."""
        shutil.copy(f"{ROOT}/src/params/square_tables.h", self.path("new.h"))
        self.pack()
        for _ in range(2):
            self.fitted(*QUICK, "--mix", "0")
            fitted = listing.read(self.path("new.txt"))
            self.assertEqual(self.read("new.h").decode(), tables.source(fitted))
            self.write("new.txt", listing.Listing(fitted.names, np.zeros_like(fitted.values)).text().encode()
                       + listing.MARK.encode())


if __name__ == "__main__":
    unittest.main()
