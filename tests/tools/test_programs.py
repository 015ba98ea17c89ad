"""The programs that users and maintainers run: each tells how it is used and does nothing else then, and refuses
what it does not know before it touches anything; and each finds the engine."""

from __future__ import annotations

import os
import pathlib
import shutil
import subprocess
import unittest

from client import FolderTest, engine_path

ROOT = pathlib.Path(__file__).resolve().parents[2]

# What the programs call to build, install and play: here it says that it was called, and fails.
CALLED = ("apt-get", "cmake", "cpack", "ctest", "dpkg-query", "llvm-profdata", "ninja", "node", "npm", "parallel",
          "polyglot", "sudo", "valgrind", "xboard", "xvfb-run")
BUILDERS = ("scripts/build-profiled", "scripts/build-web", "scripts/make-package", "scripts/make-release")
STAND_IN = """#!/bin/sh
echo "$(basename "$0") $*" >>{log}
exit 1
"""

# In CMake's place: leaves an engine in the preset's folder, by $2, and tells which of the steps it is.
BUILDS = """#!/bin/sh
echo "cmake $*" >>{log}
[ "$1" = --preset ] || exit 0
mkdir -p "build/$2" && cp {folder}/engine "build/$2/morvane" && chmod +x "build/$2/morvane"
echo "$3" >"build/$2/step"
"""
ENGINE = """#!/bin/sh
[ "$1" != benchsearch ] || echo "bench: 5 nodes 3 qnodes 1 ms 5000 nps"
"""


def programs() -> list[str]:
    """All that can be called, but `run`, which hands its arguments on to the engine."""
    found = [ROOT / "fuzz" / "run"]
    for folder in ("scripts", "tuning", "benchmarks"):
        found += [path for path in (ROOT / folder).iterdir() if path.is_file() and os.access(path, os.X_OK)]
    return sorted(str(path.relative_to(ROOT)) for path in found)


