"""What happens on a processor that lacks instructions the program was built for.

Processors of other models are played by qemu-user; the executable may be one for 64-bit ARM.
"""

from __future__ import annotations

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from client import engine_path
from test_signature import read_signature

PROJECT = pathlib.Path(__file__).resolve().parent / "checked"
TOOLCHAIN = PROJECT.parents[2] / "cmake" / "aarch64-linux-gnu.cmake"
DEADLINE = 300.0

EMULATORS = {
    "x86-64": ["qemu-x86_64"],
    "aarch64": ["qemu-aarch64", "-L", "/usr/aarch64-linux-gnu"],
}
MODELS = {
    "x86-64": ["qemu64", "Opteron_G1", "core2duo", "Nehalem", "Westmere", "SandyBridge",
               "Opteron_G5", "Haswell", "EPYC", "Skylake-Server", "max"],
    "aarch64": ["cortex-a53", "cortex-a72", "neoverse-n1", "a64fx", "max"],
}
REFUSAL = re.compile(
    r"morvane: цей процесор не має потрібних інструкцій: ([a-z0-9. ]*[a-z0-9])"
    r" — візьміть збірку для старіших процесорів \(portable\)\n")


class Outcome:
    def __init__(self, run: subprocess.CompletedProcess) -> None:
        self.status = run.returncode
        self.output = run.stdout.decode()
        # The emulator warns about what it does not know of a model.
        self.errors = re.sub(r"qemu-\w+: warning: .*\n", "", run.stderr.decode())

    def missing(self) -> list[str] | None:
        """The instruction sets that a refusal names; None if the program ran."""
        match = REFUSAL.fullmatch(self.errors)
        return match[1].split() if match and self.status == 1 and not self.output else None


def architecture(program: str) -> str:
    with open(program, "rb") as file:
        header = file.read(20)
    if header[:4] != b"\x7fELF":
        raise unittest.SkipTest("no ELF file")
    machine = int.from_bytes(header[18:20], "little")
    try:
        return {62: "x86-64", 183: "aarch64"}[machine]
    except KeyError:
        raise unittest.SkipTest("no processor that has this check") from None


def run_on(model: str, program: str, *arguments: str) -> Outcome:
    emulator, *options = EMULATORS[architecture(program)]
    if not shutil.which(emulator):
        raise unittest.SkipTest(f"{emulator} is not installed")
    return Outcome(subprocess.run([emulator, *options, "-cpu", model, program, *arguments],
                                  capture_output=True, timeout=DEADLINE, check=False))


def setting(name: str) -> str:
    """A variable of the build that the engine lies in."""
    try:
        cache = pathlib.Path(engine_path()).with_name("CMakeCache.txt").read_text("utf-8")
    except FileNotFoundError:
        raise unittest.SkipTest("not in its build folder") from None
    match = re.search(rf"^{name}:\w+=(.*)$", cache, re.MULTILINE)
    return match[1] if match else ""


