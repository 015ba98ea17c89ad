"""The program for Windows, run by Wine: what it needs and says of itself, and that its files are those of Linux.

The engine under test is the wrapper that ./test puts beside morvane.exe. The engine of this system, with which it is
compared, is in build/release.
"""

import pathlib
import re
import runpy
import struct
import subprocess
import unittest
import zlib

from client import FolderTest, engine_path, run_mode
from test_processor import VARIANTS
from test_signature import read_signature

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
PROGRAM = pathlib.Path(engine_path()).parent / "morvane.exe"
OURS = ROOT / "build" / "release" / "morvane"
SYSTEM_LIBRARIES = {"advapi32.dll", "kernel32.dll", "msvcrt.dll"}
GAMES = ("games=4", "nodes=300", "seed=5")


def utf16(text: str) -> bytes:
    return text.encode("utf-16-le")


def headers() -> str:
    return subprocess.run(["x86_64-w64-mingw32-objdump", "-p", PROGRAM], capture_output=True, text=True,
                          check=True).stdout


class File(unittest.TestCase):
    def test_it_needs_nothing_but_the_system(self) -> None:
        needed = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers())}
        self.assertTrue(needed)
        self.assertLessEqual(needed, SYSTEM_LIBRARIES)

    def test_addresses_differ_from_run_to_run_and_data_is_no_code(self) -> None:
        told = headers()
        for flag in ("HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT"):
            self.assertIn(flag, told)

    def test_what_the_system_shows_of_it(self) -> None:
        version = re.search(r"^Morvane (\S+)", run_mode("--version").stderr.decode(), re.MULTILINE)[1].rstrip(",")
        data = PROGRAM.read_bytes()
        for name, value in (("ProductVersion", version), ("CompanyName", "the Morvane developers"),
                            ("OriginalFilename", "morvane.exe")):
            told = re.search(re.escape(utf16(name)) + rb"(?:\0\0)+((?:[^\0]\0)+)", data)
            self.assertEqual(told[1].decode("utf-16-le"), value, name)
        self.assertIn(b">UTF-8</activeCodePage>", data)

    def test_icon(self) -> None:
        """The program has it in each size, drawn as the script draws."""
        icon = (ROOT / "packaging" / "windows" / "morvane.ico").read_bytes()
        script = runpy.run_path(str(ROOT / "packaging" / "windows" / "draw-icon.py"))
        data = PROGRAM.read_bytes()
        for number, size in enumerate(script["SIZES"]):
            length, place = struct.unpack_from("<II", icon, 6 + 16 * number + 8)
            image = icon[place : place + length]
            self.assertEqual(struct.unpack_from(">II", image, 16), (size, size))
            self.assertIn(image, data)
            if size < 256:  # the largest takes seconds
                pixels = zlib.decompress(image[41:-16])  # between the heads and the ends of its chunks
                self.assertEqual(pixels, script["rows"](size))


class Variants(unittest.TestCase):
    """Those of the program for every x86-64 processor; other processors than this one are played on Linux."""

    def test_the_one_that_is_chosen_has_its_name(self) -> None:
        told = re.search(r"^Variant (\S+);", run_mode("--version").stderr.decode(), re.MULTILINE)[1]
        self.assertIn(told, VARIANTS)
        here = run_mode(f"--variant={told}", "--version")
        self.assertEqual((here.returncode, here.stderr), (0, run_mode("--version").stderr))

    def test_each_has_the_signature_where_it_runs(self) -> None:
        depth, counts = min(read_signature().items())
        ran = 0
        for variant in VARIANTS:
            with self.subTest(variant=variant):
                done = run_mode(f"--variant={variant}", "benchsearch", str(depth))
                if done.returncode == 1:
                    self.assertIn("цей процесор не має потрібних інструкцій", done.stderr.decode())
                    continue
                ran += 1
                self.assertIn("bench: {} nodes {} qnodes ".format(*counts), done.stdout.decode())
        self.assertGreater(ran, 0)

    def test_an_unknown_one_is_refused(self) -> None:
        done = run_mode("--variant=none", "bench")
        self.assertEqual((done.returncode, done.stdout, done.stderr.decode()),
                         (1, b"", f'morvane: немає варіанта "none", є: {" ".join(VARIANTS)}\n'))


    def test_they_run_nothing_before_main_and_share_no_symbol(self) -> None:
        for variant in VARIANTS:
            with self.subTest(variant=variant):
                part = PROGRAM.parent / "variants" / variant / "variant.o"
                sections = subprocess.run(["x86_64-w64-mingw32-objdump", "-h", part], capture_output=True, text=True,
                                          check=True).stdout
                self.assertIn(".text", sections)
                self.assertNotRegex(sections, r"\.ctors|init_array|LINK_ONCE")
                symbols = subprocess.run(["x86_64-w64-mingw32-nm", "--extern-only", "--defined-only", part],
                                         capture_output=True, text=True, check=True).stdout
                self.assertEqual([line.split()[2] for line in symbols.splitlines()],
                                 ["kVariant_" + variant.replace("-", "_")])


class Files(FolderTest):
    def ours(self, *arguments: str) -> None:
        subprocess.run([OURS, *arguments], capture_output=True, check=True, timeout=600)

    def theirs(self, *arguments: str) -> None:
        done = run_mode(*arguments)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_data_and_features_are_the_same_bytes(self) -> None:
        for run, name in ((self.ours, "ours"), (self.theirs, "theirs")):
            run("datagen", *GAMES, f"out={self.path(name)}")
            run("featureexport", self.path(name), self.path(f"{name}.rows"))
        self.assertGreater(len(self.read("ours")), 1000)
        self.assertEqual(self.read("theirs"), self.read("ours"))
        self.assertGreater(len(self.read("ours.rows")), 1000)
        self.assertEqual(self.read("theirs.rows"), self.read("ours.rows"))

    def test_names_beyond_ascii(self) -> None:
        self.theirs("datagen", *GAMES, f"out={self.path('Партії.txt')}")
        self.ours("datagen", *GAMES, f"out={self.path('ours')}")
        self.assertEqual(self.read("Партії.txt"), self.read("ours"))

    def test_printed_text_is_the_same_bytes(self) -> None:
        start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"
        for arguments in (("evaltrace", start), ("perft", start, "3"), ("tuneparams",), ("perft", "no FEN", "1")):
            with self.subTest(arguments):
                done = run_mode(*arguments)
                ours = subprocess.run([OURS, *arguments], capture_output=True, check=False, timeout=600)
                self.assertEqual((done.returncode, done.stdout, done.stderr),
                                 (ours.returncode, ours.stdout, ours.stderr))


if __name__ == "__main__":
    unittest.main()
