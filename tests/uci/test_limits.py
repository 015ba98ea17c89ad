"""What the machine does not give is refused, and the engine goes on with what it has.

Limits are set in three ways: on the address space, on memory and processes of a control group, and
on stacks.  After every request the engine still lives, what it uses is what it has said, and a
search answers.
"""

from __future__ import annotations

import contextlib
import os
import re
import resource
import time
import unittest
from collections.abc import Iterator

import grammar
from client import Engine, EngineError, EngineTest, FolderTest
from conditions import STRACE, is_instrumented, needs_plain_build, needs_strace
from test_options import OptionTest

KIB, MIB = 1 << 10, 1 << 20
NOBODY = 54321  # a user without other processes; the system does not count those of root
RICH = "position fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"
# Pawns locked in each other: in one at least of these, lines of a hundred plies.
LOCKED = ("position fen 8/1k6/8/p1p1p1p1/P1P1P1P1/8/1K6/8 w - - 0 1",
          "position fen 8/8/2k5/p1p1p1p1/P1P1P1P1/2K5/8/8 w - - 0 1")


def refusal(option: str, value: int) -> str:
    return {
        "Hash": f"info string setoption hash: не вдалося виділити {value} МБ — лишається попередній"
                " розмір",
        "Threads": f"info string setoption threads: не вдалося створити {value} потоків — лишається"
                   " попередня кількість",
    }[option]


# --- control groups ---


def group_of(controller: str) -> str | None:
    """The folder of this process's control group with this controller, if there is one."""
    found = None
    with contextlib.suppress(OSError), open("/proc/self/cgroup", encoding="utf-8") as groups:
        for line in groups.read().splitlines():
            _, controllers, path = line.split(":", 2)
            if controller in controllers.split(","):
                return f"/sys/fs/cgroup/{controller}{path}"
            if not controllers:
                found = f"/sys/fs/cgroup{path}"
    return found


@contextlib.contextmanager
def control_group(controller: str, limit: int, *files: str) -> Iterator[str]:
    """The folder of a new group below our own: the first of the files that it has gets the limit.
    Versions of the kernel differ in the names."""
    folder = os.path.join(group_of(controller) or os.devnull, f"limits-{os.getpid()}")
    try:
        os.mkdir(folder)
    except OSError as error:
        raise unittest.SkipTest(f"cannot make a control group: {error}") from error
    try:
        settings = [path for file in files if os.path.exists(path := os.path.join(folder, file))]
        if not settings:
            raise unittest.SkipTest(f"no control group with {' or '.join(files)}")
        with open(settings[0], "w", encoding="ascii") as setting:
            setting.write(str(limit))
        yield folder
    finally:
        os.rmdir(folder)


def join(folder: str) -> None:
    with open(os.path.join(folder, "cgroup.procs"), "w", encoding="ascii") as file:
        file.write(str(os.getpid()))


class LimitTest(OptionTest):
    """The engine under test runs under a limit."""

    def setUp(self) -> None:
        self.table, self.pool = 64, 1

    def table_mib(self) -> int:
        """The size of the table, which alone is asked to lie on huge pages."""
        size, found = 0, 0
        with open(f"/proc/{self.engine.pid}/smaps", encoding="ascii") as file:
            for line in file:
                if match := re.match(r"Size: +(\d+) kB", line):
                    size = int(match[1])
                elif line.startswith("VmFlags:") and " hg" in line:
                    found += size
        return found // 1024

    def pool_size(self) -> int:
        return self.threads() - self.other_threads

    def begin(self, **options) -> None:
        self.engine = self.start(**options)
        self.engine.answers()
        self.other_threads = 0
        self.other_threads = self.pool_size() - 1
        if self.table_mib() != 64:
            self.skipTest("this system does not tell the table's size")

    def request(self, option: str, value: int) -> bool:
        """Whether the request was served; checks that the engine is as it says."""
        try:
            said = self.engine.answers(f"setoption name {option} value {value}")
            if said:
                self.assertEqual(said, [refusal(option, value)])
            elif option == "Hash":
                self.table = value
            else:
                self.pool = value
            self.check()
        except (EngineError, BrokenPipeError) as error:
            self.fail(f"the engine is gone with {option} {value}: {error}")
        return not said

    def check(self) -> None:
        self.assertEqual(self.pool_size(), self.pool)
        self.assertLessEqual(abs(self.table_mib() - self.table), 2)
        best = self.engine.best_move("ucinewgame", RICH, "go movetime 50")
        self.assert_legal(self.engine, best)

    def request_all(self, option: str, *values: int) -> None:
        for value in values:
            self.request(option, value)


