"""Where "benchsearch" spends its time, by lines of the source: perf looks at a clock's beat where the processor is.

A beat finds the instruction that is not done yet, so a line with a large share either has much to do or waits, and
what it waits for is what it reads: an entry of a table that is in no cache, as a rule. Instructions per node
("measure.py instructions") tell the two apart."""

from __future__ import annotations

import collections
import linecache
import os
import re
import shutil
import subprocess
import tempfile

DEPTH = 13
ROWS = 25
SYSTEM = "(outside the engine: the system and its libraries)"
NO_LINE = "??:"


class ProfileError(Exception):
    """There is no profile, or it tells nothing."""


def output(command: list[str], text: str = "") -> str:
    done = subprocess.run(command, input=text, capture_output=True, text=True, errors="replace", check=False)
    if done.returncode != 0:
        said = done.stderr.split("\n")
        raise ProfileError(f"{command[0]} {command[1]} failed: {next((line for line in said if line.strip()), '')}")
    return done.stdout


def profile(engine: str) -> str:
    """What perf says of a run: where the engine lies in memory, and a line for each beat."""
    for program, package in (("perf", "linux-perf"), ("addr2line", "binutils")):
        if not shutil.which(program):
            raise ProfileError(f"{program} is not installed (Debian package: {package})")
    with tempfile.TemporaryDirectory() as folder:
        data = os.path.join(folder, "data")
        output(["perf", "record", "-e", "cpu-clock", "-o", data, engine, "benchsearch", str(DEPTH)])
        return output(["perf", "script", "-i", data, "-F", "ip,dso", "--show-mmap-events"])


def segments(engine: str) -> list[tuple[int, int, int]]:
    """Of what is loaded: place in the file, address, size."""
    loads = re.findall(r"^ +LOAD +(0x\w+) (0x\w+) 0x\w+ (0x\w+)", output(["readelf", "-lW", engine]), re.MULTILINE)
    return [tuple(int(number, 16) for number in load) for load in loads]


def addresses(engine: str, script: str) -> collections.Counter[int | None]:
    """Beats by the address that the engine's file gives the instruction; None for what is not the engine."""
    path, loads = os.path.realpath(engine), segments(engine)
    maps = [tuple(int(number, 16) for number in row) for row in re.findall(
        rf"^PERF_RECORD_MMAP2.*: \[(0x\w+)\((0x\w+)\) @ (0|0x\w+) .* r-xp {re.escape(path)}$", script, re.MULTILINE)]
    beats: collections.Counter[int | None] = collections.Counter()
    for word in re.findall(r"^ +([0-9a-f]+) \(.*\)$", script, re.MULTILINE):
        at = int(word, 16)
        places = [at - begin + place for begin, size, place in maps if begin <= at < begin + size]
        found = [place - offset + address for place in places for offset, address, size in loads
                 if offset <= place < offset + size]
        beats[found[0] if found else None] += 1
    return beats


def lines(engine: str, beats: collections.Counter[int | None]) -> collections.Counter[tuple[str, str]]:
    """Beats by function and line; those of inlined functions where they are written, if that is no library."""
    wanted = [at for at in beats if at is not None]
    told = output(["addr2line", "-a", "-i", "-f", "-C", "-e", engine], "".join(f"{at:#x}\n" for at in wanted))
    counts: collections.Counter[tuple[str, str]] = collections.Counter()
    for block in re.split(r"^0x", told, flags=re.MULTILINE)[1:]:
        address, *chain = block.splitlines()  # functions and lines, that of the caller last
        frames = list(zip(chain[::2], chain[1::2]))
        function, line = next((frame for frame in frames if not frame[1].startswith("/usr/")), frames[0])
        name = re.sub(r"\(anonymous namespace\)::|[(<].*", "", function)
        counts[name.rpartition(" ")[2] or function, line.partition(" (disc")[0]] += beats[int(address, 16)]
    if all(line.startswith(NO_LINE) for _, line in counts):
        raise ProfileError(f"{engine} tells no lines of its source: build it with -DCMAKE_CXX_FLAGS=-g")
    return counts


def print_table(engine: str, script: str) -> None:
    beats = addresses(engine, script)
    counts = lines(engine, beats)
    total = beats.total()
    print(f"{total} beats of benchsearch {DEPTH}; {beats[None] / total:.1%} {SYSTEM}\n\n share  function, line, source")
    for (function, line), count in counts.most_common(ROWS):
        path, _, number = line.rpartition(":")
        source = linecache.getline(path, int(number) if number.isdigit() else 0).strip()
        print(f"{count / total:6.1%}  {function}, {path.rpartition('/src/')[2]}:{number}, {source}")


def report(engine: str) -> None:
    print_table(engine, profile(engine))
