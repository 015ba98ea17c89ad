#!/usr/bin/env python3
"""Measures what a user of the engine feels: nodes per second beside other engines, the gain of more
threads, and how fast the engine starts, answers and stops; and where the time goes.

    measure.py nodes ENGINE [OTHER ...]   nodes per processor second of one thread, in turn, medians and ratios
    measure.py depth ENGINE [COUNT ...]   wall clock to a depth with so many threads (2) against one, over the
                                          20 positions of benchmarks/depth.epd
    measure.py threads ENGINE [COUNT ...] nodes per second of so many threads (2) against one
    measure.py latency ENGINE             start to "uciok"; with 1, 2 and 4 threads "isready" in a search
                                          and "stop" to "bestmove", at varying moments of 2,000 searches
    measure.py compare ENGINE OTHER ...   processor time of "benchsearch" in turn, ratios to the first
    measure.py instructions ENGINE        instructions per node of "benchsearch", by function and source
                                          file (callgrind knows no newer instructions than those of
                                          -DMORVANE_ARCH=x86-64-v3; for files add -g)
    measure.py waits ENGINE               the lines of the source on which "benchsearch" spends its time, most of
                                          it waiting for memory (perf; needs a build with -g)
    measure.py hash ENGINE [MIB ...]      time to size and clear the table, and what the next search finds

Machines are shared and noisy: speeds are medians of several runs, and engines are compared within
one run, in turn. Threads need as many idle cores to show anything."""

import argparse
import os
import random
import resource
import statistics
import subprocess
import sys
import time

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "scripts"))

import commandline  # noqa: E402
import instructions  # noqa: E402
import waits  # noqa: E402
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
DEPTH_POSITIONS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "depth.epd")
HASH_MIB = 64
RUNS = 7
DEPTH_RUNS = 5
MOVE_TIME_MS = 500
DEPTH_TIME_MS = 1000
LONG_SEARCH_MS = 3000
SHORT_SEARCH_MS = 100
COMPARED_RUNS = 15
STARTS = 100
STOPS = 2000
STOPPED_WITHIN_SECONDS = 0.04
WARM_UP_SECONDS = 3  # a GiB
PAGES_SECONDS = 0.2
LOOK_SECONDS = 0.01  # between two looks at an engine that should rest
LOOKS = 3
REST_DEADLINE = 60


# --- an engine at work and at rest ---


def cpu_seconds(engine):
    """Of all its threads, those included that have ended, so far."""
    clock = ~engine.process.pid << 3 | 2  # as clock_getcpuclockid() of the C library says
    return time.clock_gettime(clock)


def is_running(engine):
    """Whether a thread is at work, or would be if it had a processor."""
    folder = f"/proc/{engine.process.pid}/task"
    for task in os.listdir(folder):
        try:
            with open(f"{folder}/{task}/stat", encoding="utf-8", errors="replace") as stat:
                if stat.read().rpartition(")")[2].split()[0] in "RD":
                    return True
        except (FileNotFoundError, ProcessLookupError):
            pass  # it has ended
    return False


def wait_for_rest(engine):
    """Returns when the engine uses no processor: it may have answered, and fetch the pages of its table still."""
    deadline = time.monotonic() + REST_DEADLINE
    looks, before = 0, cpu_seconds(engine)
    while looks < LOOKS:
        time.sleep(LOOK_SECONDS)
        now = cpu_seconds(engine)
        looks = looks + 1 if now == before and not is_running(engine) else 0
        before = now
        if time.monotonic() > deadline:
            raise EngineError(f"{engine.path} is never at rest")


def new_game(engine):
    engine.new_game()
    wait_for_rest(engine)


def depth_and_nodes(engine, fen, limit):
    """Searches under a limit; returns the last depth that has a score, and the last number of nodes: some engines
    tell those of the whole search in a line of its own."""
    depth = nodes = 0
    for line in engine.search(fen, limit):
        words = line.split()
        if "nodes" in words and words[1] != "string":
            nodes = int(words[words.index("nodes") + 1])
            if "score" in words:
                depth = int(words[words.index("depth") + 1])
    return depth, nodes


def depths_within(path, options, fens, milliseconds):
    """Depths that the engine reaches in the time: a search to a depth counts all its nodes."""
    engine = Engine(path, **options)
    depths = [depth_and_nodes(engine, fen, f"movetime {milliseconds}")[0] for fen in fens]
    engine.close()
    return depths


# --- the commands ---


def cpu_rate(path, options, depths):
    """Nodes per processor second of searches alone, over all positions.

    What an engine does for a new game belongs to no node: the clock is read when it is at rest again, its table
    cleared and, if it fetches the pages ahead, fetched. An engine that leaves the pages to their first use does so in
    the first round, which counts nothing. The second is a new game, too: with the table of the first one the searches
    would be others, and shorter. Page faults that are left are the engine's own way and count, as does the rest of the
    system's time."""
    engine = Engine(path, **options)
    for _ in range(2):
        new_game(engine)
        before = cpu_seconds(engine)
        total = sum(depth_and_nodes(engine, fen, f"depth {depth}")[1] for fen, depth in zip(POSITIONS, depths))
        result = total / (cpu_seconds(engine) - before)
    engine.close()
    return result


def nodes(paths):
    options = {"Hash": HASH_MIB, "Threads": 1}  # some engines take more threads if nobody asks
    depths = {path: depths_within(path, options, POSITIONS, MOVE_TIME_MS) for path in paths}
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


