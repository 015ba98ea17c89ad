"""The comparison of the working tree with a revision: what it builds, what it runs and what it prints.

It runs in a repository of its own, whose programs are scripts that print reports: builds take no time, and ratios
are known.
"""

from __future__ import annotations

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

from client import FolderTest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "benchmarks"))

import compare  # noqa: E402

LISTS = """cmake_minimum_required(VERSION 3.25)
project(stand_in NONE)
foreach(program morvane morvane_benchmarks)
  add_custom_target(${program} COMMAND
    ${CMAKE_COMMAND} -E copy ${CMAKE_SOURCE_DIR}/${program} ${CMAKE_BINARY_DIR}/${program})
endforeach()
"""
ENGINE = """#!/bin/sh
echo "bench: {nodes} nodes 5 qnodes 1 ms 1 nps"
"""
# Speaks of each benchmark as Google's library does.
BENCHMARKS = """#!/usr/bin/env python3
import json, re, sys
entries = json.loads('''{entries}''')
filters = [a.partition("=")[2] for a in sys.argv if a.startswith("--benchmark_filter=")]
if "--benchmark_list_tests=true" in sys.argv:
    print(*entries, sep="\\n")
else:
    chosen = [n for n in entries if re.search(filters[0], n)]
    print(json.dumps({{"benchmarks": [{{"name": n, **entries[n]}} for n in chosen]}}))
"""
SHARED = {"perft": {"items_per_second": 1e6}, "evaluate<x>/1": {"each": 2e-9},
          "plain": {"cpu_time": 3.0, "time_unit": "ms"}, "broken": {"error_message": "no memory"},
          "table/real_time": {"cpu_time": 1.0, "time_unit": "ms"}}
OLD = SHARED | {"gone": {"each": 1}}
NEW = SHARED | {"perft": {"items_per_second": 2e6}, "evaluate<x>/1": {"each": 4e-9}, "recent": {"each": 1}}


