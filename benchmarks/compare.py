"""Compares the working tree with a revision, for "benchmarks/run --compare": builds both alike, runs them in turn and
prints how many times as fast the tree is.

Speeds are of processor time. Both builds are for this machine and not hardened, as those of docs/performance.md;
instructions are counted on builds of their own, for which the machine does not matter."""

from __future__ import annotations

import argparse
import dataclasses
import json
import os
import pathlib
import platform
import re
import resource
import shutil
import statistics
import subprocess
import sys
from collections.abc import Callable, Iterable

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.append(str(ROOT / "scripts"))

import commandline  # noqa: E402
import instructions  # noqa: E402

FOLDER = ROOT / "build" / "compare"
ROUNDS = 15
MIN_TIME = "0.05"  # seconds of a micro-benchmark in a round
WHOLE_SEARCH = "morvane benchsearch"
INSTRUCTIONS = "instructions per node"
COMMON = ("-DCMAKE_BUILD_TYPE=Release", "-DMORVANE_HARDEN=OFF")
NATIVE = (*COMMON, "-DMORVANE_BENCHMARKS=ON")
COUNTED = (*COMMON, "-DMORVANE_ARCH=x86-64-v3", "-DMORVANE_PEXT=OFF")
PACKAGES = ("cmake", "ninja-build", "g++", "libbenchmark-dev")


# --- the two builds ---


@dataclasses.dataclass
class Side:
    """The tree or the revision: its sources, and the folder of its builds."""

    name: str
    source: pathlib.Path
    folder: pathlib.Path

    def program(self, name: str) -> str:
        return str(self.folder / "native" / name)

    @property
    def counted(self) -> str:
        return str(self.folder / "instructions" / "morvane")


def git(*arguments: str) -> str | None:
    done = subprocess.run(["git", "-C", ROOT, *arguments], capture_output=True, text=True, check=False)
    return done.stdout.strip() if done.returncode == 0 else None


def commit_of(revision: str) -> str:
    if not shutil.which("git"):
        commandline.refuse("git is not installed (Debian package: git)")
    if git("rev-parse", "--show-toplevel") != str(ROOT):
        commandline.refuse("these sources are no git checkout: there is no revision to compare with")
    commit = git("rev-parse", "--verify", "--quiet", "--end-of-options", f"{revision}^{{commit}}")
    if not commit:
        commandline.refuse(f"no such revision: {revision}")
    return commit


def keep_alone(wanted: Iterable[str]) -> None:
    """Removes what earlier comparisons have left, unless this one can go on with it."""
    settings = f"{os.environ.get('CXX')} {os.environ.get('CXXFLAGS')}\n"
    stamp = FOLDER / "settings"
    if not stamp.exists() or stamp.read_text(encoding="utf-8") != settings:
        shutil.rmtree(FOLDER, ignore_errors=True)
    FOLDER.mkdir(parents=True, exist_ok=True)
    stamp.write_text(settings, encoding="utf-8")
    for entry in FOLDER.iterdir():
        if entry.is_dir() and entry.name not in wanted:
            shutil.rmtree(entry)


def take_out(commit: str, target: pathlib.Path) -> None:
    """The sources of a commit; a folder that is there is whole."""
    if target.exists():
        return
    partial = target.with_name("partial")
    shutil.rmtree(partial, ignore_errors=True)
    partial.mkdir(parents=True)
    archive = subprocess.Popen(["git", "-C", ROOT, "archive", commit], stdout=subprocess.PIPE)
    unpacked = subprocess.run(["tar", "-x", "-C", partial], stdin=archive.stdout, check=False).returncode
    archive.stdout.close()
    if archive.wait() != 0 or unpacked != 0:
        commandline.refuse(f"git could not take {commit} out into {partial}")
    partial.rename(target)


def build(side: Side, folder: str, settings: Iterable[str], targets: Iterable[str]) -> None:
    print(f"{side.name}: building {', '.join(targets)} in {(side.folder / folder).relative_to(ROOT)}",
          file=sys.stderr, flush=True)
    log = side.folder / f"{folder}.log"
    with open(log, "w", encoding="utf-8") as file:
        for command in (["cmake", "-G", "Ninja", "-S", side.source, "-B", side.folder / folder, *settings],
                        ["cmake", "--build", side.folder / folder, "--target", *targets]):
            if subprocess.run(command, stdout=file, stderr=file, check=False).returncode != 0:
                commandline.refuse(f"{side.name} does not build: see {log.relative_to(ROOT)}")


