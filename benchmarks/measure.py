#!/usr/bin/env python3
"""Measures what a user of the engine feels: nodes per second beside other engines, the gain of more
threads, and how fast the engine starts, answers and stops.

    measure.py nodes ENGINE [OTHER ...]   nodes per processor second, in turn, medians and ratios
    measure.py threads ENGINE [COUNT ...] nodes per second of so many threads (2) against one
    measure.py latency ENGINE             start to "uciok"; with 1, 2 and 4 threads "isready" in a search
                                          and "stop" to "bestmove", at varying moments of 2,000 searches
    measure.py compare ENGINE OTHER ...   processor time of "benchsearch" in turn, ratios to the first
    measure.py instructions ENGINE        instructions per node of "benchsearch", by function and source
                                          file (callgrind knows no newer instructions than those of
                                          -DMORVANE_ARCH=x86-64-v3; for files add -g)
    measure.py hash ENGINE [MIB ...]      time to size and clear the table, and what the next search finds

Machines are shared and noisy: speeds are medians of several runs, and engines are compared within
one run, in turn. Threads need as many idle cores to show anything."""

import argparse
import collections
import os
import random
import re
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts"))

import commandline  # noqa: E402
from uci import Engine, EngineError  # noqa: E402

# The middle games of the search benchmark.
POSITIONS = (
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "r1bqk2r/pppp1ppp/2n2n2/2b1p3/2B1P3/2N2N2/PPPP1PPP/R1BQK2R w KQkq - 0 1",
    "rnbq1rk1/pp2ppbp/3p1np1/2p5/2PP4/2N1PN2/PP2BPPP/R1BQK2R w KQ - 0 1",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    "2rq1rk1/pp1bppbp/2np1np1/8/3NP3/1BN1BP2/PPPQ2PP/2KR3R w - - 0 1",
    "4rrk1/pp1n1ppp/2p5/3p4/3P4/2P2N2/PP3PPP/R3R1K1 w - - 0 1",
)
RUNS = 7
MOVE_TIME_MS = 500
LONG_SEARCH_MS = 3000
SHORT_SEARCH_MS = 100
COMPARED_RUNS = 15
STARTS = 100
STOPS = 2000
STOPPED_WITHIN_SECONDS = 0.04
INSTRUCTION_DEPTH = 8
WARM_UP_SECONDS = 3  # a GiB
PAGES_SECONDS = 0.2


def cpu_seconds(engine):
    """Of all its threads, so far."""
    with open(f"/proc/{engine.process.pid}/stat", encoding="ascii") as stat:
        fields = stat.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def depth_and_nodes(engine, fen, limit):
    """Searches under a limit; returns what the last line that tells both says."""
    depth = nodes = 0
    for line in engine.search(fen, limit):
        words = line.split()
        if "nodes" in words and "score" in words:
            depth = int(words[words.index("depth") + 1])
            nodes = int(words[words.index("nodes") + 1])
    return depth, nodes


def depths_within(path, options):
    """Depths that the engine reaches in the move time: a search to a depth counts all its nodes."""
    engine = Engine(path, **options)
    depths = [depth_and_nodes(engine, fen, f"movetime {MOVE_TIME_MS}")[0] for fen in POSITIONS]
    engine.close()
    return depths


def cpu_rate(path, options, depths):
    """Nodes per processor second over all positions. The first round warms up: the system hands out
    fresh memory slowly."""
    engine = Engine(path, **options)
    for _ in range(2):
        engine.new_game()
        before = cpu_seconds(engine)
        total = sum(depth_and_nodes(engine, fen, f"depth {depth}")[1] for fen, depth in zip(POSITIONS, depths))
        result = total / (cpu_seconds(engine) - before)
    engine.close()
    return result


