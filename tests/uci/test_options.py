"""The `setoption` command.

Values show in what they do: Threads in the number of the process's threads, Hash in its address
space and in node counts, Move Overhead in how long a fixed time is used.
"""

import os
import resource
import time
import unittest

import grammar
from client import EngineTest
from conditions import needs_plain_build, needs_proc

MIB = 1 << 20
RICH = "position fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"
PREFAULTER = "page prefaulter"  # threads of this name come and go


def bad_value(name: str, value: str) -> str:
    return f'setoption {name}: некоректне значення "{value}" — опцію не змінено'


class OptionTest(EngineTest):
    def status(self, field: str) -> int:
        with open(f"/proc/{self.engine.pid}/status", encoding="ascii") as file:
            return next(int(line.split()[1]) for line in file if line.startswith(field + ":"))

    def tasks(self) -> list[tuple[str, str]]:
        """Name and state of each thread."""
        tasks = []
        for task in os.listdir(f"/proc/{self.engine.pid}/task"):
            try:
                with open(f"/proc/{self.engine.pid}/task/{task}/stat", encoding="ascii") as file:
                    before, _, after = file.read().rpartition(") ")
                    tasks.append((before.partition("(")[2], after[0]))
            except (FileNotFoundError, ProcessLookupError):
                pass  # it has just ended
        return tasks

    def threads(self) -> int:
        """Threads of the process once all commands are served and the table's pages are there. No search may
        run: all threads that stay sleep then, while one that is new and has no name yet does not."""
        self.engine.answers()
        while True:
            tasks = self.tasks()
            if all(name != PREFAULTER and state == "S" for name, state in tasks):
                return len(tasks)
            time.sleep(0.01)

    def address_space(self) -> int:
        """In MiB."""
        self.threads()
        return round(self.status("VmSize") / 1024)


class Names(OptionTest):
    def test_any_letter_case(self) -> None:
        for name in ("Hash", "hash", "HASH", "hAsH", "Threads", "threads", "THREADS",
                     "Move Overhead", "move overhead", "MOVE OVERHEAD", "mOVE oVERHEAD"):
            with self.subTest(name):
                lines = self.engine.answers(f"setoption name {name} value ?")
                self.assert_info_string(lines, bad_value(name.lower(), "?"))

    def test_blanks_within_a_name(self) -> None:
        lines = self.engine.answers("setoption  name \t Move   Overhead  value   a   b ")
        self.assert_info_string(lines, bad_value("move overhead", "a b"))

    def test_unknown_names_are_silent(self) -> None:
        for name in ("Ponder", "Hash Size", "MoveOverhead", "Move  Overhead x", "Thread", "",
                     "UCI_Chess960", "Clear Hash", "Потоки"):
            with self.subTest(name):
                self.assertEqual(self.engine.answers(f"setoption name {name} value x"), [])
        self.assertEqual(self.engine.answers("setoption", "setoption name", "setoption value"), [])
        self.assertEqual(self.engine.stderr, b"")

    def test_first_word_is_not_looked_at(self) -> None:
        lines = self.engine.answers("setoption x Hash value ?")
        self.assert_info_string(lines, bad_value("hash", "?"))
        self.assertEqual(self.engine.answers("setoption Hash value ?"), [])

    def test_word_value_is_lower_case(self) -> None:
        self.assertEqual(self.engine.answers("setoption name Hash Value ?"), [])
        self.assertEqual(self.engine.answers("setoption name Hash VALUE 5"), [])


class Values(OptionTest):
    BAD = ["abc", "", "-", "+", "4 2", "0x10", "1e3", "1.5", "5x", "x5", "2147483648", "- 5",
           "-2147483649", "99999999999999999999", "value 5", "5 value", "true", "++5", "п'ять"]

    def test_bad_ones_are_reported(self) -> None:
        expected = ""
        for name in ("Hash", "Threads", "Move Overhead"):
            for value in self.BAD:
                with self.subTest(name=name, value=value):
                    lines = self.engine.answers(f"setoption name {name} value {value}")
                    self.assert_info_string(lines, bad_value(name.lower(), value))
                    expected += bad_value(name.lower(), value) + "\n"
        self.engine.quit()
        self.assertEqual(self.engine.stderr.decode(), expected)

    def test_none_is_an_empty_one(self) -> None:
        for text in ("setoption name Hash", "setoption name Hash value", "setoption name HASH  "):
            with self.subTest(text):
                self.assert_info_string(self.engine.answers(text), bad_value("hash", ""))

    def test_good_ones_are_silent(self) -> None:
        for value in ("1", "+2", "-0", "0003", "-7", "0", "-2147483648"):
            for name in ("Hash", "Threads", "Move Overhead"):
                with self.subTest(name=name, value=value):
                    lines = self.engine.answers(f"setoption name {name} value {value}")
                    self.assertEqual(lines, [])

    def test_a_value_may_end_in_a_carriage_return(self) -> None:
        self.engine.send_bytes(b"setoption name Hash value 3\r\nsetoption name Hash value x\r\n")
        self.assert_info_string(self.engine.answers(), bad_value("hash", "x"))


