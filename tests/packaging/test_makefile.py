"""The Makefile, in copies of the source tree."""

from __future__ import annotations

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

# What a surrounding make or user would change.
UNWANTED = ("MAKEFLAGS", "MFLAGS", "MAKELEVEL", "CC", "CXX", "CXXFLAGS", "LDFLAGS", "DESTDIR")

# In the engine's place where it does not matter what is built: it tells its compiler and a flag.
SMALL_SOURCES = {
    "src/CMakeLists.txt": """
add_executable(morvane main.cpp)
target_link_libraries(morvane PRIVATE morvane_options)
set_target_properties(morvane PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
""",
    "src/main.cpp": """
#include <cstdio>
#ifndef FLAG
#define FLAG 0
#endif
int main() {
#ifdef __clang__
    std::printf("clang %d\\n", FLAG);
#else
    std::printf("gcc %d\\n", FLAG);
#endif
}
""",
}


@unittest.skipUnless(shutil.which("make") and shutil.which("cmake"), "needs make and CMake")
class TreeTest(unittest.TestCase):
    """A test in a copy of the source tree, in a folder with an inconvenient name."""

    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.tree = self.folder / "тека з пробілом"
        shutil.copytree(ROOT, self.tree, ignore=shutil.ignore_patterns(
            "build", ".git", "__pycache__", "morvane", "node_modules"))
        self.environment = {name: value for name, value in os.environ.items()
                            if name not in UNWANTED}

    def call(self, *command: str, **environment: str) -> subprocess.CompletedProcess:
        done = subprocess.run(command, cwd=self.tree, capture_output=True, text=True,
                              env=self.environment | environment, umask=0o077, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done

    def make(self, *arguments: str, **environment: str) -> str:
        done = self.call("make", *arguments, **environment)
        self.assertNotRegex(done.stderr, r"make(\[\d+\])?: ")  # a warning
        return done.stdout


class Makefile(TreeTest):
    def setUp(self) -> None:
        super().setUp()
        shutil.rmtree(self.tree / "src")
        (self.tree / "src").mkdir()
        for name, text in SMALL_SOURCES.items():
            (self.tree / name).write_text(text)

    def told(self, name: str) -> str:
        return subprocess.run([self.tree / name], text=True, capture_output=True,
                              check=True).stdout

    def test_compilers_change_places(self) -> None:
        if not all(map(shutil.which, ("g++", "clang++"))):
            self.skipTest("needs g++ and clang++")
        compilers = {"g++": "gcc", "clang++": "clang", "g++-12": "gcc", "clang++-14": "clang"}
        for compiler in [*filter(shutil.which, compilers)] * 2:
            self.make(f"CXX={compiler}")
            self.assertEqual(self.told("morvane"), f"{compilers[compiler]} 0\n")
        self.make(CXX="clang++")  # the same by the environment
        self.assertEqual(self.told("morvane"), "clang 0\n")

    def test_compilers_have_paths_and_arguments(self) -> None:
        compiler = self.folder / "the compiler"
        compiler.write_text('#!/bin/sh\nexec c++ "$@"\n')
        compiler.chmod(0o755)
        flag = "-DFLAG=7"
        for arguments in ([f"CXX={compiler}", f"CMAKE_ARGS=-DCMAKE_CXX_FLAGS={flag}"],
                          [f"CXX={shutil.which('c++')}", f"CXXFLAGS={flag}"]):
            with self.subTest(arguments=arguments):
                self.make(*arguments)
                self.assertIn(" 7\n", self.told("morvane"))
        self.make()  # what was given once does not stay
        self.assertIn(" 0\n", self.told("morvane"))

    def test_names_of_the_executable(self) -> None:
        for name in ("engine", "мій рушій", "bin/deep/engine", "it's a $name", "-e",
                     str(self.folder / "outside" / "engine")):
            with self.subTest(name=name):
                self.make("EXE=" + name.replace("$", "$$"), "-j")
                self.assertIn(" 0\n", self.told(name))
        self.assertFalse((self.tree / "morvane").exists())

    def test_a_running_engine_is_replaced(self) -> None:
        self.make()
        old = os.stat(self.tree / "morvane").st_ino
        with open(self.tree / "morvane", "rb"):
            self.make()
            self.assertNotEqual(os.stat(self.tree / "morvane").st_ino, old)

    def test_nothing_is_built_twice(self) -> None:
        self.assertIn("Building CXX object", self.make())
        self.assertNotIn("Building CXX object", self.make())

    def test_without_ninja(self) -> None:
        programs = self.folder / "programs"
        programs.mkdir()
        for folder in os.environ["PATH"].split(os.pathsep):
            for program in pathlib.Path(folder).glob("*"):
                if program.name != "ninja" and not (programs / program.name).exists():
                    (programs / program.name).symlink_to(program)
        for jobs in ([], ["-j3"], ["-j"]):
            with self.subTest(jobs=jobs):
                self.make(*jobs, PATH=str(programs))
                self.assertIn(" 0\n", self.told("morvane"))
                self.make("clean")

    def test_install(self) -> None:
        self.make("install", "PREFIX=/opt/a b", f"DESTDIR={self.folder}/stage")
        self.assertIn(" 0\n", self.told(self.folder / "stage/opt/a b/bin/morvane"))
        self.make("install", f"PREFIX={self.folder}/usr")
        self.assertIn(" 0\n", self.told(self.folder / "usr/bin/morvane"))
        self.assertTrue((self.folder / "usr/share/man/man6/morvane.6").exists())

    def test_uninstall(self) -> None:
        """All that was installed goes, nothing of others, and a build that has gone since is no hindrance."""
        usr = self.folder / "usr dir"
        for place, arguments in ((usr, [f"PREFIX={usr}"]),
                                 (self.folder / "stage/opt/a b", ["PREFIX=/opt/a b", f"DESTDIR={self.folder}/stage"]),
                                 (self.tree / "relative", ["PREFIX=relative"])):
            with self.subTest(arguments):
                self.make("install", *arguments)
                others = {place / name for name in ("bin/other", "share/man/man6/other.6")}
                self.assertTrue((place / "bin/morvane").exists())
                for path in others:
                    path.touch()
                self.make("clean")
                self.make("uninstall", *arguments)
                self.assertEqual({path for path in place.rglob("*") if not path.is_dir()}, others)
                self.assertFalse((place / "share/doc/morvane").exists())
                self.make("install", *arguments)
                (place / "share/doc/morvane/notes").touch()
                self.make("uninstall", *arguments)
                self.assertEqual([path.name for path in (place / "share/doc/morvane").rglob("*")], ["notes"])
                self.make("uninstall", *arguments)  # nothing is left to do

    def test_clean(self) -> None:
        before = {path for path in self.tree.rglob("*") if "build" not in path.parts}
        self.make()
        self.make("EXE=engine")
        self.make("clean")
        self.make("clean", "EXE=engine")
        self.assertFalse((self.tree / "build" / "make").exists())
        self.assertEqual({path for path in self.tree.rglob("*") if "build" not in path.parts}
                         - {self.tree / "build"}, before)

    def test_calls_the_tests(self) -> None:
        (self.tree / "test").write_text("#!/bin/sh\necho passed $#\n")
        self.assertIn("passed 0\n", self.make("test"))

    def test_a_build_in_the_source_folder_is_refused(self) -> None:
        """It would write over the Makefile."""
        before = (self.tree / "Makefile").read_bytes()
        done = subprocess.run(["cmake", "-G", "Unix Makefiles", "."], cwd=self.tree,
                              capture_output=True, text=True, env=self.environment, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn("cmake -B build/release", done.stderr)
        self.assertEqual((self.tree / "Makefile").read_bytes(), before)


if __name__ == "__main__":
    unittest.main()