class TreeTest(FolderTest):
    """In a copy of what the programs need, with builds and packages of earlier days."""

    def setUp(self) -> None:
        super().setUp()
        self.tree = pathlib.Path(self.folder) / "тека з пробілом"
        unneeded = shutil.ignore_patterns("__pycache__", "corpus")
        for folder in ("scripts", "tuning", "benchmarks", "fuzz", "packaging"):
            shutil.copytree(ROOT / folder, self.tree / folder, ignore=unneeded)
        for name in ("build/profiled/morvane", "build/package/morvane_0.1-1_all.deb", "weights.txt", "data.txt"):
            (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
            (self.tree / name).write_text("of earlier days\n")
        self.log = pathlib.Path(self.folder) / "log"
        self.bin = pathlib.Path(self.folder) / "bin"
        self.bin.mkdir()
        for name in CALLED:
            self.stand_in(name, STAND_IN)
        self.environment = os.environ | {
            "PATH": f"{self.bin}:{os.environ['PATH']}", "PYTHONDONTWRITEBYTECODE": "1", "HOME": self.folder}

    def stand_in(self, name: str, text: str) -> None:
        (self.bin / name).write_text(text.format(log=self.log, folder=self.folder))
        (self.bin / name).chmod(0o755)

    def call(self, program: str, *arguments: str) -> subprocess.CompletedProcess:
        return subprocess.run([str(self.tree / program), *arguments], cwd=self.tree, env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, check=False)

    def files(self) -> dict[str, bytes]:
        return {str(path.relative_to(self.tree)): path.read_bytes()
                for path in self.tree.rglob("*") if path.is_file()}

    def called(self) -> list[str]:
        lines = self.log.read_text().splitlines() if self.log.exists() else []
        self.log.unlink(missing_ok=True)
        return lines

    def refuse(self, program: str, *arguments: str) -> str:
        """The line with which a program refuses its arguments, having done nothing."""
        before = self.files()
        done = self.call(program, *arguments)
        with self.subTest(program, arguments=arguments):
            self.assertEqual((done.returncode, done.stdout, done.stderr.count("\n")), (2, "", 1), done.stderr)
            self.assertEqual(self.called(), [])
            self.assertEqual(self.files(), before)
        return done.stderr


class Usage(TreeTest):
    def test_there_are_programs(self) -> None:
        self.assertLessEqual({"benchmarks/measure.py", "benchmarks/plot-threads.py", "benchmarks/run", "fuzz/run",
                              "scripts/build-profiled", "scripts/datagen-shards", "scripts/find-engine",
                              "scripts/make-package", "scripts/make-release", "scripts/match", "scripts/match-score",
                              "scripts/same-play", "scripts/solve-epd", "tuning/compare", "tuning/fit", "tuning/picture"}, set(programs()))

    def test_help_does_nothing_else(self) -> None:
        before = self.files()
        for program in programs():
            for arguments in (["--help"], ["-h"], ["-DX=1" if program in BUILDERS else "data.txt", "--help"]):
                with self.subTest(program, arguments=arguments):
                    done = self.call(program, *arguments)
                    self.assertEqual((done.returncode, done.stderr), (0, ""))
                    self.assertRegex(done.stdout, rf"(?i)^usage: (\S*/)?{os.path.basename(program)}\b")
                    self.assertEqual(self.called(), [])
        self.assertEqual(self.files(), before)

    def test_help_tells_defaults(self) -> None:
        for program, *told in (("tuning/compare", "(default: 500)", "(default: 10+0.1)", "(default: 20)"),
                               ("tuning/fit", "(default: 0.5)", "(default: weights.txt)", "(default: 15)")):
            said = " ".join(self.call(program, "--help").stdout.split())
            for default in told:
                self.assertIn(default, said)
            self.assertNotIn("None", said)

    def test_what_is_unknown_is_refused(self) -> None:
        for program in programs():
            self.assertIn("--none", self.refuse(program, "--none"))
            self.refuse(program, "-x", "data.txt")

    def test_libraries_that_are_missing(self) -> None:
        """A line says which; and help needs none."""
        (self.tree / "scripts" / "numpy.py").write_text("raise ImportError('No module named numpy')\n")
        (self.tree / "scripts" / "matplotlib.py").write_text("raise ImportError('No module named matplotlib')\n")
        self.environment["PYTHONPATH"] = str(self.tree / "scripts")
        os.symlink(engine_path(), self.path("engine"))
        for program, arguments, missing in (
            ("tuning/fit", ("scripts", "--engine", engine_path(), "--listing", "x"), "python3-numpy"),
            ("tuning/pack", ("x", "data.txt", "--engine", engine_path(), "--packer", engine_path()), "python3-numpy"),
            ("tuning/picture", ("data.txt", "data.txt", "x"), "python3-matplotlib"),
            ("benchmarks/plot-threads.py", ("data.txt", "x"), "python3-matplotlib"),
        ):
            self.assertIn(missing, self.refuse(program, *arguments))
            self.assertEqual(self.call(program, "--help").returncode, 0)

    def test_what_is_no_table_is_refused_by_the_name_of_the_file(self) -> None:
        (self.tree / "page.md").write_text("# Морване\n")
        for program, arguments in (("tuning/picture", ("page.md", "page.md", "x")),
                                   ("benchmarks/plot-threads.py", ("page.md", "x"))):
            line = self.refuse(program, *arguments)
            if "Debian packages" in line:
                self.skipTest(line)
            self.assertIn("page.md", line)


class OwnFilesAlone(TreeTest):
    """Nothing is deleted or written over but what the same program has made."""

    def test_arguments_of_cmake(self) -> None:
        for program, preset in (("scripts/build-profiled", "profiled"), ("scripts/make-package", "package")):
            for wrong in ("clean", "-B", "-Bx", "-D", "-DX", "--preset", "x=1", "-C", "--fresh", ""):
                self.refuse(program, wrong)
                self.refuse(program, "-DX=1", wrong)
            self.call(program, "-DX=a b", "-UY", "-GNinja")
            line, = [call for call in self.called() if call.startswith("cmake")]
            self.assertRegex(line, rf"^cmake --preset {preset} .*-DX=a b -UY -GNinja$")

    def test_a_package_goes_when_its_successor_can_be_packed(self) -> None:
        other = self.tree / "build" / "package" / "other.deb"
        other.write_text("somebody else's\n")
        before = self.files()
        self.assertNotEqual(self.call("scripts/make-package").returncode, 0)  # nothing can be built
        self.assertEqual(self.files(), before)
        self.stand_in("cmake", BUILDS)
        self.write("engine", ENGINE.encode())
        self.stand_in("dpkg-parsechangelog", "#!/bin/sh\necho 1\n")
        self.stand_in("cpack", "#!/bin/sh\ntouch build/package/morvane_0.2-1_all.deb\n")
        done = self.call("scripts/make-package")
        self.assertEqual((done.returncode, done.stdout.splitlines()[-1]),
                         (0, "build/package/morvane_0.2-1_all.deb"), done.stderr)
        self.assertEqual(other.read_text(), "somebody else's\n")

    def test_fit_and_pictures(self) -> None:
        for program, arguments in (
            ("tuning/fit", ("scripts",)),
            ("tuning/fit", ("scripts", "--listing", "data.txt")),
            ("tuning/fit", ("scripts", "--listing", "new.txt", "--tables", "packaging/copyright")),
            ("tuning/fit", ("scripts", "--listing", "new.txt", "--report", "packaging/copyright")),
            ("tuning/picture", ("data.txt", "data.txt", "weights.txt")),
            ("benchmarks/plot-threads.py", ("data.txt", "weights.txt")),
        ):
            self.assertIn("exists and is not of this program", self.refuse(program, *arguments))


class Profiled(TreeTest):
    """The two steps of a build by a profile, which build-profiled and make-package have in common."""

    def setUp(self) -> None:
        super().setUp()
        self.stand_in("cmake", BUILDS)
        self.stand_in("dpkg-parsechangelog", "#!/bin/sh\necho 1\n")
        self.stand_in("cpack", "#!/bin/sh\ntouch build/package/morvane_0.2-1_all.deb\n")

    def build(self, engine: str) -> list[subprocess.CompletedProcess]:
        """By both; the engine is the same in each step."""
        self.write("engine", engine.encode())
        self.log.unlink(missing_ok=True)
        return [self.call(f"scripts/{program}") for program in ("build-profiled", "make-package")]

    def steps(self) -> list[str]:
        return [call.split()[3] for call in self.called() if call.startswith("cmake --preset")]

    def assert_fails(self, engine: str, told: str) -> None:
        (self.tree / "build/package/morvane_0.2-1_all.deb").unlink(missing_ok=True)
        for done in self.build(engine):
            self.assertNotEqual(done.returncode, 0)
            self.assertRegex(done.stderr, told)
        self.assertFalse((self.tree / "build/package/morvane_0.2-1_all.deb").exists())

    def test_steps(self) -> None:
        for done in self.build(ENGINE):
            self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.steps(), ["-DMORVANE_PROFILE=GENERATE", "-DMORVANE_PROFILE=USE"] * 2)

    def test_a_failed_training_is_told_and_stops_the_build(self) -> None:
        for mode in ("benchsearch", "datagen"):
            self.assert_fails(f'{ENGINE}[ "$1" != {mode} ] || {{ echo "no memory" >&2; exit 3; }}\n',
                              r"(?s)no memory\n.*the training of build/\w+/morvane failed\n")
            self.assertEqual(self.steps(), ["-DMORVANE_PROFILE=GENERATE"] * 2)
        self.assert_fails("#!/bin/sh\n", "the training of build/.* failed")  # it counts nothing

    def test_a_build_that_searches_differently_is_refused(self) -> None:
        self.assert_fails('#!/bin/sh\ngrep -q USE "$(dirname "$0")/step" && n=6 || n=5\n'
                          '[ "$1" != benchsearch ] || echo "bench: $n nodes 3 qnodes 1 ms 5000 nps"\n',
                          "searches differently: 6 nodes 3 qnodes, not 5 nodes 3 qnodes")

    def test_an_engine_for_other_machines_has_no_profile(self) -> None:
        for engine in ("#!/nowhere/ld.so\n", "\x7fELF of another kind", "#!/bin/sh\nexit 1\n"):
            for done in self.build(engine):
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertIn("does not run on this machine, so it is built without a profile\n", done.stderr)
            self.assertEqual(self.steps(), ["-DMORVANE_PROFILE=GENERATE", "-DMORVANE_PROFILE="] * 2)


