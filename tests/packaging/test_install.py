"""What an installation leaves, from the build folder that the engine lies in."""

from __future__ import annotations

import os
import pathlib
import re
import shutil
import stat
import subprocess
import tempfile
import unittest

from client import engine_path

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(engine_path()).parent
PAGES = "share/doc/morvane"


def install(*arguments: str, **environment: str) -> None:
    done = subprocess.run(["cmake", "--install", str(BUILD), *arguments],
                          env=dict(os.environ, **environment), capture_output=True, text=True,
                          check=False)
    if done.returncode != 0:
        raise AssertionError(done.stdout + done.stderr)


def files_below(folder: pathlib.Path) -> set[str]:
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}


def installed_pages() -> set[str]:
    """The pages of the source tree, with what they link to, below the folder for them."""
    pages = {"README.md", "README.uk.md", "ARCHITECTURE.md", "CHANGELOG.md", "CONTRIBUTING.md",
             "SECURITY.md", "LICENSE", "fuzz/README.md", "web/README.md", "web/engine/README.md"}
    for pattern in ("docs/**/*[!y]", "scripts/**/*.py", "scripts/datagen-shards", "scripts/find-engine",
                    "scripts/datashards/play.sh", "scripts/match*", "scripts/openings.epd", "scripts/solve-epd",
                    "tests/data/*.epd", "tests/data/make_tactics.py"):
        pages |= {str(path.relative_to(ROOT)) for path in ROOT.glob(pattern)
                  if path.is_file() and "__pycache__" not in path.parts}
    return {f"{PAGES}/{page}" for page in pages}


def broken_links(pages: pathlib.Path) -> list[str]:
    """Links between the pages, and to their pictures, that lead nowhere."""
    broken = []
    for page in pages.rglob("*.md"):
        for target in re.findall(r"\]\(([^)#\s]+)[^)]*\)", page.read_text("utf-8")):
            if "://" not in target and not (page.parent / target).exists():
                broken.append(f"{page.relative_to(pages)}: {target}")
    return broken


class Maintainer(unittest.TestCase):
    def test_the_address_stands_once(self) -> None:
        """So one who has an address puts it in one place."""
        found = []
        for path in (ROOT / "CMakeLists.txt", *ROOT.glob("packaging/*"), *ROOT.glob("cmake/*")):
            if path.is_file():
                found += [(path.name, each) for each in
                          re.findall(r"[\w.+-]+@[\w.-]+\.\w+", path.read_text("utf-8"))]
        self.assertEqual(found, [("debian.cmake", "morvane@example.org")])


@unittest.skipUnless(shutil.which("cmake") and (BUILD / "cmake_install.cmake").exists(),
                     "the engine does not lie in its build folder")
class Install(unittest.TestCase):
    maxDiff = None

    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="тека з пробілом ")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        if "MORVANE_PACKAGE:BOOL=ON" in (BUILD / "CMakeCache.txt").read_text("utf-8"):
            self.skipTest("a build for a package")

    def check_tree(self, tree: pathlib.Path) -> None:
        self.assertEqual(files_below(tree),
                         {"bin/morvane", "share/man/man6/morvane.6"} | installed_pages())

    def test_tree(self) -> None:
        install("--prefix", str(self.folder))
        self.check_tree(self.folder)

    def test_staged_tree(self) -> None:
        """As packagers want it: for one place, put into another for now."""
        install("--prefix", "/usr", DESTDIR=str(self.folder))
        self.check_tree(self.folder / "usr")
        self.assertEqual(os.listdir(self.folder), ["usr"])

    def test_everybody_may_use_it(self) -> None:
        mask = os.umask(0o077)
        self.addCleanup(os.umask, mask)
        install("--prefix", str(self.folder))
        for name in files_below(self.folder):
            mode = stat.S_IMODE((self.folder / name).stat().st_mode)
            runs = name.startswith("bin/") or (f"{PAGES}/scripts/" in name and "." not in pathlib.Path(name).name)
            self.assertEqual(oct(mode), oct(0o755 if runs else 0o644), name)

    def test_engine_runs(self) -> None:
        install("--prefix", str(self.folder))
        engine = self.folder / "bin" / "morvane"
        session = subprocess.run([str(engine)], input="uci\ngo depth 1\n", capture_output=True,
                                 text=True, check=True, timeout=60)
        self.assertRegex(session.stdout, r"(?s)^id name Morvane .*\nuciok\n.*\nbestmove ")

    def test_scripts_stand_alone(self) -> None:
        """They find the installed engine and each other, and write nothing where they lie."""
        install("--prefix", str(self.folder))
        before = files_below(self.folder)
        scripts = self.folder / PAGES / "scripts"
        environment = {**os.environ, "PATH": f"{self.folder}/bin:{os.environ['PATH']}"}
        environment.pop("PYTHONDONTWRITEBYTECODE", None)

        def said(name: str, *arguments: str) -> str:
            return subprocess.run([str(scripts / name), *arguments], env=environment, capture_output=True, text=True,
                                  check=True).stdout
        self.assertIn("datagen-shards check DIR", said("datagen-shards", "--help"))
        self.assertEqual(said("find-engine"), f"{(self.folder / 'bin/morvane').resolve()}\n")
        games = "".join(f'[Event "?"]\n[White "{white}"]\n[Black "{black}"]\n[Result "1/2-1/2"]\n\n*\n\n'
                        for white, black in ("AB", "BA"))
        with tempfile.NamedTemporaryFile("w") as file:
            file.write(games)
            file.flush()
            self.assertIn("0 won, 0 lost, 2 drawn", said("match-score", file.name))
        self.assertEqual(files_below(self.folder), before)

    def test_links_hold(self) -> None:
        install("--prefix", str(self.folder))
        self.assertEqual(broken_links(self.folder / PAGES), [])

    def test_manual_page(self) -> None:
        if not shutil.which("man"):
            self.skipTest("man is not installed")
        install("--prefix", str(self.folder))
        page = subprocess.run(["man", "-l", str(self.folder / "share/man/man6/morvane.6")],
                              env=dict(os.environ, MANPAGER="cat", LC_ALL="C.UTF-8"),
                              capture_output=True, text=True, check=True)
        self.assertRegex(page.stdout, r"\nNAME\n +morvane\b")


if __name__ == "__main__":
    unittest.main()