@needs_plain_build
class AddressSpace(LimitTest):
    def begin_with(self, mib: int) -> None:
        super().setUp()
        size = mib * MIB
        self.begin(preexec=lambda: resource.setrlimit(resource.RLIMIT_AS, (size, size)))

    def test_hash(self) -> None:
        for mib in (180, 400, 1000):
            self.begin_with(mib)
            self.assertTrue(self.request("Hash", 16))
            self.request_all("Hash", 100, 128, 300, 64, mib - 50, mib - 150, 1, mib - 20)
            self.assertFalse(self.request("Hash", mib))
            self.assertFalse(self.request("Hash", 10 * mib))

    def test_threads(self) -> None:
        for mib in (180, 400, 1000):
            self.begin_with(mib)
            self.request_all("Threads", 2, 256, 8, 100, 32, 256, 1, 4)
            self.assertTrue(self.request("Threads", 1))

    def test_both(self) -> None:
        self.begin_with(400)
        self.request_all("Threads", 16)
        self.request_all("Hash", 256, 380, 128)
        self.request_all("Threads", 64, 256)
        self.request_all("Hash", 250, 1)

    def test_very_little(self) -> None:
        """It works, or it says what is missing; no signal ends it."""
        for kib in (20000, 40000, *range(60000, 105000, 5000), 120000, 150000):
            with self.subTest(kib=kib):
                size = (kib * KIB, kib * KIB)
                engine = Engine(preexec=lambda: resource.setrlimit(resource.RLIMIT_AS, size))
                self.addCleanup(engine.kill)
                try:
                    self.assertRegex(engine.best_move(RICH, "go depth 6"), grammar.MOVE)
                    engine.answers("setoption name Threads value 256", "ucinewgame")
                    engine.answers("setoption name Hash value 256", "position startpos")
                    self.assertRegex(engine.best_move("go depth 6"), grammar.MOVE)
                    self.assertEqual(engine.quit(), 0)
                except (EngineError, BrokenPipeError):
                    self.assertEqual(engine.wait(), 1, engine.stderr)
                    self.assertRegex(engine.stderr, rb"\S+\n$")
                    self.assertNotIn(b"terminate called", engine.stderr)

    def test_search_benchmark(self) -> None:
        """It searches on the thread that reads the commands: none needs to be given."""
        benched = 0
        for kib in range(100000, 116000, 1000):
            with self.subTest(kib=kib):
                size = (kib * KIB, kib * KIB)
                engine = self.start(preexec=lambda: resource.setrlimit(resource.RLIMIT_AS, size))
                said = engine.answers("benchsearch 3")
                if said != ["info string бракує пам'яті — команду не виконано"]:
                    self.assertRegex(said[-1], grammar.BENCH_TOTAL)
                    benched += 1
                self.assertRegex(engine.best_move(RICH, "go depth 3"), grammar.MOVE)
        self.assertGreater(benched, 0)

    def test_search_benchmark_without_memory(self) -> None:
        """Refused as any command, and served again once there is memory."""
        engine = self.engine = self.start()
        self.assertRegex(engine.best_move(RICH, "go depth 3"), grammar.MOVE)
        size = self.status("VmSize") * KIB
        resource.prlimit(engine.pid, resource.RLIMIT_AS, (size, resource.RLIM_INFINITY))
        self.assertEqual(engine.answers("benchsearch 3"),
                         ["info string бракує пам'яті — команду не виконано"])
        self.assertRegex(engine.best_move(RICH, "go depth 3"), grammar.MOVE)
        unlimited = (resource.RLIM_INFINITY, resource.RLIM_INFINITY)
        resource.prlimit(engine.pid, resource.RLIMIT_AS, unlimited)
        self.assertRegex(engine.answers("benchsearch 3")[-1], grammar.BENCH_TOTAL)


