"""Instructions per node of "benchsearch", as callgrind counts them. They do not depend on the machine, but on the
compiler and on what it builds for; callgrind knows no newer instructions than those of -DMORVANE_ARCH=x86-64-v3."""

from __future__ import annotations

import collections
import dataclasses
import os
import re
import shutil
import subprocess
import tempfile

DEPTH = 8
ROWS = 20  # of a table
LOOSE = 0.02  # how far below its bound a count makes the bound useless


class CountError(Exception):
    """The instructions could not be counted."""


@dataclasses.dataclass
class Count:
    depth: int
    nodes: int
    total: int
    by_function: collections.Counter
    by_file: collections.Counter

    @property
    def per_node(self) -> float:
        return self.total / self.nodes

    def __str__(self) -> str:
        return f"{self.per_node:.0f} instructions per node over benchsearch {self.depth} ({self.nodes} nodes)"


def output(command: list[str], failure: str) -> str:
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True, check=False)
    if done.returncode != 0:
        raise CountError(failure)
    return done.stdout


def count(path: str, depth: int = DEPTH) -> Count:
    """Of the search alone: what comes before and after it belongs to no node."""
    if not shutil.which("valgrind"):
        raise CountError("valgrind is not installed (Debian package: valgrind)")
    with tempfile.TemporaryDirectory() as folder:
        profile = os.path.join(folder, "profile")
        printed = output(["valgrind", "--tool=callgrind", "--toggle-collect=*completeIteration*",
                          f"--callgrind-out-file={profile}", path, "benchsearch", str(depth)],
                         f"callgrind cannot run {path}: was it built with -DMORVANE_ARCH=x86-64-v3?")
        listing = output(["callgrind_annotate", "--threshold=100", "--auto=no", profile],
                         f"callgrind has counted nothing in {path}")
    found = re.search(r"^bench: (\d+) nodes", printed, re.MULTILINE)
    by_function, by_file = collections.Counter(), collections.Counter()
    for line in listing.splitlines():
        row = re.match(r" *([\d,]+) \([ \d.]+%\)  ([^:]+):(.+?)(?: \[.*)?$", line)
        if row:
            number = int(row.group(1).replace(",", ""))
            function = row.group(3).replace("(anonymous namespace)::", "").removeprefix("void ")
            by_function[re.sub(r"[<(].*|'\d+$", "", function)] += number
            by_file[row.group(2).rpartition("src/")[2]] += number
    if not found or not by_function:
        raise CountError(f"{path} has no search that callgrind can tell from the rest")
    return Count(depth, int(found.group(1)), by_function.total(), by_function, by_file)


def print_tables(counted: Count) -> None:
    for title, counts in (("function, with what is inlined in it", counted.by_function),
                          ("source file, wherever it is inlined", counted.by_file)):
        print(f"\n  per node  share  {title}")
        for name, number in counts.most_common(ROWS):
            print(f"{number / counted.nodes:10.1f} {number / counted.total:6.1%}  {name}")


# --- the bound that a change must not exceed unnoticed ---


@dataclasses.dataclass
class Bound:
    path: str
    depth: int
    per_node: int
    compiler: str  # as `--version` tells it


def bound_in(path: str) -> Bound:
    """The line of the file that is no comment: depth, instructions per node, compiler."""
    with open(path, encoding="utf-8", errors="replace") as file:
        lines = [line.strip() for line in file if line.partition("#")[0].strip()]
    row = re.fullmatch(r"([1-9]\d*) ([1-9]\d*) (\S.*)", lines[0]) if len(lines) == 1 else None
    if not row:
        raise ValueError(f"{path}: not one line with a depth, instructions per node and a compiler")
    return Bound(path, int(row[1]), int(row[2]), row[3])


def compiler_of(path: str) -> str:
    """That the engine was built by."""
    done = subprocess.run([path, "--version"], stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    told = re.search(r"^Built by (.+?) for ", done.stderr, re.MULTILINE)
    return told.group(1) if told else "an unknown compiler"


def judge(counted: Count, compiler: str, bound: Bound) -> tuple[bool, str]:
    """Whether the count is within the bound, or the bound says nothing about it; and what to say."""
    if compiler != bound.compiler:
        return True, f"not judged: {bound.path} is about {bound.compiler}, this is built by {compiler}"
    if counted.per_node > bound.per_node:
        return False, (f"too many: at most {bound.per_node} are expected. Find what costs them"
                       f' ("How to measure" in docs/performance.md), or raise the bound in {bound.path} on purpose')
    if counted.per_node < bound.per_node * (1 - LOOSE):
        return True, f"within the bound of {bound.per_node}, which is too loose now: lower it in {bound.path}"
    return True, f"within the bound of {bound.per_node}"