class Engine(unittest.TestCase):
    """The engine under test on processors of all kinds."""

    def setUp(self) -> None:
        if setting("MORVANE_SANITIZE"):
            self.skipTest("builds with sanitizers run where they were built")
        self.models = MODELS[architecture(engine_path())]

    def test_runs_or_says_why_not(self) -> None:
        results = set()
        for model in self.models:
            with self.subTest(model=model):
                outcome = run_on(model, engine_path(), "benchsearch", "3")
                if outcome.missing() is None:
                    self.assertEqual((outcome.status, outcome.errors), (0, ""))
                    results.add(re.search(r"bench: \d+ nodes \d+ qnodes", outcome.output)[0])
        self.assertLessEqual(len(results), 1, "processors differ in what they search")

    def test_a_portable_build_runs_everywhere(self) -> None:
        if setting("MORVANE_ARCH") != "baseline":
            self.skipTest("built for newer processors")
        for model in self.models:
            with self.subTest(model=model):
                outcome = run_on(model, engine_path(), "benchsearch", "1")
                self.assertEqual((outcome.status, outcome.errors), (0, ""))

    def test_a_portable_build_has_the_signature(self) -> None:
        if setting("MORVANE_ARCH") != "baseline":
            self.skipTest("built for newer processors")
        depth, counts = min(read_signature().items())
        output = run_on(self.models[0], engine_path(), "benchsearch", str(depth)).output
        self.assertIn("bench: {} nodes {} qnodes ".format(*counts), output)

    def test_a_build_for_a_newer_processor_is_refused(self) -> None:
        if setting("MORVANE_ARCH") == "baseline":
            self.skipTest("built for all processors")
        if not {"avx2", "bmi2"} <= set(pathlib.Path("/proc/cpuinfo").read_text("utf-8").split()):
            self.skipTest("this processor is old itself")
        for model in ("qemu64", "Westmere"):
            with self.subTest(model=model):
                outcome = run_on(model, engine_path(), "bench")
                missing = outcome.missing()
                self.assertIsNotNone(missing, outcome.errors)
                self.assertLessEqual({"avx", "avx2", "bmi", "bmi2", "lzcnt"}, set(missing))


# The variant that each model takes: the newest whose instructions it has, with bit extraction where that is fast.
VARIANTS = {
    "x86-64": ["Opteron_G1", "qemu64", "core2duo"],
    "x86-64-v2": ["Nehalem", "Westmere", "SandyBridge", "Opteron_G5"],
    "x86-64-v3": ["EPYC", "EPYC-Rome"],
    "x86-64-v3-pext": ["Haswell", "Skylake-Server", "EPYC-Milan"],
}