def sides(revision: str) -> tuple[Side, Side]:
    """The revision and the tree, ready to be built."""
    commit = commit_of(revision)
    ensure_packages()
    short = commit[:12]
    keep_alone(("tree", short))
    (FOLDER / "tree").mkdir(exist_ok=True)
    take_out(commit, FOLDER / short / "source")
    name = revision if revision.startswith(short[:7]) else f"{revision} ({short[:7]})"
    return Side(name, FOLDER / short / "source", FOLDER / short), Side("the tree", ROOT, FOLDER / "tree")


def ensure_packages() -> None:
    command = f". scripts/ensure-packages.sh && ensure_packages {' '.join(PACKAGES)}"
    if subprocess.run(["bash", "-euc", command], cwd=ROOT, stdout=sys.stderr, check=False).returncode != 0:
        commandline.refuse("what builds the benchmarks is not there")


# --- what is measured ---


@dataclasses.dataclass
class Row:
    """Costs of the revision and of the tree, one of each for every round: less is better."""

    name: str
    costs: list[tuple[float, float]]
    show: Callable[[float], str]
    remark: str = ""

    def line(self, width: int) -> str:
        before, after = (self.show(statistics.median(column)) for column in zip(*self.costs))
        ratios = sorted(old / new for old, new in self.costs)
        quarter = len(ratios) // 4
        spread = f"{ratios[quarter]:.3f} to {ratios[-1 - quarter]:.3f}" if len(ratios) > 1 else ""
        return f"{self.name:{width}} {before:>12} {after:>12} {statistics.median(ratios):9.3f}   {spread}".rstrip()


class LeftOut(Exception):
    """Why a row is missing."""


def benchmark_names(program: str) -> list[str]:
    """Of all that it has; none if it cannot say."""
    done = subprocess.run([program, "--benchmark_list_tests=true"], capture_output=True, text=True, check=False)
    return done.stdout.splitlines() if done.returncode == 0 else []


def cost(report: str) -> tuple[float, Callable[[float], str]]:
    """Seconds of processor time, by Google Benchmark's report of one benchmark, and how to show them: for one piece
    of the work where the benchmark counts pieces, since two revisions may do more or less of it."""
    entry, = json.loads(report)["benchmarks"]
    if "error_message" in entry:
        raise LeftOut(entry["error_message"])
    if "items_per_second" in entry:
        return 1 / entry["items_per_second"], lambda seconds: f"{1e-6 / seconds:.2f} M/s"
    if "each" in entry:
        return entry["each"], lambda seconds: f"{seconds * 1e9:.2f} ns"
    unit = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}[entry["time_unit"]]
    return entry["cpu_time"] * unit, lambda seconds: f"{seconds * 1e3:.3f} ms"


def in_turn(measured: Callable[[Side], float], both: tuple[Side, Side],
            rounds: int = ROUNDS) -> list[tuple[float, float]]:
    """The second half of a pair may be slower or faster for being the second: they change places each round."""
    pairs = []
    for number in range(rounds):
        if number % 2:
            new, old = measured(both[1]), measured(both[0])
        else:
            old, new = measured(both[0]), measured(both[1])
        pairs.append((old, new))
    return pairs


def micro_benchmark(name: str, both: tuple[Side, Side]) -> Row:
    exactly = "^" + re.sub(r"([][\\.^$*+?(){}|])", r"\\\1", name) + "$"
    show: Callable[[float], str] = str

    def measured(side: Side) -> float:
        nonlocal show
        done = subprocess.run([side.program("morvane_benchmarks"), f"--benchmark_filter={exactly}",
                               f"--benchmark_min_time={MIN_TIME}", "--benchmark_format=json"],
                              capture_output=True, text=True, check=False)
        try:
            seconds, show = cost(done.stdout)
        except (ValueError, KeyError):
            raise LeftOut(f"fails in {side.name}") from None
        return seconds

    costs = in_turn(measured, both)
    return Row(name, costs, show)


