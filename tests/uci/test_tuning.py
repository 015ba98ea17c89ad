"""Feature export and the listing of weights: files in, files out, and what goes wrong on the way."""

import os
import re
import subprocess
import unittest

from client import START_FEN, FolderTest, run_mode

PARAMS = 1082
QUIET = "6k1/5ppp/8/8/8/8/5PPP/R5K1 w - - 63 80"
GOOD_LINES = [
    f"{START_FEN} [0.5] [-23]",
    f"{QUIET} [1.0]",
    "8/8/4k3/8/2b5/8/4KB2/8 w - - 0 1 [0.0] [+7]",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - [0.5]  [ 0 ] \t",
    "  4k3/8/8/8/8/8/4P3/4K3 w - - 0 1  [1.0]\r",
]


class FilesTest(FolderTest):
    def run_ok(self, *arguments: str) -> tuple[str, str]:
        result = run_mode(*arguments, stdin=b"isready\n")
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.decode(), result.stderr.decode()

    def assert_fails(self, arguments: list[str], message: str) -> None:
        with self.subTest(arguments):
            result = run_mode(*arguments)
            self.assertEqual((result.returncode, result.stdout, result.stderr.decode()),
                             (1, b"", message + "\n"))

    def export(self, data: bytes) -> tuple[bytes, int, int]:
        """The rows of some data, and the numbers of good and bad lines."""
        source = self.write("data.txt", data)
        out, err = self.run_ok("featureexport", source, self.path("rows.txt"), "ignored")
        self.assertEqual(out, "")
        pattern = rf"featureexport: (\d+) позицій, (\d+) невалідних, {PARAMS} параметрів\n"
        good, bad = re.fullmatch(pattern, err).groups()
        return self.read("rows.txt"), int(good), int(bad)