class Universal(unittest.TestCase):
    """A program that holds the engine once for each kind of x86-64 processor."""

    def setUp(self) -> None:
        if setting("MORVANE_UNIVERSAL") != "ON" or architecture(engine_path()) != "x86-64":
            self.skipTest("the engine has no variants")

    def run_variant(self, variant: str, *arguments: str, model: str = "max") -> Outcome:
        return run_on(model, engine_path(), f"--variant={variant}", *arguments)

    def test_each_processor_takes_the_variant_for_it(self) -> None:
        for variant, models in VARIANTS.items():
            for model in models:
                with self.subTest(model=model):
                    outcome = run_on(model, engine_path(), "--version")
                    self.assertEqual(re.findall(r"^Variant (\S+);", outcome.errors, re.MULTILINE), [variant])

    def test_variants_have_the_signature_where_they_run(self) -> None:
        depth, counts = min(read_signature().items())
        names = list(VARIANTS)
        for newest, models in VARIANTS.items():
            # Bit extraction is slow on those that take the third one, but there.
            runs = names if newest == "x86-64-v3" else names[:names.index(newest) + 1]
            for variant in names:
                with self.subTest(model=models[0], variant=variant):
                    outcome = self.run_variant(variant, "benchsearch", str(depth), model=models[0])
                    if variant in runs:
                        self.assertEqual((outcome.status, outcome.errors), (0, ""))
                        self.assertIn("bench: {} nodes {} qnodes ".format(*counts), outcome.output)
                    else:
                        self.assertIsNotNone(outcome.missing(), outcome.errors)

    def test_what_a_refused_variant_lacks(self) -> None:
        older = {"sse3", "ssse3", "sse4.1", "sse4.2", "cx16", "sahf", "popcnt"}
        newer = {"lzcnt", "bmi", "bmi2", "movbe", "avx", "f16c", "fma", "avx2"}
        for model, variant, missing in (("Nehalem", "x86-64-v3", newer), ("max,-bmi2", "x86-64-v3-pext", {"bmi2"}),
                                        ("Opteron_G1", "x86-64-v2", older), ("Opteron_G1", "x86-64-v3", older | newer)):
            with self.subTest(model=model, variant=variant):
                outcome = self.run_variant(variant, "uci", model=model)
                self.assertLessEqual(set(outcome.missing() or ["none"]), missing)
                if model != "Opteron_G1":  # which has some of the older ones
                    self.assertEqual(set(outcome.missing()), missing)

    def test_an_unknown_variant_is_refused(self) -> None:
        for name in ("", "x86-64-v4", "X86-64", "x86-64 "):
            with self.subTest(name=name):
                outcome = self.run_variant(name, "bench")
                self.assertEqual((outcome.status, outcome.output), (1, ""))
                self.assertEqual(outcome.errors,
                                 f'morvane: немає варіанта "{name}", є: {" ".join(VARIANTS)}\n')

    def session(self, *arguments: str, commands: str = "uci\nisready\nquit\n") -> tuple[bytes, bytes]:
        done = subprocess.run(["qemu-x86_64", "-cpu", "max", engine_path(), *arguments], input=commands.encode(),
                              capture_output=True, timeout=DEADLINE, check=True)
        return done.stdout, re.sub(rb"qemu-\w+: warning: .*\n", b"", done.stderr)

    def test_what_follows_is_as_without_it(self) -> None:
        """Modes, remarks on the first word, and the UCI loop, in which all variants say the same."""
        start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"
        for arguments in ((), ("perft", start, "3"), ("evaltrace", start), ("nothing",), ("perft",), ("--help",)):
            plain = self.session(*arguments)
            self.assertNotEqual(plain, (b"", b""))
            for variant in VARIANTS:
                with self.subTest(arguments=arguments, variant=variant):
                    self.assertEqual(self.session(f"--variant={variant}", *arguments), plain)

    def test_only_the_first_argument_counts(self) -> None:
        _, remarks = self.session("nothing", "--variant=none")
        self.assertEqual(remarks, self.session("nothing")[1])

    def test_variants_run_nothing_before_main_and_share_no_symbol(self) -> None:
        """What ran before the choice could use instructions that the processor lacks; what was shared could be the
        function of another variant."""
        for variant in VARIANTS:
            with self.subTest(variant=variant):
                part = pathlib.Path(engine_path()).parent / "variants" / variant / "variant.o"
                sections = subprocess.run(["readelf", "-SW", part], capture_output=True, text=True, check=True).stdout
                self.assertIn(" .text", sections)
                self.assertNotRegex(sections, r"\.(preinit_array|init_array|ctors)")
                symbols = subprocess.run(["nm", "-g", "--defined-only", part], capture_output=True, text=True,
                                         check=True).stdout.splitlines()
                names = [line.split()[-1] for line in symbols]
                self.assertEqual(names, [f"kVariant_{re.sub('[^0-9a-z]', '_', variant)}"])


# The ways to build for which the check must hold, by name: arguments of CMake.
BUILDS = {
    "default": ["-DMORVANE_ARCH=x86-64-v3"],
    "fixed and static": ["-DMORVANE_ARCH=x86-64-v3", "-DMORVANE_HARDEN=OFF",
                         "-DMORVANE_STATIC=ALL"],
    "static": ["-DMORVANE_ARCH=x86-64-v2", "-DMORVANE_STATIC=ALL"],
    "unoptimised": ["-DMORVANE_ARCH=x86-64-v3", "-DCMAKE_BUILD_TYPE="],
    "by flags": ["-DMORVANE_ARCH=baseline", "-DCMAKE_CXX_FLAGS=-mbmi -mbmi2 -mlzcnt -mavx"],
    "clang": ["-DMORVANE_ARCH=x86-64-v3", "-DCMAKE_CXX_COMPILER=clang++",
              "-DMORVANE_STATIC=RUNTIME"],
    "arm": ["-DMORVANE_ARCH=armv8.2-a+dotprod", f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}"],
}
NEEDS = {"clang": "clang++", "arm": "aarch64-linux-gnu-g++"}
DEFAULTS = ["-DCMAKE_BUILD_TYPE=Release", "-DMORVANE_HARDEN=ON", "-DMORVANE_LTO=ON",
            "-DMORVANE_STATIC=OFF", "-DMORVANE_WERROR=ON"]