class Threads(OptionTest):
    @needs_proc
    def test_are_started_and_clamped(self) -> None:
        others = self.threads() - 1  # all but the one search thread
        for value, count in (("2", 2), ("7", 7), ("0", 1), ("4", 4), ("-5", 1), ("1000", 256),
                             ("257", 256), ("2147483647", 256), ("1", 1)):
            with self.subTest(value):
                self.engine.send(f"setoption name Threads value {value}")
                self.assertEqual(self.threads() - others, count)

    @needs_proc
    def test_a_bad_value_changes_nothing(self) -> None:
        self.engine.send("setoption name Threads value 3")
        count = self.threads()
        self.engine.send("setoption name Threads value four")
        self.assertEqual(self.threads(), count)

    @needs_proc
    def test_stay_through_games(self) -> None:
        self.engine.send("setoption name Threads value 3")
        count = self.threads()
        self.engine.search("ucinewgame", "position startpos", "go depth 5")
        self.engine.search("setoption name Hash value 5", "go depth 5")
        self.assertEqual(self.threads(), count)

    def test_all_of_them_search(self) -> None:
        for value in ("2", "64", "256", "1"):
            with self.subTest(value):
                best = self.engine.best_move(f"setoption name Threads value {value}", "go depth 5")
                self.assert_legal(self.engine, best)

    @needs_plain_build
    def test_more_than_the_system_gives(self) -> None:
        limit = (700 * MIB, 700 * MIB)  # the stacks of 256 threads do not fit in
        engine = self.start(preexec=lambda: resource.setrlimit(resource.RLIMIT_AS, limit))
        engine.send("setoption name Threads value 2")
        message = (
            "setoption threads: не вдалося створити 256 потоків — лишається попередня кількість"
        )
        self.assert_info_string(engine.answers("setoption name Threads value 256"), message)
        engine.answers()
        self.engine = engine
        self.assertEqual(self.threads(), 3)
        self.assert_legal(engine, engine.best_move("go depth 5"))


