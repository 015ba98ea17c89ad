"""The version is the same wherever it has to stand, and the revision is that of the sources."""

from __future__ import annotations

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from client import run_mode
from grammar import IDENTIFICATION

ROOT = pathlib.Path(__file__).resolve().parents[2]
PLACES = {
    "packaging/changelog": r"\Amorvane \((.*)-\d+\) ",
    "CHANGELOG.md": r"^## (\d\S*\d)\b",
    "web/engine/package.json": r'^  "version": "(.*)",$',
    "fuzz/uci_model.h": r'"id name Morvane (\S+)"',
    "docs/morvane.6": r"^This page is about version (.*)\.$",
}
GIT = {"GIT_AUTHOR_NAME": "x", "GIT_AUTHOR_EMAIL": "x", "GIT_COMMITTER_NAME": "x",
       "GIT_COMMITTER_EMAIL": "x", "GIT_CONFIG_GLOBAL": os.devnull, "GIT_CONFIG_SYSTEM": os.devnull}


def stated(place: str, pattern: str) -> str:
    match = re.search(pattern, (ROOT / place).read_text(encoding="utf-8"), re.MULTILINE)
    return match[1] if match else f"none in {place}"


class Version(unittest.TestCase):
    def test_is_one(self) -> None:
        version = stated("CMakeLists.txt", r"^project\(morvane VERSION (\S+) ")
        self.assertRegex(version, r"\A\d+\.\d+\.\d+\Z")
        for place, pattern in PLACES.items():
            self.assertEqual(stated(place, pattern), version, place)
        self.assertEqual(IDENTIFICATION[0], f"id name Morvane {version}")
        told = run_mode("--version").stderr.decode().splitlines()[0]
        self.assertEqual(told.partition(", ")[0], f"Morvane {version}")
        self.assertIn(IDENTIFICATION[0], run_mode(stdin=b"uci\n").stdout.decode().splitlines())


@unittest.skipUnless(shutil.which("git") and shutil.which("cmake"), "needs git and CMake")
class Revision(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.sources = pathlib.Path(folder.name) / "the sources"
        self.sources.mkdir()
        self.output = pathlib.Path(folder.name) / "revision.cpp"

    def git(self, *arguments: str, folder: pathlib.Path | None = None) -> str:
        return subprocess.run(["git", *arguments], cwd=folder or self.sources, check=True, text=True,
                              stdout=subprocess.PIPE, env=os.environ | GIT).stdout.strip()

    def commit(self) -> str:
        self.git("init", "-q")
        (self.sources / "file").write_text("one")
        self.git("add", "file")
        self.git("commit", "-q", "-m", "first")
        return self.git("rev-parse", "HEAD")[:12]

    def revision(self, given: str = "") -> str:
        subprocess.run(["cmake", f"-DSOURCE={self.sources}", f"-DREVISION={given}",
                        f"-DOUTPUT={self.output}", "-P", ROOT / "cmake" / "revision.cmake"],
                       check=True, capture_output=True, env=os.environ | GIT)
        return re.search(r'kRevision = "(.*)";', self.output.read_text(encoding="utf-8"))[1]

    def test_without_a_checkout_there_is_none(self) -> None:
        self.assertEqual(self.revision(), "")

    def test_of_a_folder_around_the_sources_says_nothing(self) -> None:
        self.git("init", "-q", folder=self.sources.parent)
        self.assertEqual(self.revision(), "")

    def test_is_the_commit(self) -> None:
        commit = self.commit()
        self.assertEqual(self.revision(), commit)
        self.git("tag", "v9")
        (self.sources / "untracked").write_text("x")
        self.assertEqual(self.revision(), commit)
        (self.sources / "file").write_text("two")
        self.assertEqual(self.revision(), commit + "-dirty")

    def test_an_archive_knows_it(self) -> None:
        commit = self.commit()
        for name in ("cmake/revision.txt", ".gitattributes"):
            (self.sources / name).parent.mkdir(exist_ok=True)
            shutil.copy(ROOT / name, self.sources / name)
        self.git("add", ".")
        self.git("commit", "-q", "-m", "second")
        later = self.git("rev-parse", "HEAD")[:12]
        self.assertNotEqual(later, commit)
        archive = subprocess.run(["git", "archive", "HEAD"], cwd=self.sources, check=True, capture_output=True)
        shutil.rmtree(self.sources / ".git")
        self.assertEqual(self.revision(), "", "a copy that git has written nothing into")
        subprocess.run(["tar", "-x", "-C", self.sources], input=archive.stdout, check=True)
        self.assertEqual(self.revision(), later)

    def test_may_be_given(self) -> None:
        self.commit()
        self.assertEqual(self.revision("1.2-3+x"), "1.2-3+x")

    def test_is_written_when_it_changes(self) -> None:
        self.commit()
        self.revision()
        os.utime(self.output, (1, 1))
        self.revision()
        self.assertEqual(self.output.stat().st_mtime, 1)
        (self.sources / "file").write_text("two")
        self.revision()
        self.assertNotEqual(self.output.stat().st_mtime, 1)


if __name__ == "__main__":
    unittest.main()
