"""The test command: which steps it takes, what it installs for them, and that `all` fails if a test was skipped.

It runs in a tree of its own. What builds and tests there are stand-ins that leave results.
"""

from __future__ import annotations

import json
import os
import pathlib
import re
import shutil
import subprocess
import unittest

from client import FolderTest

ROOT = pathlib.Path(__file__).resolve().parents[2]
STEPS = ["formatting", "release", "package", "arm64", "windows", "web", "tests", "instructions", "analysis",
         "addresses", "threads", "fuzzing", "profiled"]
SMALL = {"cmake", "ninja-build", "make", "g++", "python3", "libgtest-dev"}  # packages
SILENT = ("cmake", "clang-format", "clang-tidy", "shellcheck", "node", "npm", "wine64", "wineserver64")
SCRIPTS = ("run", ".ci/run", "benchmarks/run", "fuzz/run", "scripts/make-package", "scripts/make-release",
           "scripts/build-profiled", "scripts/build-web")
SUCCESS = "#!/bin/bash\n"
# With $FAILING in its arguments ctest fails; else it leaves the results of two builds.
CTEST = """#!/bin/sh
echo "ctest $*" >>log
case " $* " in *" ${FAILING:-nothing} "*) exit 8 ;; esac
mkdir -p build/results build/test/tests/results
cp python*.json build/results
cp units*.xml build/test/tests/results
"""
INSTALL = 'ensure_packages() { echo "packages $*" >>log; }\n'
UNIT = ('<testsuites><testsuite name="A"><testcase classname="A" name="B" result="{}">{}</testcase></testsuite>'
        "</testsuites>")
UNIT_SKIPPED = UNIT.format("skipped", "<skipped>a.cpp:1\nno file</skipped>")