class TheWholeLoop(FilesTest):
    def check(self, *options: str) -> None:
        self.run_ok("datagen", *options, "out=" + self.path("data.txt"))
        data = self.read("data.txt")
        rows, good, bad = self.export(data)
        self.assertEqual((good, bad), (data.count(b"\n"), 0))
        self.assertEqual(rows.count(b"\n"), good)
        self.assertGreater(good, 1500)
        listing, _ = self.run_ok("tuneparams")
        params = self.write("params.txt", listing.encode())
        command = [os.environ["MORVANE_SELFCHECK"], "loop", self.path("data.txt"),
                   self.path("rows.txt"), params]
        result = subprocess.run(command, capture_output=True, check=False)
        self.assertEqual((result.returncode, result.stdout.decode()), (
            0, f"[PASS] рядки ознак і перелік ваг == evaluate: {good} позицій, 0 розбіжностей\n"))

        # The comparison sees one wrong number in either file.
        at = rows.index(b" ", len(rows) // 2)
        for broken in (rows[:at] + b" 1" + rows[at:], rows[: rows.index(b"\n") + 1], rows + rows):
            self.write("rows.txt", broken)
            self.assertEqual(subprocess.run(command, capture_output=True, check=False).returncode, 1)
        self.write("rows.txt", rows)
        self.write("params.txt", re.sub(r"(\n0 matMg_P) \d+", r"\1 94", listing).encode())
        self.assertEqual(subprocess.run(command, capture_output=True, check=False).returncode, 1)

    def test_on_games(self) -> None:
        self.check("games=30", "nodes=200")

    def test_on_games_with_every_position(self) -> None:
        self.check("games=20", "nodes=50", "seed=77", "randomplies=20", "openingcap=30000",
                   "skipcheck=0", "skipquiet=0", "evalcap=32000", "resignplies=40", "drawmin=200")


class Rows(FilesTest):
    def test_of_the_start_position(self) -> None:
        """Whatever White uses, Black uses as well."""
        rows, good, bad = self.export(f"{START_FEN} [1.0]\n".encode())
        self.assertEqual((rows, good, bad), (b"1 24 64 0 0 0\n", 1, 0))

    def test_of_a_pawn_ending(self) -> None:
        """Kings on mirrored squares of an open file cancel out; what is left is the pawn."""
        rows, _, _ = self.export(b"4k3/8/8/8/8/8/4P3/4K3 w - - 0 1 [0.0]\n")
        listed = [
            (0, 1, 0),  # material, middle game
            (5, 0, 1),  # and end game
            (10 + 52, 1, 0),  # the pawn's place, counted from a8
            (394 + 52, 0, 1),
            (1044, 1, 0),  # passed on its second rank
            (1052, 0, 1),
            (1059, 1, 0),  # isolated
            (1060, 0, 1),
        ]
        text = "".join(f" {k} {mg} {eg}" for k, mg, eg in listed)
        self.assertEqual(rows.decode(), f"0 0 64 0 0 {len(listed)}{text}\n")

    def test_results_in_the_form_of_a_stream(self) -> None:
        rows, _, _ = self.export("".join(f"{QUIET} [{r}]\n" for r in ("1.0", "0.5", "0.0")).encode())
        self.assertEqual([row.split()[0] for row in rows.splitlines()], [b"1", b"0.5", b"0"])


class BadLines(FilesTest):
    BAD = [
        b" ", b"\r", b"\t\r", b"[1.0]", b" [0.5] [3]", b"x", START_FEN.encode(), b"\0", b"\0" * 70,
        f"{START_FEN} [1]".encode(), f"{START_FEN} [0.50]".encode(), f"{START_FEN} []".encode(),
        f"{START_FEN} [ 1.0]".encode(), f"{START_FEN} 1.0".encode(), f"{START_FEN} 1.0]".encode(),
        f"{START_FEN} [1.0".encode(), f"{START_FEN} [1.0] x".encode(),
        f"{START_FEN} [1.0] [x]".encode(), f"{START_FEN} [1.0] []".encode(),
        f"{START_FEN} [1.0] [2147483648]".encode(), f"{START_FEN} [1.0] [1.5]".encode(),
        f"{START_FEN} [5] [1.0]".encode(), f"{START_FEN} ] [1.0]".encode(),
        f"{START_FEN} [1.0] \0".encode(), f"{START_FEN} [1.0\0]".encode(),
        f"{START_FEN}\0 [1.0]".encode().replace(b" 0 1", b" 0 x"),
        b"8/8/8/8/8/8/8/8 w - - 0 1 [1.0]", b"startpos [0.5]", "позиція [1.0]".encode(),
        b"4k3/8/8/8/8/8/8/4K2R w KQkqX - 0 1 [1.0]", b"\xff\xfe\x00[1.0]",
        b"x" * 3_000_000, b"[" * 3_000_000, b"[1.0]" * 600_000, b"\0" * 2_000_000 + b"[1.0]",
    ]

    def test_are_counted_and_left_out(self) -> None:
        expected, good, bad = self.export("".join(line + "\n" for line in GOOD_LINES).encode())
        self.assertEqual((expected.count(b"\n"), good, bad), (len(GOOD_LINES), len(GOOD_LINES), 0))
        for bad_line in self.BAD:
            with self.subTest(bad_line[:60]):
                lines = [line.encode() for line in GOOD_LINES]
                for place in (0, 3, len(lines)):
                    lines.insert(place, bad_line)
                    lines.insert(place, b"")  # empty lines do not count at all
                rows, good, bad = self.export(b"\n".join(lines) + b"\n")
                self.assertEqual((rows, good, bad), (expected, len(GOOD_LINES), 3))

    def test_a_good_line_of_megabytes_is_good(self) -> None:
        blanks = b" " * 1_500_000
        line = START_FEN.encode() + blanks + b"[0.5]" + blanks + b"[1]" + blanks
        self.assertEqual(self.export(line), (b"0.5 24 64 0 0 0\n", 1, 0))

    def test_files_of_all_sizes(self) -> None:
        self.assertEqual(self.export(b""), (b"", 0, 0))
        self.assertEqual(self.export(b"\n\n\n"), (b"", 0, 0))
        self.assertEqual(self.export(b"x"), (b"", 0, 1))
        self.assertEqual(self.export(f"\n{START_FEN} [0.0]".encode()), (b"0 24 64 0 0 0\n", 1, 0))


class Paths(FilesTest):
    def test_that_cannot_be_opened(self) -> None:
        source = self.write("data.txt", b"")
        missing = self.path("missing/file")
        self.assert_fails(["featureexport", missing, self.path("rows")],
                          "featureexport: не відкрити вхід: " + missing)
        self.assertFalse(os.path.exists(self.path("rows")))
        self.assert_fails(["featureexport", source, missing],
                          "featureexport: не відкрити вихід: " + missing)
        self.assert_fails(["featureexport", source, self.folder],
                          "featureexport: не відкрити вихід: " + self.folder)
        self.assert_fails(["featureexport", "", ""], "featureexport: не відкрити вхід: ")
        self.assert_fails(["featureexport", self.folder, self.path("rows")],
                          "featureexport: помилка читання: " + self.folder)

    def test_input_and_output_in_one(self) -> None:
        source = self.write("data.txt", f"{QUIET} [1.0]\n".encode())
        os.symlink(source, self.path("link"))
        os.link(source, self.path("hard"))
        for out in (source, self.path("link"), self.path("hard"),
                    os.path.join(self.folder, ".", "data.txt")):
            self.assert_fails(["featureexport", source, out],
                              "featureexport: вхід і вихід — той самий файл: " + out)
            self.assertEqual(self.read("data.txt"), f"{QUIET} [1.0]\n".encode())

    @unittest.skipUnless(os.path.exists("/dev/full"), "needs /dev/full")
    def test_full_disk(self) -> None:
        source = self.write("data.txt", f"{QUIET} [1.0]\n".encode())
        message = "помилка запису: /dev/full — збережено лише цілі рядки"
        self.assert_fails(["featureexport", source, "/dev/full"], "featureexport: " + message)
        with open("/dev/full", "wb") as full:
            result = subprocess.run([os.environ["MORVANE_ENGINE"], "tuneparams"], stdout=full,
                                    stderr=subprocess.PIPE, check=False)
        self.assertEqual((result.returncode, result.stderr.decode()),
                         (1, "tuneparams: помилка запису\n"))


class Listing(FilesTest):
    def test_has_a_heading_and_a_line_for_each_weight(self) -> None:
        out, err = self.run_ok("tuneparams", "ignored")
        self.assertEqual(err, "")
        lines = out.removesuffix("\n").split("\n")
        self.assertEqual(lines[0], f"# Morvane tune params: index name value  (NPARAMS={PARAMS})")
        self.assertEqual(len(lines), PARAMS + 1)
        self.assertEqual((lines[1], lines[-1]), ("0 matMg_P 93", "1081 ksOpenFile 31"))
        names = set()
        for index, line in enumerate(lines[1:]):
            number, name, _ = re.fullmatch(r"(\d+) ([A-Za-z0-9_]+) (-?\d+)", line).groups()
            self.assertEqual(int(number), index)
            names.add(name)
        self.assertEqual(len(names), PARAMS)