def build(folder: str, name: str) -> None:
    if not shutil.which(NEEDS.get(name, "cmake")):
        return
    place = os.path.join(folder, name)
    for command in (["cmake", "-G", "Ninja", "-S", str(PROJECT), "-B", place,
                     *DEFAULTS, *BUILDS[name]],
                    ["cmake", "--build", place]):
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise AssertionError(f"{name}: {done.stdout}{done.stderr}")


@unittest.skipUnless(shutil.which("cmake") and shutil.which("ninja"), "needs CMake and Ninja")
class Check(unittest.TestCase):
    """A small program with the same check, built in several ways."""

    @classmethod
    def setUpClass(cls) -> None:
        if os.uname().machine != "x86_64":
            raise unittest.SkipTest("the builds are those of an x86-64 machine")
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(lambda name: build(cls.folder, name), BUILDS))

    def run_checked(self, name: str, model: str, program: str = "checked") -> Outcome:
        path = os.path.join(self.folder, name, program)
        if not os.path.exists(path):
            self.skipTest(f"{NEEDS[name]} is not installed")
        return run_on(model, path)

    def assert_runs(self, name: str, model: str) -> None:
        outcome = self.run_checked(name, model)
        self.assertEqual((outcome.status, outcome.errors), (0, ""))
        self.assertEqual(outcome.output, "constructed 40\nruns\n")

    def assert_lacks(self, name: str, model: str, missing: str) -> None:
        outcome = self.run_checked(name, model)
        self.assertEqual(outcome.missing(), missing.split(), (outcome.status, outcome.errors))

    def test_each_missing_set_is_named(self) -> None:
        self.assert_runs("default", "max")
        for feature, missing in {
            "pni": "sse3", "ssse3": "ssse3", "sse4.1": "sse4.1", "sse4.2": "sse4.2",
            "cx16": "cx16", "lahf-lm": "sahf", "popcnt": "popcnt", "abm": "lzcnt",
            "bmi1": "bmi", "bmi2": "bmi2", "movbe": "movbe", "f16c": "f16c", "fma": "fma",
            "avx2": "avx2", "avx": "avx f16c fma avx2",
        }.items():
            with self.subTest(feature=feature):
                self.assert_lacks("default", f"max,-{feature}", missing)

    def test_wide_registers_need_a_system_that_saves_them(self) -> None:
        self.assert_lacks("default", "max,-xsave", "avx f16c fma avx2")

    def test_without_the_check_an_instruction_ends_it(self) -> None:
        """So the program is one that tells whether the check works."""
        for name in ("default", "clang", "fixed and static"):
            with self.subTest(name=name):
                outcome = self.run_checked(name, "Westmere", "unchecked")
                self.assertNotEqual(outcome.status, 0)
                self.assertIn("Illegal instruction", outcome.errors)

    def test_kinds_of_builds(self) -> None:
        for name in ("default", "fixed and static", "unoptimised", "clang"):
            with self.subTest(name=name):
                self.assert_runs(name, "max")
                self.assert_lacks(name, "Westmere", "lzcnt bmi bmi2 movbe avx f16c fma avx2")

    def test_static_build(self) -> None:
        self.assert_runs("static", "Nehalem")
        self.assert_lacks("static", "core2duo", "sse4.1 sse4.2 popcnt")

    def test_instructions_by_the_users_own_flags(self) -> None:
        self.assert_runs("by flags", "max")
        self.assert_lacks("by flags", "max,-bmi2", "bmi2")
        self.assert_lacks("by flags", "Westmere", "lzcnt bmi bmi2 avx")

    def test_arm(self) -> None:
        self.assert_runs("arm", "neoverse-n1")
        self.assert_lacks("arm", "cortex-a53", "lse rdma dotprod")


if __name__ == "__main__":
    unittest.main()