class FindsTheEngine(TreeTest):
    def setUp(self) -> None:
        super().setUp()
        for name in ("parallel", "polyglot"):  # what is looked for before
            (self.bin / name).write_text("#!/bin/sh\n")
        self.write("data.txt", b"")

    def found(self) -> str:
        done = self.call("scripts/find-engine")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout.removesuffix("\n")

    def place(self, path: pathlib.Path) -> str:
        """Another engine, by its bytes, that can play all the same."""
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(f"#!/bin/sh\n# {path}\nexec '{engine_path()}' \"$@\"\n")
        path.chmod(0o755)
        return str(path.resolve())

    @unittest.skipIf(os.path.exists("/usr/games/morvane") or shutil.which("morvane"), "an engine is installed")
    def test_nowhere(self) -> None:
        (self.tree / "morvane_pack").write_text("#!/bin/sh\n")
        (self.tree / "morvane_pack").chmod(0o755)
        for program, *arguments in (("scripts/find-engine",), ("scripts/solve-epd", "data.txt"),
                                    ("scripts/datagen-shards", "run", "shards"),
                                    ("tuning/pack", "store", "data.txt", "--packer", "./morvane_pack")):
            line = self.refuse(program, *arguments)
            self.assertRegex(line, r"\./run.*cmake --preset release && cmake --build --preset release")

    def test_on_the_path(self) -> None:
        engine = self.place(self.bin / "morvane")
        self.assertEqual(self.found(), engine)
        done = self.call("scripts/datagen-shards", "run", "shards", "games=1")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual((self.tree / "shards/engine").read_bytes(), pathlib.Path(engine).read_bytes())

    def test_the_build_comes_first(self) -> None:
        self.place(self.bin / "morvane")
        self.assertEqual(self.place(self.tree / "build/release/morvane"), self.found())

    def test_by_a_link_to_the_script(self) -> None:
        engine = self.place(self.tree / "build/release/morvane")
        (self.bin / "find-engine").symlink_to(self.tree / "scripts/find-engine")
        done = subprocess.run(["find-engine"], cwd="/", env=self.environment, capture_output=True, text=True,
                              check=True)
        self.assertEqual(done.stdout, f"{engine}\n")