def nodes(paths):
    options = {"Hash": 64}
    depths = {path: depths_within(path, options) for path in paths}
    rates = {path: [] for path in paths}
    for _ in range(RUNS):
        for path in paths:
            rates[path].append(cpu_rate(path, options, depths[path]))
    first = rates[paths[0]]
    for path in paths:
        median = statistics.median(rates[path])
        ratio = statistics.median(a / b for a, b in zip(first, rates[path]))
        print(f"{path}: {median / 1e6:.2f} M nodes per processor second"
              f" (from {min(rates[path]) / 1e6:.2f} to {max(rates[path]) / 1e6:.2f});"
              f" {paths[0]} is {ratio:.2f} times as fast")


def wall_rate(path, count):
    """Nodes per second that the engine itself reports at the end of a long search."""
    engine = Engine(path, Hash=64, Threads=count)
    reported = 0
    for _ in range(2):  # the first round warms up
        engine.new_game()
        for line in engine.search(POSITIONS[3], f"movetime {LONG_SEARCH_MS}"):
            words = line.split()
            if "nps" in words:
                reported = int(words[words.index("nps") + 1])
    engine.close()
    return reported


def threads(path, counts):
    ones = []
    ratios = {count: [] for count in counts}
    for _ in range(RUNS):
        ones.append(wall_rate(path, 1))
        for count in counts:
            ratios[count].append(wall_rate(path, count) / ones[-1])
    print(f"{len(os.sched_getaffinity(0))} processors;"
          f" one thread: {statistics.median(ones) / 1e6:.2f} M nodes per second")
    for count, found in ratios.items():
        print(f"{count} threads: {statistics.median(found):.2f} times the nodes per second of one"
              f" (from {min(found):.2f} to {max(found):.2f})")


def report_times(what, seconds):
    times = sorted(1e3 * x for x in seconds)
    print(f"{what}: median {statistics.median(times):.2f} ms,"
          f" 99 % within {times[(len(times) * 99 + 99) // 100 - 1]:.2f} ms,"
          f" longest {times[-1]:.2f} ms, {len(times)} times", flush=True)


def answer_time(engine, command, answer):
    begin = time.perf_counter()
    engine.ask(command, answer)
    return time.perf_counter() - begin


def latency(path):
    starts = []
    for _ in range(STARTS):
        engine = Engine(path)
        starts.append(engine.start_seconds)
        engine.close()
    report_times('start of the process to "uciok"', starts)
    for count in (1, 2, 4):
        engine = Engine(path, Threads=count)
        answers, stops = [], []
        moments = random.Random(count)
        for number in range(STOPS):
            engine.send(f"position fen {POSITIONS[number % len(POSITIONS)]}")
            engine.send("go infinite")
            if number % 10:  # every tenth is stopped at once
                time.sleep(moments.uniform(0, STOPPED_WITHIN_SECONDS))
                if number % 2:
                    answers.append(answer_time(engine, "isready", "readyok"))
            stops.append(answer_time(engine, "stop", "bestmove"))
        engine.close()
        report_times(f'"isready" to "readyok" in a search with {count} threads', answers)
        report_times(f'"stop" to "bestmove" with {count} threads', stops)


