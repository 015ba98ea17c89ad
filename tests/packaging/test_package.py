"""The Debian package that scripts/make-package has left beside the engine."""

from __future__ import annotations

import gzip
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from client import engine_path
from test_install import PAGES, ROOT, broken_links, files_below, installed_pages
from test_signature import read_signature

BUILD = pathlib.Path(engine_path()).parent
PACKAGES = sorted(BUILD.glob("*.deb"))


def output(*command: str) -> str:
    return subprocess.run(command, capture_output=True, text=True, check=True,
                          env=dict(os.environ, LC_ALL="C.UTF-8")).stdout


def flags(build: pathlib.Path) -> list[str]:
    """How everything in a build folder is compiled and linked."""
    text = output("ninja", "-C", str(build), "-t", "commands", "morvane")
    return text.replace(str(build.resolve()), "BUILD").splitlines()


@unittest.skipUnless(shutil.which("dpkg-deb") and PACKAGES, "no package beside the engine")
class Package(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.tree = pathlib.Path(folder.name)
        cls.package = str(PACKAGES[0])
        output("dpkg-deb", "-x", cls.package, folder.name)
        cls.engine = str(cls.tree / "usr/games/morvane")

    def field(self, name: str) -> str:
        return output("dpkg-deb", "-f", self.package, name).strip()

    def test_there_is_one(self) -> None:
        self.assertEqual(len(PACKAGES), 1, PACKAGES)

    def test_fields(self) -> None:
        self.assertEqual(self.field("Package"), "morvane")
        self.assertEqual(self.field("Section"), "games")
        self.assertEqual(self.field("Architecture"), output("dpkg", "--print-architecture").strip())
        self.assertRegex(self.field("Maintainer"), r"^the Morvane developers <\S+@\S+>$")
        self.assertRegex(self.field("Depends"), r"^libc6 \(>= [0-9.]+\)$")

    def test_versions_agree(self) -> None:
        """Of the package, of its changelog, and of the engine in it."""
        version = self.field("Version")
        with gzip.open(self.tree / "usr" / PAGES / "changelog.Debian.gz", "rt") as changelog:
            self.assertTrue(changelog.readline().startswith(f"morvane ({version}) "))
        session = subprocess.run([self.engine], input="uci\n", capture_output=True, text=True,
                                 check=True, timeout=60)
        name = re.search(r"^id name Morvane (.*)$", session.stdout, re.MULTILINE)[1]
        self.assertEqual(version.rpartition("-")[0], name)

    def test_maintainer(self) -> None:
        """One definition serves the package and its changelog."""
        with gzip.open(self.tree / "usr" / PAGES / "changelog.Debian.gz", "rt") as changelog:
            self.assertIn(f" -- {self.field('Maintainer')}  ", changelog.read())

    def test_contents(self) -> None:
        beside = {"copyright", "changelog.Debian.gz"}
        self.assertEqual(files_below(self.tree / "usr"),
                         {"games/morvane", "share/man/man6/morvane.6.gz",
                          "share/lintian/overrides/morvane"} |
                         {f"{PAGES}/{name}" for name in beside} | installed_pages())
        self.assertEqual(os.listdir(self.tree), ["usr"])

    def test_everything_belongs_to_root(self) -> None:
        lines = output("dpkg-deb", "-c", self.package).splitlines()
        self.assertGreater(len(lines), 10)
        for line in lines:
            self.assertRegex(line, r"^(drwxr-xr-x|-rwxr-xr-x|-rw-r--r--|lrwxrwxrwx) root/root ")

    def test_links_hold(self) -> None:
        self.assertEqual(broken_links(self.tree / "usr" / PAGES), [])

    def test_licence(self) -> None:
        def words(text: str) -> list[str]:
            return [word for word in text.split() if word != "."]
        licence = words((ROOT / "LICENSE").read_text("utf-8").partition("\n\n")[2])
        terms = words((self.tree / "usr" / PAGES / "copyright").read_text("utf-8"))
        body = " ".join(licence).partition("Permission is")[2]
        self.assertIn(body, " ".join(terms))

    def test_engine_runs_and_has_the_signature(self) -> None:
        depth, counts = min(read_signature().items())
        self.assertIn("bench: {} nodes {} qnodes ".format(*counts),
                      output(self.engine, "benchsearch", str(depth)))

    def test_engine_was_built_by_a_profile(self) -> None:
        """The compiler refuses to build it without one for each of its sources."""
        told = subprocess.run([self.engine, "--version"], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              check=True, timeout=60).stderr
        self.assertRegex(told, r"\nBuilt by .*, profile-guided\n")

    def test_engine_is_stripped_and_needs_the_c_library_alone(self) -> None:
        self.assertNotIn(".symtab", output("readelf", "-SW", self.engine))
        needed = re.findall(r"NEEDED.*\[(.*)\]", output("readelf", "-dW", self.engine))
        self.assertLessEqual({name.partition(".")[0] for name in needed},
                             {"libc", "libm", "ld-linux-x86-64", "ld-linux-aarch64"})

    def test_lintian_is_content(self) -> None:
        if not shutil.which("lintian"):
            self.skipTest("lintian is not installed")
        checked = subprocess.run(
            ["lintian", "--allow-root", "--fail-on", "error,warning", self.package],
            capture_output=True, text=True, check=False)
        self.assertEqual((checked.returncode, checked.stdout), (0, ""))

    def test_packing_again_gives_the_same_bytes(self) -> None:
        first = pathlib.Path(self.package).read_bytes()
        with tempfile.TemporaryDirectory() as folder:
            epoch = output("dpkg-parsechangelog", "-l", str(ROOT / "packaging/changelog"),
                           "-S", "Timestamp").strip()
            subprocess.run(["cpack", "--config", str(BUILD / "CPackConfig.cmake"), "-B", folder],
                           env=dict(os.environ, SOURCE_DATE_EPOCH=epoch, TZ="Asia/Tokyo"),
                           capture_output=True, check=True, umask=0o022)
            again = next(pathlib.Path(folder).glob("*.deb")).read_bytes()
        self.assertEqual(first, again)

    def test_universal_builds_are_compiled_as_this_one(self) -> None:
        """But for the profile: so what holds for the engine in the package holds for `universal`. The variants are
        compiled by the same settings."""
        if not shutil.which("ninja"):
            self.skipTest("Ninja is not installed")
        arguments = [f"-D{line}" for line in (BUILD / "CMakeCache.txt").read_text("utf-8")
                     .splitlines()
                     if line.startswith(("CMAKE_CXX_COMPILER:", "MORVANE_PROFILE:", "MORVANE_WERROR:"))]
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run(["cmake", "--preset", "universal", "-B", folder, *arguments],
                           cwd=ROOT, capture_output=True, check=True)
            self.assertEqual(flags(pathlib.Path(folder)), flags(BUILD))


if __name__ == "__main__":
    unittest.main()