class Packages(TreeTest):
    """What is missing is named before it is installed."""

    COMMAND = ". scripts/ensure-packages.sh; ensure_packages one two"

    def ensure(self, user: int) -> list[str]:
        self.stand_in("id", f"#!/bin/sh\necho {user}\n")
        for name in ("apt-get", "sudo"):
            self.stand_in(name, '#!/bin/sh\necho "call: $(basename "$0") $*" >&2\n')
        done = subprocess.run(["bash", "-eu", "-c", self.COMMAND], cwd=self.tree, env=self.environment,
                              capture_output=True, text=True, check=True)
        self.assertEqual(done.stdout, "")
        return done.stderr.splitlines()

    def test_said_first(self) -> None:
        install = "apt-get install -y --no-install-recommends one two"
        said, *calls = self.ensure(1000)
        self.assertEqual(said, "missing packages, about to be installed:"
                         f" sudo apt-get update && sudo {install}")
        self.assertEqual(calls, ["call: sudo apt-get update",
                                 f"call: sudo env DEBIAN_FRONTEND=noninteractive {install}"])
        said, *calls = self.ensure(0)
        self.assertEqual(said, f"missing packages, about to be installed: apt-get update && {install}")
        self.assertEqual(calls, ["call: apt-get update", f"call: {install}"])

    def test_nothing_is_said_if_nothing_is_missing(self) -> None:
        self.stand_in("dpkg-query", "#!/bin/sh\necho install ok installed\n")
        self.assertEqual(self.ensure(1000), [])


if __name__ == "__main__":
    unittest.main()
