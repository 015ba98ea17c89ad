"""The tactical positions are what they should be, and the engine solves them through polyglot."""

from __future__ import annotations

import re
import unittest

from library import Rules
from programs import ProgramTest, require
from test_rules import DATA, lines_of

TACTICS = f"{DATA}/tactics.epd"
RECORD = r'(\S+ [wb] \S+ \S+) bm (\S+); id "([^"]+)"; c0 "[^"]+";'
MATE = "6k1/5ppp/8/8/8/8/5PPP/R5K1 w - -"


class Tactics(unittest.TestCase):
    def test_records(self) -> None:
        rules = Rules()
        self.addCleanup(rules.close)
        records = lines_of("tactics.epd")
        self.assertGreaterEqual(len(records), 24)
        for number, record in enumerate(records, 1):
            with self.subTest(record):
                fields = re.fullmatch(RECORD, record)
                self.assertEqual(fields[3], f"tactics.{number:02}")
                fen = f"{fields[1]} 0 1"
                self.assertEqual(rules.play(fen, []).fen, fen)
                self.assertEqual(rules.translate(fen, fields[2]).san, fields[2])
        self.assertEqual(len({record.partition(" bm ")[0] for record in records}), len(records))


class SolveEpd(ProgramTest):
    def setUp(self) -> None:
        require("polyglot")
        super().setUp()

    def solve(self, file: str, depth: int = 8):
        return self.script("solve-epd", file, "5", "./engine", DEPTH=str(depth), limit=240)

    def solve_records(self, *records: str):
        self.write("file.epd", "".join(record + "\n" for record in records).encode())
        return self.solve("file.epd")

    def test_tactics_are_solved(self) -> None:
        done = self.solve(TACTICS, depth=16)
        print(done.stdout)
        count = len(lines_of("tactics.epd"))
        self.assertEqual(done.stdout.splitlines()[-1], f"{count} of {count} solved")
        self.assertEqual(done.status, 0)

    def test_what_is_not_solved(self) -> None:
        done = self.solve_records(
            f'{MATE} bm Ra8#; id "right";', f'{MATE} bm Rb1; id "not so right";',
            f"{MATE} am Ra8#;", f'{MATE} am Rb1; id "avoided";')
        self.assertEqual(done.stdout.splitlines()[-1],
                         "2 of 4 solved; not solved: not so right, number 3")
        self.assertEqual(done.status, 1)

    def test_ways_of_writing(self) -> None:
        done = self.solve_records(
            "# a comment", "", f"{MATE} bm Ra8;", f"{MATE} bm Ra8+;", f'{MATE} bm Ra8#!; id "x";\r',
            f"{MATE} 0 1 bm Ra8#;", f'{MATE} id "first"; bm Rb1 Ra8;', f'{MATE} bm Ra8;id "close";')
        self.assertEqual(done.stdout.splitlines()[-1], "6 of 6 solved")
        self.assertEqual(done.status, 0)

    def test_what_cannot_be_tried(self) -> None:
        self.assertEqual(self.solve("nothing.epd").status, 2)
        self.assertEqual(self.solve_records("# no position").status, 2)
        done = self.solve_records(f'{MATE} id "no move";')
        self.assertIn("no bm or am", done.stderr)
        self.assertEqual(done.status, 2)
        self.write("good.epd", f"{MATE} bm Ra8#;\n".encode())
        self.assertEqual(self.script("solve-epd", "good.epd", "1", "./nothing").status, 2)
        self.assertEqual(self.script("solve-epd", "good.epd", "1", "true").status, 2)
        self.assertEqual(self.script("solve-epd", "good.epd", "soon", "./engine").status, 2)
        self.assertEqual(self.script("solve-epd").status, 2)


if __name__ == "__main__":
    unittest.main()