class Comparison(FolderTest):
    def setUp(self) -> None:
        super().setUp()
        self.tree = pathlib.Path(self.folder) / "a tree"
        for folder in ("benchmarks", "scripts"):
            (self.tree / folder).mkdir(parents=True)
        for name in ("benchmarks/run", "benchmarks/compare.py", "benchmarks/instructions.py",
                     "scripts/commandline.py"):
            shutil.copy(ROOT / name, self.tree / name)
        self.place("scripts/ensure-packages.sh", "ensure_packages() { :; }\n")
        self.place("benchmarks/CMakeLists.txt", "")
        self.place(".gitignore", "/build/\n")
        self.place("CMakeLists.txt", LISTS)
        self.place("morvane", ENGINE.format(nodes=100))
        self.place("morvane_benchmarks", BENCHMARKS.format(entries=json.dumps(OLD)))
        self.git("init", "--quiet")
        self.commit()

    def place(self, name: str, text: str) -> None:
        (self.tree / name).write_text(text)
        (self.tree / name).chmod(0o755)

    def git(self, *arguments: str) -> str:
        return subprocess.run(["git", "-c", "user.name=x", "-c", "user.email=x", *arguments], cwd=self.tree,
                              stdout=subprocess.PIPE, text=True, check=True).stdout.strip()

    def commit(self) -> None:
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", "x")

    def call(self, *arguments: str, path: str = "") -> subprocess.CompletedProcess:
        """Settings of the caller's own builds have no part in these."""
        kept = {name: value for name, value in os.environ.items() if not name.startswith(("CMAKE_", "CXX"))}
        return subprocess.run([self.tree / "benchmarks/run", *arguments], capture_output=True, text=True, check=False,
                              cwd=self.folder, timeout=120, env=kept | {"PATH": path or os.environ["PATH"]})

    def refused(self, *arguments: str, path: str = "") -> str:
        """The line with which it ends, behind those that tell what it builds."""
        done = self.call(*arguments, path=path)
        *builds, line = done.stderr.splitlines()
        self.assertTrue(all(": building " in build for build in builds), builds)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        return line

    def rows(self, output: str) -> dict[str, list[str]]:
        """Costs and ratio by name."""
        found = re.findall(r"^(\S+(?: \S+)*?) {2,}(\S+(?: M/s| ns| ms)?) +(\S+(?: M/s| ns| ms)?) +(\d+\.\d{3})\b",
                           output, re.MULTILINE)
        return {name: values for name, *values in found}

    def test_a_tree_that_has_changed(self) -> None:
        self.place("morvane_benchmarks", BENCHMARKS.format(entries=json.dumps(NEW)))
        done = self.call("--compare", "HEAD")
        self.assertEqual(done.returncode, 0, done.stderr)
        rows = self.rows(done.stdout)
        self.assertEqual({*rows}, {"perft", "evaluate<x>/1", "plain", compare.WHOLE_SEARCH})
        self.assertEqual(rows["perft"], ["1.00 M/s", "2.00 M/s", "2.000"])
        self.assertEqual(rows["evaluate<x>/1"], ["2.00 ns", "4.00 ns", "0.500"])
        self.assertEqual(rows["plain"], ["3.000 ms", "3.000 ms", "1.000"])
        self.assertIn("2.000   2.000 to 2.000\n", done.stdout)
        table, left_out = done.stdout.split("\nleft out:\n")
        self.assertNotIn("play differs", table)
        self.assertIn("  gone: only the revision has it\n", left_out)
        self.assertIn("  recent: only the tree has it\n", left_out)
        self.assertIn("  table/real_time: it measures wall clock\n", left_out)
        self.assertIn("  broken: no memory\n", left_out)
        self.assertIn(f"  {compare.INSTRUCTIONS}: ", left_out)  # a script has no search
        self.assertEqual(len(left_out.splitlines()), 5)

    def test_play_that_differs_is_told(self) -> None:
        self.place("morvane", ENGINE.format(nodes=200))
        done = self.call("--compare", "HEAD", "^morvane")
        self.assertIn(f"100 nodes in HEAD ({self.git('rev-parse', 'HEAD')[:7]}), 200 nodes in the tree\n", done.stdout)
        self.assertEqual([*self.rows(done.stdout)], [compare.WHOLE_SEARCH])
        self.assertNotIn("left out", done.stdout)

    def test_one_revision_is_kept(self) -> None:
        def folders() -> set[str]:
            return {entry.name for entry in (self.tree / "build/compare").iterdir() if entry.is_dir()}

        first = self.git("rev-parse", "HEAD")
        self.assertEqual(self.call("--compare", first, "^perft").returncode, 0)
        self.assertEqual(folders(), {"tree", first[:12]})
        self.place("other", "")
        self.commit()
        second = self.git("rev-parse", "HEAD")
        self.assertEqual(self.call("--compare", "HEAD", "^perft").returncode, 0)
        self.assertEqual(folders(), {"tree", second[:12]})
        mark = self.tree / "build/compare" / second[:12] / "native" / "mark"
        mark.touch()
        self.assertEqual(self.call("--compare", "HEAD", "^perft").returncode, 0)
        self.assertTrue(mark.exists())

    def test_a_revision_without_benchmarks(self) -> None:
        self.git("rm", "--quiet", "-r", "benchmarks/CMakeLists.txt", "morvane_benchmarks")
        self.commit()
        self.place("benchmarks/CMakeLists.txt", "")
        self.place("morvane_benchmarks", BENCHMARKS.format(entries=json.dumps(NEW)))
        done = self.call("--compare", "HEAD", "perft|benchsearch")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([*self.rows(done.stdout)], [compare.WHOLE_SEARCH])
        self.assertIn("\nleft out:\n  perft: only the tree has it\n", done.stdout)

    def test_what_does_not_build(self) -> None:
        self.place("CMakeLists.txt", "message(FATAL_ERROR no)\n")
        self.assertEqual(self.refused("--compare", "HEAD"),
                         "compare.py: the tree does not build: see build/compare/tree/native.log")
        self.commit()
        line = self.refused("--compare", "HEAD")
        log = re.fullmatch(r"compare\.py: HEAD \(\w{7}\) does not build: see (build/compare/\w{12}/native\.log)", line)
        self.assertIn("CMake Error", (self.tree / log[1]).read_text())

    def test_what_is_refused(self) -> None:
        for arguments, message in ((["--compare"], "--compare needs a revision"),
                                   (["--compare", ""], "--compare needs a revision"),
                                   (["--compare", "--none"], "--compare needs a revision"),
                                   (["--compare", "nowhere"], "no such revision: nowhere"),
                                   (["--compare", "HEAD:morvane"], "no such revision: HEAD:morvane"),
                                   (["--compare", "HEAD", "a", "b"], "more than one filter"),
                                   (["--compare", "HEAD", "("], "no regular expression: ("),
                                   (["--compare", "HEAD", "nothing"], "nothing is named so: nothing")):
            with self.subTest(arguments):
                self.assertIn(message, self.refused(*arguments))

    def test_no_checkout(self) -> None:
        shutil.move(self.tree / ".git", self.folder)  # another's, around the sources
        self.assertIn("no git checkout", self.refused("--compare", "HEAD"))
        shutil.rmtree(self.path(".git"))
        self.assertIn("no git checkout", self.refused("--compare", "HEAD"))

    def test_no_git(self) -> None:
        tools = pathlib.Path(self.folder) / "bin"
        tools.mkdir()
        for name in ("bash", "dirname", "env", "readlink"):
            (tools / name).symlink_to(shutil.which(name))
        (tools / "python3").symlink_to(sys.executable)
        self.assertEqual(self.refused("--compare", "HEAD", path=str(tools)),
                         "compare.py: git is not installed (Debian package: git)")


class Table(unittest.TestCase):
    def test_spread(self) -> None:
        row = compare.Row("x", [(1.0, 1.0 / ratio) for ratio in (1.0, 4.0, 2.0, 3.0, 5.0)], "{:.1f}".format)
        self.assertEqual(row.line(3).split(), ["x", "1.0", "0.3", "3.000", "2.000", "to", "4.000"])

    def test_one_round_has_no_spread(self) -> None:
        self.assertEqual(compare.Row("x", [(3.0, 2.0)], "{:.0f}".format).line(1).split(), ["x", "3", "2", "1.500"])

    def test_pairs_are_in_turn(self) -> None:
        calls = []
        pairs = compare.in_turn(lambda side: calls.append(side) or len(calls), ("old", "new"), 3)
        self.assertEqual(calls, ["old", "new", "new", "old", "old", "new"])
        self.assertEqual(pairs, [(1, 2), (4, 3), (5, 6)])


if __name__ == "__main__":
    unittest.main()