def wall_seconds(engine, fen, depth):
    new_game(engine)
    begin = time.perf_counter()
    engine.search(fen, f"depth {depth}")
    return time.perf_counter() - begin


def time_to_depth(path, counts, mib):
    with open(DEPTH_POSITIONS, encoding="ascii") as file:
        fens = [line.strip() for line in file if not line.startswith("#")]
    depths = depths_within(path, {"Hash": mib, "Threads": 1}, fens, DEPTH_TIME_MS)
    engines = {count: Engine(path, Hash=mib, Threads=count) for count in dict.fromkeys([1, *counts])}
    for engine in engines.values():  # the system hands out fresh memory slowly
        wall_seconds(engine, fens[0], depths[0])
    # seconds[count][run][position]; a position is searched by all in turn
    seconds = {count: [[] for _ in range(DEPTH_RUNS)] for count in engines}
    for run in range(DEPTH_RUNS):
        for fen, depth in zip(fens, depths):
            for count, engine in engines.items():
                seconds[count][run].append(wall_seconds(engine, fen, depth))
    for engine in engines.values():
        engine.close()
    ones = seconds.pop(1)
    print(f"{len(os.sched_getaffinity(0))} processors; one thread: {statistics.median(map(sum, ones)):.1f} s"
          f" for {len(fens)} positions, to depths from {min(depths)} to {max(depths)}")
    for count, runs in seconds.items():
        ratios = [[a / b for a, b in zip(one, many)] for one, many in zip(ones, runs)]
        means = [statistics.geometric_mean(run) for run in ratios]
        positions = sorted(statistics.median(position) for position in zip(*ratios))
        quarter = len(positions) // 4
        print(f"{count} threads: there {statistics.median(means):.2f} times as soon as one (geometric means of"
              f" {DEPTH_RUNS} runs from {min(means):.2f} to {max(means):.2f};"
              f" middle half of the positions {positions[quarter]:.2f} to {positions[-1 - quarter]:.2f})")


def wall_rate(path, count, mib):
    """Nodes per second that the engine itself reports at the end of a long search."""
    engine = Engine(path, Hash=mib, Threads=count)
    reported = 0
    for _ in range(2):  # the first round warms up
        new_game(engine)
        for line in engine.search(POSITIONS[3], f"movetime {LONG_SEARCH_MS}"):
            words = line.split()
            if "nps" in words:
                reported = int(words[words.index("nps") + 1])
    engine.close()
    return reported


def threads(path, counts, mib):
    ones = []
    ratios = {count: [] for count in counts}
    for _ in range(RUNS):
        ones.append(wall_rate(path, 1, mib))
        for count in counts:
            ratios[count].append(wall_rate(path, count, mib) / ones[-1])
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


def count_instructions(path, bound):
    """The number by function and file; or, with a bound, whether it is kept, and the tables where it is not."""
    counted = instructions.count(path, bound.depth if bound else instructions.DEPTH)
    print(counted)
    kept, told = instructions.judge(counted, instructions.compiler_of(path), bound) if bound else (True, "")
    if not bound or not kept:
        instructions.print_tables(counted)
    if bound:
        print(told if kept else f"\n{told}")
    if not kept:
        sys.exit(1)


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


def bound(path):
    try:
        return instructions.bound_in(path)
    except (OSError, ValueError) as error:
        raise argparse.ArgumentTypeError(str(error)) from None


def main():
    commands = {  # with what follows the engine: of what kind it is, if anything may follow
        "nodes": (commandline.program, lambda options, others: nodes([options.engine, *others])),
        "depth": (commandline.positive,
                  lambda options, counts: time_to_depth(options.engine, counts or [2], options.hash or HASH_MIB)),
        "threads": (commandline.positive,
                    lambda options, counts: threads(options.engine, counts or [2], options.hash or HASH_MIB)),
        "latency": (None, lambda options, _: latency(options.engine)),
        "compare": (commandline.program, lambda options, others: compare([options.engine, *others])),
        "instructions": (None, lambda options, _: count_instructions(options.engine, options.bound)),
        "waits": (None, lambda options, _: waits.report(options.engine)),
        "hash": (commandline.positive, lambda options, sizes: hash_times(options.engine, sizes)),
    }
    parser = commandline.Parser(__doc__)
    parser.add_argument("command", choices=commands, metavar="COMMAND", help="one of those above")
    parser.add_argument("engine", type=commandline.program, metavar="ENGINE")
    parser.add_argument("more", nargs="*", metavar="...", help="engines or numbers, as above")
    parser.add_argument("--hash", type=commandline.positive, metavar="MIB",
                        help=f"size of the table for depth and threads ({HASH_MIB})")
    parser.add_argument("--bound", type=bound, metavar="FILE",
                        help="for instructions: tells what is above the number in the file, and ends with status 1")
    options = parser.parse_args()
    kind, command = commands[options.command]
    if options.more and not kind:
        parser.error(f"{options.command} takes an engine alone")
    if options.hash and options.command not in ("depth", "threads"):
        parser.error(f"{options.command} takes no --hash")
    if options.bound and options.command != "instructions":
        parser.error(f"{options.command} takes no --bound")
    try:
        more = [kind(text) for text in options.more]
    except (argparse.ArgumentTypeError, ValueError) as error:
        parser.error(str(error))
    try:
        command(options, more)
    except (EngineError, instructions.CountError, waits.ProfileError) as error:
        commandline.refuse(str(error))


if __name__ == "__main__":
    main()