@needs_plain_build
class MemoryGroup(LimitTest):
    def setUp(self) -> None:
        super().setUp()
        group = self.enterContext(control_group("memory", 256 * MIB, "memory.limit_in_bytes",
                                                "memory.max"))
        self.begin(preexec=lambda: join(group))

    def test_a_table_that_fits(self) -> None:
        self.assertTrue(self.request("Hash", 100))
        self.engine.search(RICH, "go movetime 2000")
        self.assertGreater(self.status("VmRSS") / 1024, 100)  # all of it has been used

    def test_tables_that_do_not(self) -> None:
        self.assertFalse(self.request("Hash", 240))
        self.assertFalse(self.request("Hash", 1000))
        self.assertTrue(self.request("Hash", 32))
        self.assertFalse(self.request("Hash", 256))

    def test_old_and_new_do_not_fit_together(self) -> None:
        self.request_all("Hash", 64, 128, 180, 100, 170, 120, 200, 1)

    def test_threads(self) -> None:
        self.request_all("Threads", 256, 4, 16, 64, 128, 256, 2)

    def test_both(self) -> None:
        self.request_all("Hash", 150)
        self.request_all("Threads", 16, 64, 8)
        self.request_all("Hash", 190, 100)
        self.request_all("Threads", 32, 2)

    def test_a_request_stops_a_search_whatever_becomes_of_it(self) -> None:
        for value in (1000, 100):
            self.engine.send(RICH, "go infinite")
            self.engine.read_line()
            said = self.engine.answers(f"setoption name Hash value {value}")
            self.assertEqual(sum(line.startswith("bestmove") for line in said), 1)


@needs_plain_build
class Processes(LimitTest):
    """Threads count as processes where those are limited."""

    def group(self, limit: int) -> str:
        return self.enterContext(control_group("pids", limit, "pids.max"))

    def check_threads(self) -> None:
        self.assertTrue(self.request("Threads", 3))
        self.assertFalse(self.request("Threads", 256))
        self.assertTrue(self.request("Threads", 2))
        self.request_all("Hash", 300, 64)  # no thread may be left to prefault its pages

    def test_control_group(self) -> None:
        group = self.group(8)
        self.begin(preexec=lambda: join(group))
        self.check_threads()

    def test_not_one_thread(self) -> None:
        group = self.group(1)
        engine = Engine(preexec=lambda: join(group))
        self.addCleanup(engine.kill)
        self.assertEqual(engine.wait(), 1)
        self.assertRegex(engine.stderr, rb"\S+\n$")
        self.assertNotIn(b"terminate called", engine.stderr)

    def check_tools(self) -> None:
        """The pool has its one thread, and no other is to be had."""
        self.assertRegex(self.engine.answers("benchsearch 3")[-1], grammar.BENCH_TOTAL)
        self.assertRegex(self.engine.best_move(RICH, "go depth 3"), grammar.MOVE)
        self.assertEqual(self.engine.answers("setoption name Threads value 2"),
                         [refusal("Threads", 2)])

    def test_tools_in_a_control_group(self) -> None:
        group = self.group(2)
        self.engine = self.start(preexec=lambda: join(group))
        self.check_tools()

    def test_modes_without_a_thread(self) -> None:
        group = self.group(1)
        for arguments in (("benchsearch", "3"), ("datagen", "1", "out=/dev/null", "nodes=500")):
            with self.subTest(arguments[0]):
                engine = Engine(arguments, preexec=lambda: join(group))
                self.addCleanup(engine.kill)
                self.assertEqual(engine.wait(), 0, engine.stderr)

    def become_nobody(self, limit: int) -> None:
        resource.setrlimit(resource.RLIMIT_NPROC, (limit, limit))
        os.setuid(NOBODY)

    def begin_as_nobody(self, limit: int) -> None:
        try:
            self.begin(preexec=lambda: self.become_nobody(limit))
        except PermissionError as error:
            self.skipTest(f"another user cannot start the engine: {error}")

    @unittest.skipUnless(os.geteuid() == 0, "only root can start a user's very first process")
    def test_limit_of_a_user(self) -> None:
        self.begin_as_nobody(8)
        self.check_threads()

    @unittest.skipUnless(os.geteuid() == 0, "only root can start a user's very first process")
    def test_tools_under_the_limit_of_a_user(self) -> None:
        self.begin_as_nobody(2)
        self.check_tools()