class Steps(FolderTest):
    def setUp(self) -> None:
        super().setUp()
        self.tree = pathlib.Path(self.folder) / "a tree"
        for folder in (".ci", "tests/uci", "tests/windows", "scripts", "src", "benchmarks", "fuzz", "build/analysis",
                       "bin"):
            (self.tree / folder).mkdir(parents=True)
        shutil.copy(ROOT / "test", self.tree)
        shutil.copy(ROOT / "tests" / "skipped.py", self.tree / "tests")
        shutil.copy(ROOT / "scripts" / "wine.sh", self.tree / "scripts")
        for name in ("uci/run.py", "windows/morvane"):
            (self.tree / "tests" / name).write_text("")
        (self.tree / "benchmarks/measure.py").write_text("")
        (self.tree / "scripts/ensure-packages.sh").write_text(INSTALL)
        for name in SCRIPTS + tuple(f"bin/{program}" for program in SILENT):
            self.place(name, SUCCESS)
        (self.tree / "build/analysis/compile_commands.json").write_text("[]")
        self.place("bin/ctest", CTEST)
        self.results(passed=["test_a.A.b"], skipped={})
        self.unit(UNIT.format("completed", ""))

    def place(self, name: str, text: str) -> None:
        (self.tree / name).write_text(text)
        (self.tree / name).chmod(0o755)

    def results(self, *, passed: list[str], skipped: dict[str, str], number: int = 1) -> None:
        text = json.dumps({"passed": passed, "skipped": skipped})
        (self.tree / f"python{number}.json").write_text(text)

    def unit(self, text: str, number: int = 1) -> None:
        (self.tree / f"units.board.{number}.xml").write_text(text)

    def call(self, *arguments: str, **variables: str) -> subprocess.CompletedProcess:
        (self.tree / "log").unlink(missing_ok=True)
        path = f"{self.tree / 'bin'}:{os.environ['PATH']}"
        kept = {name: value for name, value in os.environ.items() if name not in ("CXX", "MORVANE_RESULTS")}
        return subprocess.run([self.tree / "test", *arguments], env=kept | {"PATH": path} | variables, text=True,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=60, check=False)

    def log(self, program: str) -> list[str]:
        """The arguments of each call."""
        path = self.tree / "log"
        lines = path.read_text().splitlines() if path.exists() else []
        return [line.partition(" ")[2] for line in lines if line.startswith(program)]

    @staticmethod
    def steps(output: str) -> list[str]:
        return re.findall(r"^== (\w+) \(\d+ s\)$", output, re.MULTILINE)

    def test_help(self) -> None:
        done = self.call("--help")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(re.findall(r"^  (\w+) ", done.stdout, re.MULTILINE), [*STEPS, "quick", "units", "again"])
        self.assertEqual(self.call("-h").stdout, done.stdout)
        self.assertEqual(self.log(""), [])

    def test_what_is_no_step_is_refused(self) -> None:
        for arguments in (["nonsense"], ["release", "nonsense"], [""], ["all", "tests"], ["--nonsense"]):
            with self.subTest(arguments):
                done = self.call(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertRegex(done.stderr, r"\Ano such step: .*\n\Z")
                self.assertEqual(self.log(""), [])

    def test_without_arguments_it_is_the_short_run(self) -> None:
        done = self.call()
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.steps(done.stdout), ["quick", "passed"])
        self.assertEqual(set(self.log("packages")[0].split()), SMALL)
        self.assertIn(" quick", self.log("ctest")[0])
        self.assertIn("\n2 tests passed, 0 skipped\nnot run: ", done.stdout)

    def test_all_is_every_step(self) -> None:
        done = self.call("all")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.steps(done.stdout), [*STEPS, "passed"])
        self.assertLess(SMALL | {"strace", "valgrind", "clang"}, set(" ".join(self.log("packages")).split()))
        self.assertNotIn("not run", done.stdout)

    def test_steps_by_name(self) -> None:
        self.assertEqual(self.steps(self.call("units", "formatting").stdout), ["units", "formatting", "passed"])

    def test_a_step_that_fails(self) -> None:
        for arguments in ([], ["all"], ["tests", "formatting"]):
            with self.subTest(arguments):
                done = self.call(*arguments, FAILING="test")
                self.assertEqual(done.returncode, 8)
                self.assertNotIn("passed", done.stdout)

    def test_too_many_instructions_fail(self) -> None:
        (self.tree / "benchmarks/measure.py").write_text("raise SystemExit(1)\n")
        done = self.call("instructions", "formatting")
        self.assertEqual((done.returncode, self.steps(done.stdout)), (1, ["instructions"]))

    def assert_skipped(self, line: str) -> None:
        done = self.call("all")
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"\n{line}\n", done.stdout)
        self.assertNotIn("== passed", done.stdout)
        for arguments in ([], ["tests"]):
            done = self.call(*arguments)
            self.assertEqual(done.returncode, 0)
            self.assertIn(f"\n{line}\n", done.stdout)

    def test_a_skipped_test_is_named_and_fails_all(self) -> None:
        self.results(passed=["test_a.A.b"], skipped={"test_a.A.c": "no strace", "test_a.A.d": "no strace"})
        self.assert_skipped("skipped: test_a.A.c and 1 more: no strace")

    def test_a_skipped_module(self) -> None:
        self.results(passed=[], skipped={"test_a": "no Node"}, number=2)
        self.assert_skipped("skipped: test_a: no Node")

    def test_a_skipped_unit_test(self) -> None:
        self.unit(UNIT_SKIPPED)
        self.unit(UNIT.format("suppressed", ""), number=2)  # what a filter leaves out is no result
        self.assert_skipped("skipped: board.A.B: no file")

    def test_what_another_build_has_passed_is_not_missing(self) -> None:
        self.results(passed=[], skipped={"test_a.A.b": "a sanitizer"}, number=2)
        self.unit(UNIT_SKIPPED)
        self.unit(UNIT.format("completed", ""), number=2)
        done = self.call("all")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertNotIn("skipped:", done.stdout)

    def test_no_results_are_no_success(self) -> None:
        self.results(passed=[], skipped={})
        self.unit("<testsuites/>")
        self.assertEqual(self.call("all").returncode, 1)

    def test_results_of_earlier_runs_do_not_count(self) -> None:
        (self.tree / "build/results").mkdir()
        (self.tree / "build/results/x.json").write_text('{"passed": [], "skipped": {"test_old.A.b": "old"}}')
        self.assertEqual(self.call("all").returncode, 0)


if __name__ == "__main__":
    unittest.main()