def user_seconds(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
    subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
    return resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before


def compare(paths):
    times = {path: [] for path in paths}
    for run in range(COMPARED_RUNS + 1):  # the first warms up
        for path in paths if run % 2 else reversed(paths):
            seconds = user_seconds([path, "benchsearch"])
            if run:
                times[path].append(seconds)
    first = times[paths[0]]
    for path in paths:
        ratios = sorted(a / b for a, b in zip(first, times[path]))
        quarter = len(ratios) // 4
        print(f"{path}: {statistics.median(times[path]):.3f} s;"
              f" {statistics.median(ratios):.3f} times as fast as {paths[0]}"
              f" (middle half {ratios[quarter]:.3f} to {ratios[-1 - quarter]:.3f})")


def instructions(path):
    if not shutil.which("valgrind"):
        commandline.refuse("valgrind is not installed (Debian package: valgrind)")
    with tempfile.TemporaryDirectory() as folder:
        profile = os.path.join(folder, "profile")
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--toggle-collect=*completeIteration*",
             f"--callgrind-out-file={profile}", path, "benchsearch", str(INSTRUCTION_DEPTH)],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=True)
        listing = subprocess.run(["callgrind_annotate", "--threshold=100", "--auto=no", profile],
                                 stdout=subprocess.PIPE, text=True, check=True).stdout
    nodes = int(re.search(r"^bench: (\d+) nodes", run.stdout, re.MULTILINE).group(1))
    by_function, by_file = collections.Counter(), collections.Counter()
    for line in listing.splitlines():
        row = re.match(r" *([\d,]+) \([ \d.]+%\)  ([^:]+):(.+?)(?: \[.*)?$", line)
        if row:
            count = int(row.group(1).replace(",", ""))
            function = row.group(3).replace("(anonymous namespace)::", "").removeprefix("void ")
            by_function[re.sub(r"[<(].*|'\d+$", "", function)] += count
            by_file[row.group(2).rpartition("src/")[2]] += count
    total = sum(by_function.values())
    print(f"{total / nodes:.0f} instructions per node over benchsearch {INSTRUCTION_DEPTH}"
          f" ({nodes} nodes)")
    for title, counts in (("function, with what is inlined in it", by_function),
                          ("source file, wherever it is inlined", by_file)):
        print(f"\n  per node  share  {title}")
        for name, count in counts.most_common(20):
            print(f"{count / nodes:10.1f} {count / total:6.1%}  {name}")


def hash_times(path, sizes):
    for mib in sizes or (64, 1024):
        engine = Engine(path, Hash=mib)
        time.sleep(WARM_UP_SECONDS * mib / 1024)  # the machine itself may have to provide the memory
        rows = []
        for _ in range(RUNS):
            begin = time.perf_counter()
            engine.send(f"setoption name Hash value {mib}")
            engine.ready()
            sized = time.perf_counter() - begin
            time.sleep(PAGES_SECONDS * (1 + mib / 1024))
            begin = time.perf_counter()
            engine.new_game()
            cleared = time.perf_counter() - begin
            searched = depth_and_nodes(engine, POSITIONS[3], f"movetime {SHORT_SEARCH_MS}")[1]
            rows.append((sized * 1e3, cleared * 1e3, searched))
        engine.close()
        sized, cleared, searched = (statistics.median(column) for column in zip(*rows))
        print(f"{mib} MiB: sized in {sized:.1f} ms, cleared in {cleared:.1f} ms, {searched:.0f} nodes in"
              f" the {SHORT_SEARCH_MS} ms that follow")


def main():
    commands = {
        "nodes": lambda engine, others: nodes([engine, *others]),
        "threads": lambda engine, counts: threads(engine, counts or [2]),
        "latency": lambda engine, _: latency(engine),
        "compare": lambda engine, others: compare([engine, *others]),
        "instructions": lambda engine, _: instructions(engine),
        "hash": hash_times,
    }
    parser = commandline.Parser(__doc__)
    parser.add_argument("command", choices=commands, metavar="COMMAND", help="one of those above")
    parser.add_argument("engine", type=commandline.program, metavar="ENGINE")
    parser.add_argument("more", nargs="*", metavar="...", help="engines or numbers, as above")
    options = parser.parse_args()
    kind = {"nodes": commandline.program, "compare": commandline.program, "threads": commandline.positive,
            "hash": commandline.positive}.get(options.command)
    if options.more and not kind:
        parser.error(f"{options.command} takes an engine alone")
    try:
        more = [kind(text) for text in options.more]
    except (argparse.ArgumentTypeError, ValueError) as error:
        parser.error(str(error))
    try:
        commands[options.command](options.engine, more)
    except EngineError as error:
        commandline.refuse(str(error))


if __name__ == "__main__":
    main()