@unittest.skipIf(is_instrumented(), "sanitizers need larger stacks")
class Stacks(FolderTest, EngineTest):
    SIZES = (256 * KIB, 8 * MIB, resource.RLIM_INFINITY)

    def setUp(self) -> None:
        FolderTest.setUp(self)

    def forms(self) -> Iterator[tuple[int, int]]:
        """Soft and hard limits that we may set."""
        hard = resource.getrlimit(resource.RLIMIT_STACK)[1]
        for size in self.SIZES:
            for limit in {(size, size), (size, hard)}:
                if hard == resource.RLIM_INFINITY or max(limit) <= hard:
                    yield limit

    @staticmethod
    def kib_of_stacks(engine: Engine) -> list[int]:
        """What is in use of each thread's stack of 8 MiB."""
        with open(f"/proc/{engine.pid}/smaps", encoding="ascii") as file:
            return [int(kib) for kib in re.findall(r"^Size: +8192 kB\n(?:.*\n)*?Rss: +(\d+) kB",
                                                   file.read(), re.MULTILINE)]

    def test_searches(self) -> None:
        for limit in self.forms():
            with self.subTest(limit):
                engine = self.start(
                    preexec=lambda: resource.setrlimit(resource.RLIMIT_STACK, limit))
                lines = []
                for position in LOCKED:
                    engine.send("ucinewgame")
                    lines += engine.search(position, "go depth 128 nodes 1500000")
                self.assertGreater(max(int(re.search(r"seldepth (\d+)", line)[1])
                                       for line in lines if "seldepth" in line), 90)
                engine.send("setoption name Threads value 4")
                for position in (
                    *LOCKED,
                    "position fen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
                    "position fen 8/pp3k2/2p2p2/3p4/3P4/2P2P2/PP3K2/8 w - - 0 1",
                    "position fen k7/8/8/1p1p1p1p/1P1P1P1P/8/8/K2Q3q w - - 0 1",  # many checks
                ):
                    engine.best_move(position, "go depth 128 movetime 200")
                depth = engine.nodes("position fen 8/8/3k4/2p5/2P5/3K4/8/8 w - - 0 1",
                                     "go depth 30")[-1][0]
                self.assertEqual(depth, 30)
                if os.path.exists("/proc/self/smaps"):  # two MiB are what a thread is reckoned with
                    used = self.kib_of_stacks(engine)
                    self.assertGreaterEqual(len(used), 4)
                    self.assertLess(max(used), 2048)
                    self.assertGreater(max(used), 256)
                self.assertEqual(engine.quit(), 0)

    def test_modes(self) -> None:
        for limit in self.forms():
            for arguments in (("benchsearch", "8"), ("datagen", "2", f"out={self.path('x')}")):
                with self.subTest(arguments[0], limit=limit):
                    engine = Engine(
                        arguments,
                        preexec=lambda: resource.setrlimit(resource.RLIMIT_STACK, limit))
                    self.addCleanup(engine.kill)
                    self.assertEqual(engine.wait(), 0, engine.stderr)


@needs_strace
class Files(FolderTest, EngineTest):
    """The engine looks at no file but its libraries and, when it is asked to take more memory, the
    kernel's accounts."""

    LIBRARY = re.compile(r"/etc/ld\.so\.[a-z]+|/.*\.so(?:\.[\d.]+)?|/dev/null")
    ACCOUNT = re.compile(r"/proc/.*|/sys/fs/cgroup/.*")

    def setUp(self) -> None:
        FolderTest.setUp(self)

    def opened(self, *commands: str) -> tuple[set[str], set[str]]:
        """The files opened before the first command is read, and after it."""
        trace = self.path("trace")
        calls = "open,openat,openat2,creat,socket,connect,bind,read"
        engine = self.start(wrapper=[STRACE, "-f", "-e", f"trace={calls}", "-o", trace])
        engine.answers(*commands, "go infinite", "stop")
        self.assertEqual(engine.quit(), 0)
        before, after = set(), set()
        opened = before
        with open(trace, encoding="utf-8", errors="replace") as file:
            for line in file:
                call = line.split(maxsplit=1)[1]
                if call.startswith("read(0,"):
                    opened = after
                elif re.match(r"(?:socket|connect|bind|creat)\(", call):
                    opened.add(call)
                elif match := re.match(r'open\w*\(.*?"(.*?)", (.*)', call):
                    self.assertNotRegex(match[2], "O_WRONLY|O_RDWR|O_CREAT", call)
                    opened.add(match[1])
        self.assertTrue(before, "nothing was traced")
        return before, after

    SESSION = ("uci", "isready", "position startpos moves e2e4", "go depth 8", "ucinewgame", "d",
               "perft 2", "position x", "setoption name Move Overhead value 20", "benchsearch 3")

    def assert_all(self, pattern: re.Pattern, files: set[str]) -> None:
        self.assertEqual([name for name in files if not pattern.fullmatch(name)], [])

    def test_none_in_a_session(self) -> None:
        before, after = self.opened(*self.SESSION)
        self.assert_all(self.LIBRARY, before)
        self.assertEqual(after, set())

    def test_only_accounts_for_memory(self) -> None:
        before, after = self.opened("setoption name Threads value 4", *self.SESSION,
                                    "setoption name Hash value 100",
                                    "setoption name Hash value 65536", "ucinewgame")
        self.assert_all(self.LIBRARY, before)
        self.assert_all(self.ACCOUNT, after)


if __name__ == "__main__":
    unittest.main()