class Hash(OptionTest):
    def counts(self) -> list[tuple[int, int]]:
        return self.engine.nodes("ucinewgame", RICH, "go depth 11")

    @needs_plain_build
    def test_size_and_clamps(self) -> None:
        # Threads that fetch a table's pages leave address space behind for those that follow them.
        self.engine.send("setoption name Hash value 600")
        others = self.address_space() - 600
        for value, size in (("1", 1), ("100", 100), ("0", 1), ("333", 333), ("-5", 1), ("64", 64)):
            with self.subTest(value):
                self.engine.send(f"setoption name Hash value {value}")
                self.assertAlmostEqual(self.address_space() - others, size, delta=8)

    @needs_plain_build
    def test_a_bad_value_changes_nothing(self) -> None:
        self.engine.send("setoption name Hash value 300")
        size = self.address_space()
        self.engine.send("setoption name Hash value 3OO")
        self.assertEqual(self.address_space(), size)

    def test_size_shows_in_the_search(self) -> None:
        default = self.counts()
        self.engine.send("setoption name Hash value 1")
        small = self.counts()
        self.assertNotEqual(small, default)
        self.engine.send("setoption name HASH value 0")  # clamped to 1
        self.assertEqual(self.counts(), small)
        self.engine.send("setoption name hash value 64")
        self.assertEqual(self.counts(), default)

    def test_a_new_table_is_empty(self) -> None:
        first = self.engine.nodes("position startpos", "go depth 8")
        self.engine.search("go depth 8")
        self.engine.send("setoption name Hash value 64")
        self.assertEqual(self.engine.nodes("go depth 8"), first)

    @unittest.skipUnless(hasattr(os, "sysconf"), "asks the system for its memory")
    def test_cap(self) -> None:
        physical = os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGESIZE")
        cap = physical // MIB * 3 // 4
        for value, clamped in (("65536", 65536), ("100000", 65536), ("2147483647", 65536),
                               (str(min(cap, 65536)), cap), (str(min(cap + 1, 65536)), cap + 1)):
            requested = min(clamped, 65536)
            with self.subTest(value):
                lines = self.engine.answers(f"setoption name Hash value {value}")
                message = (f"info string setoption hash: {requested} МБ — більше за 3/4 фізичної"
                           f" RAM ({physical // MIB} МБ); використано {cap} МБ")
                self.assertEqual(lines[:1], [message] if requested > cap else [])
                # The system may refuse even that much.
                for line in lines[1:]:
                    self.assertEqual(line, "info string setoption hash: не вдалося виділити"
                                     f" {min(requested, cap)} МБ — лишається попередній розмір")
                self.engine.send("setoption name Hash value 1")

    @needs_plain_build
    def test_a_table_that_cannot_be_had(self) -> None:
        limit = (700 * MIB, 700 * MIB)
        self.engine = self.start(preexec=lambda: resource.setrlimit(resource.RLIMIT_AS, limit))
        self.engine.send("setoption name Hash value 100")
        counts, before = self.counts(), self.address_space()
        message = "setoption hash: не вдалося виділити 1000 МБ — лишається попередній розмір"
        self.assert_info_string(self.engine.answers("setoption name Hash value 1000"), message)
        self.assertAlmostEqual(self.address_space(), before, delta=8)
        self.assertEqual(self.counts(), counts)
        self.engine.quit()
        self.assertEqual(self.engine.stderr.decode(), message + "\n")


class MoveOverhead(OptionTest):
    def time_of(self, movetime: int) -> float:
        start = time.monotonic()
        self.engine.best_move("ucinewgame", RICH, f"go movetime {movetime}")
        return time.monotonic() - start

    def test_is_kept_back(self) -> None:
        for value in ("5000", "2147483647"):
            with self.subTest(value):
                self.engine.send(f"setoption name Move Overhead value {value}")
                self.assertLess(self.time_of(5001), 4.5)  # 1 ms is left for the search

    def test_is_clamped_to_0_and_5000(self) -> None:
        for value, movetime in (("-5", 300), ("0", 300), ("99999", 5300)):
            with self.subTest(value):
                self.engine.send(f"setoption name Move Overhead value {value}")
                self.assertGreaterEqual(self.time_of(movetime), 0.3)

    def test_a_bad_value_changes_nothing(self) -> None:
        self.engine.send("setoption name Move Overhead value 0")
        self.engine.answers("setoption name Move Overhead value 10000x")
        self.assertGreaterEqual(self.time_of(300), 0.3)


class DuringASearch(OptionTest):
    def answered(self, command: str) -> bool:
        """Whether the command ends an infinite search."""
        self.engine.send("position startpos", "go infinite")
        self.engine.read_line()
        lines = [x for x in self.engine.answers(command) if not grammar.is_search_line(x)]
        answered = any(line.startswith("bestmove") for line in lines)
        if not answered:
            self.engine.answers("stop")
        return answered

    def test_hash_and_threads_stop_it(self) -> None:
        self.assertTrue(self.answered("setoption name Hash value 10"))
        self.assertTrue(self.answered("setoption name Threads value 2"))

    def test_all_else_does_not(self) -> None:
        self.assertFalse(self.answered("setoption name Move Overhead value 30"))
        self.assertFalse(self.answered("setoption name Move Overhead value x"))
        self.assertFalse(self.answered("setoption name Hash value x"))
        self.assertFalse(self.answered("setoption name Threads value"))
        self.assertFalse(self.answered("setoption name Nothing value 1"))

    def test_order_of_answer_and_message(self) -> None:
        self.engine.send("go infinite")
        self.engine.read_line()
        lines = self.engine.answers("setoption name Hash value x", "stop")
        rest = [line for line in lines if not grammar.is_search_line(line)]
        self.assertEqual(rest[0], "info string " + bad_value("hash", "x"))
        self.assertRegex(rest[1], grammar.BEST_MOVE)
        self.assertEqual(len(rest), 2)


if __name__ == "__main__":
    unittest.main()