def whole_search(both: tuple[Side, Side]) -> Row:
    """Processor time of a node, start of the program and all."""
    counts = {}

    def measured(side: Side) -> float:
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        done = subprocess.run([side.program("morvane"), "benchsearch"], capture_output=True, text=True, check=False)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        total = re.search(r"^bench: (\d+) nodes", done.stdout, re.MULTILINE)
        if not total:
            raise LeftOut(f"fails in {side.name}")
        counts[side.name] = int(total[1])
        return (after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime) / counts[side.name]

    costs = in_turn(measured, both, ROUNDS + 1)[1:]  # the first warms up
    told = ", ".join(f"{count} nodes in {name}" for name, count in sorted(counts.items()))
    remark = f"play differs, so searches are other work: {told}" if len({*counts.values()}) > 1 else ""
    return Row(WHOLE_SEARCH, costs, lambda seconds: f"{1e-6 / seconds:.2f} M/s", remark)


def why_uncounted() -> str:
    """Empty where instructions can be counted."""
    if platform.machine() != "x86_64":
        return "they are counted for x86-64 alone"
    return "" if shutil.which("valgrind") else "valgrind is not installed"


def count_both(both: tuple[Side, Side]) -> Row:
    if reason := why_uncounted():
        raise LeftOut(reason)
    try:
        costs = [tuple(instructions.count(side.counted).per_node for side in both)]
    except instructions.CountError as error:
        raise LeftOut(str(error)) from None
    return Row(INSTRUCTIONS, costs, lambda number: f"{number:.0f}")


# --- all of it ---


def plan(names: tuple[list[str], list[str]], wanted: re.Pattern) -> tuple[list[str], dict[str, str]]:
    """Micro-benchmarks to run, and those left out with the reason; the rest nobody wants."""
    todo, left_out = [], {}
    for name in dict.fromkeys(names[1] + names[0]):
        if not wanted.search(name):
            continue
        if name not in names[0]:
            left_out[name] = "only the tree has it"
        elif name not in names[1]:
            left_out[name] = "only the revision has it"
        elif name.endswith("/real_time"):
            left_out[name] = "it measures wall clock"
        else:
            todo.append(name)
    return todo, left_out


def build_both(both: tuple[Side, Side], wanted: re.Pattern) -> tuple[list[str], list[str]]:
    """Returns the names of the micro-benchmarks that each side has."""
    names = ([], [])
    for side, found in zip(both, names):
        if (side.source / "benchmarks" / "CMakeLists.txt").exists():
            build(side, "native", NATIVE, ["morvane", "morvane_benchmarks"])
            found += benchmark_names(side.program("morvane_benchmarks"))
        else:
            build(side, "native", COMMON, ["morvane"])
        if wanted.search(INSTRUCTIONS) and not why_uncounted():
            build(side, "instructions", COUNTED, ["morvane"])
    return names


def report(both: tuple[Side, Side], wanted: re.Pattern) -> None:
    todo, left_out = plan(build_both(both, wanted), wanted)
    jobs: dict[str, Callable[[], Row]] = {name: lambda name=name: micro_benchmark(name, both) for name in todo}
    others = ((WHOLE_SEARCH, whole_search), (INSTRUCTIONS, count_both))
    jobs |= {name: lambda job=job: job(both) for name, job in others if wanted.search(name)}
    if not jobs and not left_out:
        commandline.refuse(f"nothing is named so: {wanted.pattern}")
    width = max(map(len, [*jobs, *left_out]))
    print(f"{both[1].name} against {both[0].name}: medians, and how many times as fast the tree is, with the middle half"
          f"\nof {ROUNDS} rounds in turn\n\n"
          f"{'':{width}} {'revision':>12} {'tree':>12} {'ratio':>9}   middle half", flush=True)
    remarks = []
    for name, job in jobs.items():
        try:
            row = job()
            print(row.line(width), flush=True)
            remarks += [row.remark] if row.remark else []
        except LeftOut as reason:
            left_out[name] = str(reason)
    for remark in remarks:
        print(f"\n{remark}")
    if left_out:
        print("\nleft out:")
        for name, reason in left_out.items():
            print(f"  {name}: {reason}")


def pattern(text: str) -> re.Pattern:
    try:
        return re.compile(text)
    except re.error as error:
        raise argparse.ArgumentTypeError(f"no regular expression: {text} ({error})") from None


def main() -> None:
    parser = commandline.Parser(__doc__)
    parser.add_argument("revision", metavar="REV")
    parser.add_argument("filter", nargs="?", type=pattern, default=pattern(""), metavar="FILTER")
    options = parser.parse_args()
    report(sides(options.revision), options.filter)


if __name__ == "__main__":
    main()
