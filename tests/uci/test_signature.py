"""The node counts of the search benchmark: the signature of the search."""

import os
import re
import unittest

import grammar
from client import EngineTest, run_mode

DATA = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "data")
DEFAULT_DEPTH = 11
DEADLINE = 1200.0  # for builds with a sanitizer


def read_signature() -> dict[int, tuple[int, int]]:
    """Nodes and quiescence nodes by depth."""
    signature = {}
    with open(os.path.join(DATA, "signature.txt"), encoding="utf-8") as file:
        for line in file:
            if fields := line.partition("#")[0].split():
                depth, nodes, qnodes = map(int, fields)
                signature[depth] = (nodes, qnodes)
    return signature


def without_times(lines: list[str]) -> list[str]:
    return [re.sub(r" time \d+ nps \d+| \d+ ms \d+ nps", "", line) for line in lines]


def total(lines: list[str]) -> tuple[int, int]:
    fields = re.fullmatch(grammar.BENCH_TOTAL, lines[-1])
    return int(fields[1]), int(fields[2])


def bench(*arguments: str) -> list[str]:
    return run_mode("benchsearch", *arguments, deadline=DEADLINE).stdout.decode().splitlines()


class Signature(EngineTest):
    def uci_bench(self, depth: int) -> list[str]:
        self.engine.send(f"benchsearch {depth}")
        return self.engine.read_until(grammar.BENCH_TOTAL, DEADLINE)[-11:]

    def test_file_has_the_default_depth(self) -> None:
        self.assertIn(DEFAULT_DEPTH, read_signature())

    def test_counts(self) -> None:
        for depth, counts in read_signature().items():
            with self.subTest(depth=depth):
                arguments = [] if depth == DEFAULT_DEPTH else [str(depth)]
                lines = bench(*arguments)
                self.assertTrue(all(f" depth {depth} " in line for line in lines[:-1]))
                self.assertEqual(total(lines), counts, "the search has changed")

    def test_runs_agree_in_every_line(self) -> None:
        first = without_times(bench("7"))
        self.assertEqual(without_times(bench("7")), first)
        self.assertEqual(without_times(self.uci_bench(7)), first)
        self.assertEqual(without_times(self.uci_bench(7)), first)

    def test_what_the_session_did_before_does_not_matter(self) -> None:
        first = without_times(bench("7"))
        self.engine.send("setoption name Threads value 3")
        self.engine.search("position startpos moves d2d4", "go depth 9")
        self.assertEqual(without_times(self.uci_bench(7)), first)
        self.engine.send("setoption name Hash value 3", "setoption name Move Overhead value 500")
        self.engine.search("go movetime 700")
        self.engine.search("go nodes 3000")
        self.engine.send("setoption name Hash value 64", "go infinite")
        self.engine.read_line()
        self.assertEqual(without_times(self.uci_bench(7)), first)
        self.engine.search("go wtime 300 btime 300")
        self.engine.send("setoption name Threads value 1", "ucinewgame")
        self.assertEqual(without_times(self.uci_bench(7)), first)

    def test_a_search_after_it_is_as_before(self) -> None:
        before = self.engine.nodes("ucinewgame", "go depth 8")
        self.uci_bench(3)
        self.assertEqual(self.engine.nodes("ucinewgame", "go depth 8"), before)


if __name__ == "__main__":
    unittest.main()
