"""The fit of weights to games: what it reads, what it finds, what it leaves alone, what it writes."""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from collections import Counter

from client import FolderTest, run_mode

try:
    import elo
    import listing
    import model
    import numpy as np
    import prior
    import rows
    import tables
    from scipy import optimize, sparse
except ImportError as error:
    raise unittest.SkipTest(f"{error}") from None

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TUNING = os.path.join(ROOT, "tuning")
SQUARES = os.path.join(TUNING, "squares.txt")


def built_in() -> listing.Listing:
    return listing.parse(run_mode("tuneparams").stdout.decode())


class Listings(unittest.TestCase):
    def test_are_written_as_the_engine_prints_them(self) -> None:
        text = run_mode("tuneparams").stdout.decode()
        self.assertEqual(listing.parse(text).text(), text)

    def test_that_are_none_are_refused_by_the_name_of_the_file(self) -> None:
        with tempfile.NamedTemporaryFile() as file:
            file.write("Морване\n".encode())
            file.flush()
            with self.assertRaisesRegex(ValueError, f"^{re.escape(file.name)}: no listing of 0 weights"):
                listing.read(file.name)

    def test_that_are_none_are_refused(self) -> None:
        text = run_mode("tuneparams").stdout.decode()
        for broken in ("", text[:-12], text.replace("1082", "1083"), text.replace("\n7 ", "\n8 "),
                       text.replace("matMg_P 93", "matMg_P 9.3"), text + "1082 more 1\n"):
            with self.subTest(broken[-30:]), self.assertRaises(ValueError):
                listing.parse(broken)


class Choices(FolderTest):
    NAMES = ["a_0", "a_1", "a_2", "a_12", "b"]

    def choice(self, rules: str) -> listing.Choice:
        return listing.read_choice(self.write("rules", rules.encode()), self.NAMES)

    def test_later_rules_win(self) -> None:
        self.assertEqual(self.choice("fit *\nkeep a_*\nfit a_1-2 # both").free.tolist(),
                         [False, True, True, False, True])

    def test_bounds(self) -> None:
        choice = self.choice("fit a_*\nat most -3 a_0-1\nat least -20 a_?\n")
        self.assertEqual(choice.high.tolist(), [-3, -3, np.inf, np.inf, np.inf])
        self.assertEqual(choice.low.tolist(), [-20, -20, -20, -np.inf, -np.inf])

    def test_what_is_no_rule_is_refused(self) -> None:
        for rules in ("", "keep *", "fit c", "fit a_2-3", "fit", "fits b", "at most b", "fit b b"):
            with self.subTest(rules), self.assertRaises(ValueError):
                self.choice(rules)

    def test_the_open_cells_of_the_placement_tables(self) -> None:
        weights = built_in()
        choice = listing.read_choice(SQUARES, weights.names)
        free = [weights.names[index] for index in np.flatnonzero(choice.free)]
        self.assertEqual(Counter(name.rstrip("0123456789") for name in free), {
            "pstMg_P_": 32, "pstMg_N_": 60, "pstMg_B_": 64, "pstMg_R_": 64, "pstMg_Q_": 64,
            "pstMg_K_": 48, "pawnEg_": 32, "kingEg_": 52})
        inside = (weights.values >= choice.low) & (weights.values <= choice.high)
        self.assertTrue(inside[choice.free].all())


class Tables(unittest.TestCase):
    def test_of_the_engine_are_those_that_the_program_writes(self) -> None:
        with open(f"{ROOT}/src/params/square_tables.h", encoding="ascii") as file:
            self.assertEqual(tables.source(built_in()), file.read())

    def test_with_end_game_placement_of_their_own(self) -> None:
        weights = built_in()
        weights.values[weights.index("pstEgDelta_R_63")] = -1234
        text = tables.source(weights)
        self.assertRegex(text, r"kPstEgDelta\[kPieces\]\[kSquares\] = \{\n +\{ // pawn\n")
        self.assertEqual(text.count("-1234"), 1)


class Data(FolderTest):
    """Games, their rows and the engine's evaluations."""

    GAMES = ("games=60", "nodes=200", "seed=5")

    def setUp(self) -> None:
        super().setUp()
        self.data = self.path("data.txt")
        self.weights = built_in()
        run_mode("datagen", *self.GAMES, "skipcheck=0", "skipquiet=0", "evalcap=32000",
                 f"out={self.data}")
        run_mode("featureexport", self.data, self.path("rows.txt"))
        self.positions = rows.read_positions([self.data])
        with open(self.path("rows.txt"), "rb") as file:
            self.rows = rows.parse_rows(file.read(), len(self.weights.names))

    def told(self) -> np.ndarray:
        """The engine's evaluations, from White's view."""
        printed = subprocess.run([os.environ["MORVANE_SELFCHECK"], "evaluate", self.data],
                                 capture_output=True, check=True)
        return np.array(printed.stdout.split(), int) * np.where(self.positions.white, 1, -1)

    def test_rows_give_the_engines_evaluation(self) -> None:
        values = rows.evaluate(self.rows, self.positions.clock, self.weights.values)
        self.assertGreater(len(values), 2000)
        self.assertEqual(values.tolist(), self.told().tolist())
        self.weights.values[self.weights.index("bishopPair")] += 20
        values = rows.evaluate(self.rows, self.positions.clock, self.weights.values)
        self.assertTrue((values != self.told()).any())

    def test_slopes_tell_what_a_change_of_weights_does(self) -> None:
        free = np.ones(len(self.weights.names), bool)
        change = np.random.default_rng(1).integers(-30, 31, len(free))
        before, after = (rows.evaluate(self.rows, self.positions.clock, values)
                         for values in (self.weights.values, self.weights.values + change))
        slopes = rows.slopes(self.rows, self.positions.clock, free)
        self.assertLess(np.abs(before + slopes @ change - after).max(), 5)
        self.assertGreater(np.abs(after - before).max(), 100)

    def test_reading_in_pieces_changes_nothing(self) -> None:
        usual, rows.CHUNK = rows.CHUNK, 1000
        self.addCleanup(setattr, rows, "CHUNK", usual)
        parts = list(rows.read_rows(self.path("rows.txt"), len(self.weights.names)))
        self.assertGreater(len(parts), 50)
        self.assertEqual(np.concatenate([part.phase for part in parts]).tolist(),
                         self.rows.phase.tolist())
        self.assertEqual((sparse.vstack([part.eg for part in parts]) != self.rows.eg).nnz, 0)

    def test_games_are_told_apart(self) -> None:
        self.assertEqual(self.positions.game.max() + 1, 60)
        for game in range(60):
            self.assertEqual(len(set(self.positions.result[self.positions.game == game])), 1)

    def test_bad_rows_and_lines_are_refused(self) -> None:
        for text in (b"1 24 64 0 0\n", b"1 24 64 0 0 1\n", b"1 24 64 0 0 0 5 1 0\n", b"1 24 64 0 x 0\n"):
            with self.subTest(text), self.assertRaises(ValueError):
                rows.parse_rows(text, 1082)
        with self.assertRaises(ValueError):
            rows.read_positions([self.write("bad", b"8/8/8/8/8/8/8/8 w - - [0.5]\n")])

    def fit(self, *options: str) -> subprocess.CompletedProcess:
        return subprocess.run(
            [f"{TUNING}/fit", self.data, "--engine", os.environ["MORVANE_ENGINE"], "--selfcheck",
             os.environ["MORVANE_SELFCHECK"], "--listing", self.path("new.txt"),
             "--tables", self.path("new.h"), *options], capture_output=True, text=True, check=False)

    def let_far_pawns_win(self, field: str = r"\[[\d.]+\]", win: str = "[1.0]", draw: str = "[0.5]",
                          loss: str = "[0.0]") -> None:
        """Gives each position to the side whose pawns have come farther: a fit must see that."""
        lines = []
        for line in self.read("data.txt").decode().splitlines():
            ranks = line.split("/", 7)
            white = sum(row.count("P") * (6 - place) for place, row in enumerate(ranks))
            black = sum(row.count("p") * (place - 1) for place, row in enumerate(ranks))
            told = win if white > black else loss if white < black else draw
            lines.append(re.sub(field, told, line, count=1) + "\n")
        self.write("data.txt", "".join(lines).encode())

    def test_the_program_from_games_to_tables(self) -> None:
        self.let_far_pawns_win()
        done = self.fit("--spread", "1:1,10:10", "--mix", "0", "--held-out", "3")
        self.assertEqual((done.returncode, done.stderr.count("невалідних")), (0, 1), done.stderr)
        fitted = listing.read(self.path("new.txt"))
        choice = listing.read_choice(SQUARES, fitted.names)
        moved = fitted.values != self.weights.values
        self.assertFalse(moved[~choice.free].any())
        self.assertGreater(moved.sum(), 50)
        self.assertNotIn("no step", done.stdout)
        self.assertTrue((fitted.values <= choice.high)[choice.free].all())
        self.assertEqual(self.read("new.h").decode(), tables.source(fitted))
        before, after = re.search(r" 0 to 24 +\d+ +([\d.]+) +([\d.]+)", done.stdout).groups()
        self.assertLess(float(after), float(before))
        change = fitted.values - self.weights.values
        third, fifth = (sum(change[fitted.index(f"{block}{8 * row}"):][:8].sum()
                            for block in ("pstMg_P_", "pawnEg_")) for row in (5, 3))
        self.assertLess(third, fifth)

    def test_a_fit_that_learns_nothing_says_so(self) -> None:
        """The games held out tell the opposite of the others."""
        self.let_far_pawns_win(r"\[-?\d+\]$", "[300]", "[0]", "[-300]")
        lines = self.read("data.txt").decode().splitlines()
        self.write("data.txt", "".join(
            (re.sub(r"\[(-?)300\]$", lambda told: f"[{'' if told[1] else '-'}300]", line) if game % 3 == 2 else line)
            + "\n" for line, game in zip(lines, self.positions.game)).encode())
        done = self.fit("--scores-alone", "210", "--spread", "10:10", "--held-out", "3", "--patience", "2")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("no step was better on the held-out games: the weights are unchanged", done.stdout)
        self.assertTrue((listing.read(self.path("new.txt")).values == self.weights.values).all())

    def test_the_program_may_look_at_scores_alone(self) -> None:
        self.let_far_pawns_win(r"\[-?\d+\]$", "[300]", "[0]", "[-300]")
        options = ("--scores-alone", "210", "--spread", "10:10", "--patience", "3")
        self.assertEqual(self.fit(*options).returncode, 0)
        learned = self.read("new.txt")
        self.assertTrue((listing.read(self.path("new.txt")).values != self.weights.values).any(),
                        "the fit has moved nothing")
        self.write("data.txt", re.sub(rb"\[([10])\.0\]", lambda won: b"[%d.0]" % (won[1] == b"0"),
                                      self.read("data.txt")))
        self.assertEqual(self.fit(*options).returncode, 0)
        self.assertTrue(self.read("new.txt") == learned, "results have been looked at")
        self.write("data.txt", re.sub(rb" \[[-\d]+\]\n", b"\n", self.read("data.txt")))
        self.assertIn("the data are without scores", self.fit(*options).stderr)

    def assert_refused(self, message: str, *options: str) -> None:
        """In one line, and nothing is written."""
        before = {name: self.read(name) for name in os.listdir(self.folder)}
        done = self.fit(*options)
        with self.subTest(message):
            self.assertEqual((done.returncode, done.stdout, done.stderr.count("\n")), (2, "", 1), done.stderr)
            self.assertIn(message, done.stderr)
            self.assertEqual({name: self.read(name) for name in os.listdir(self.folder)}, before)

    def test_too_little_data_is_refused(self) -> None:
        lines = self.read("data.txt").splitlines(keepends=True)
        end = int(np.flatnonzero(self.positions.game == 9)[0])
        self.write("data.txt", b"".join(lines[:end]))
        self.assert_refused("too little data: 9 games, and 10 are needed at least")
        self.write("data.txt", b"".join(lines[: end + 1]))  # the least of a tenth game
        done = self.fit("--patience", "1", "--spread", "1:1")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertNotIn("nan", done.stdout)
        self.assert_refused("too little data: 10 games, and 11 are needed", "--held-out", "11")

    def test_what_are_no_data_is_refused(self) -> None:
        self.write("data.txt", b"")
        self.assert_refused("too little data: 0 games")
        for text in (b"\n", b"\0" * 100_000, b"8/8/8/8/8/8/8/8 w - - 0 1\n", b"\xff\xfe\n"):
            self.write("data.txt", text)
            self.assert_refused(f"{self.data}: not a line of morvane datagen")
        os.remove(self.data)
        self.assert_refused(f"{self.data}: No such file")

    def test_other_inputs_are_refused(self) -> None:
        self.assert_refused("no listing of", "--engine", "/bin/true")
        self.assert_refused("failed with status 1", "--engine", "/bin/false")
        self.assert_refused("is no program", "--selfcheck", self.data)
        self.assert_refused("not a rule", "--choice", self.data)
        for spread in ("-1:1", "5", "a:b", "1:2:3"):
            self.assert_refused(f"not a spread, TOGETHER:ALONE: {spread}", f"--spread={spread}")
        for option, value in (("--held-out", "1"), ("--mix", "2"), ("--patience", "0"), ("--scores-alone", "x")):
            self.assert_refused(option, option, value)

    def test_files_of_others_stay(self) -> None:
        for text in (self.weights.text(), "", "of earlier days"):
            self.write("new.txt", text.encode())
            self.assert_refused("new.txt exists and is not of this program")
        os.remove(self.path("new.txt"))
        self.write("new.h", b"of earlier days")
        self.assert_refused("new.h exists and is not of this program")
        self.assert_refused("cannot be written", "--listing", self.path("none/new.txt"))

    def test_its_own_files_are_written_anew(self) -> None:
        """A round after another, as docs/tuning.md has it, over the tables in the source."""
        shutil.copy(f"{ROOT}/src/params/square_tables.h", self.path("new.h"))
        self.let_far_pawns_win()
        for _ in range(2):
            done = self.fit("--patience", "1", "--spread", "1:1", "--mix", "0")
            self.assertEqual(done.returncode, 0, done.stderr)
            fitted = listing.read(self.path("new.txt"))
            self.assertEqual(self.read("new.h").decode(), tables.source(fitted))
            self.write("new.txt", listing.Listing(fitted.names, fitted.values * 0).text().encode()
                       + listing.MARK.encode())

    def test_the_program_stops_at_rows_that_do_not_fit(self) -> None:
        engine = self.write("engine", (
            f"#!/bin/sh\n'{os.environ['MORVANE_ENGINE']}' \"$@\" | sed 's/bishopPair 56/bishopPair 58/'\n"
        ).encode())
        os.chmod(engine, 0o755)
        done = self.fit("--engine", engine)
        self.assertEqual(done.returncode, 1)
        self.assertIn("do not give the engine's evaluation (is morvane_selfcheck older than the engine?", done.stderr)
        self.assertFalse(os.path.exists(self.path("new.txt")))


class Model(unittest.TestCase):
    """On samples that are made up from weights that are known."""

    PLANTED = np.array([40.0, -25.0, 0.0, 10.0])
    UNIT = 180.0
    FREE = optimize.Bounds(-np.inf, np.inf)

    def sample(self, count: int, seed: int) -> model.Sample:
        chance = np.random.default_rng(seed)
        slopes = sparse.csr_matrix(chance.integers(-2, 3, (count, 4)), dtype=np.float32)
        value = chance.normal(0, 150, count)
        expected = model.expit((value + slopes @ self.PLANTED) / self.UNIT)
        return model.Sample(slopes, value, (chance.random(count) < expected).astype(float),
                            np.zeros(count))

    def fit(self, spread: float = 1e6, bounds: optimize.Bounds = FREE, count: int = 200_000) -> np.ndarray:
        return model.fit(self.sample(count, 1), self.sample(count, 2), self.UNIT,
                         np.eye(4) / spread**2, bounds, 10, lambda *_: None).change

    def test_finds_what_was_planted(self) -> None:
        self.assertLess(np.abs(self.fit() - self.PLANTED).max(), 1.5)

    def test_finds_the_unit(self) -> None:
        sample = self.sample(200_000, 3)
        value = model.moved(sample, self.PLANTED)
        self.assertLess(abs(model.fit_unit(value, sample.target) - self.UNIT), 3)

    def test_keeps_bounds(self) -> None:
        change = self.fit(bounds=optimize.Bounds([-np.inf, -5, 0, 0], [20, np.inf, 0, 0]))
        self.assertEqual(change.round(3).tolist(), [20, -5, 0, 0])

    def test_a_narrow_spread_holds_the_weights(self) -> None:
        self.assertLess(np.abs(self.fit(spread=1e-3)).max(), 1e-2)
        held, free = (np.abs(self.fit(spread, count=2_000)).sum() for spread in (5.0, 1e6))
        self.assertLess(held, free)

    def test_gradient(self) -> None:
        """A change of the loss is what the slopes say: the fit ends where none of them helps."""
        seen = self.sample(50_000, 1)
        found = model.fit(seen, seen, self.UNIT, np.zeros((4, 4)), self.FREE, 10, lambda *_: None)
        least = model.losses(model.moved(seen, found.change), seen.target, self.UNIT).mean()
        for step in np.eye(4):
            for sign in (-3, 3):
                value = model.moved(seen, found.change + sign * step)
                self.assertGreater(model.losses(value, seen.target, self.UNIT).mean(), least)


class Prior(unittest.TestCase):
    NAMES = ["pstMg_N_0", "pstMg_N_1", "pstMg_N_7", "pstMg_N_8", "pstMg_B_0", "mobMg_N_7", "mobMg_N_8",
             "bishopPair", "ksOpenFile"]

    def kin(self, spread: str) -> np.ndarray:
        """How the weights move together, from 0 to 1."""
        covariance = np.linalg.inv(prior.precision(self.NAMES, prior.Spread.parse(spread)))
        self.assertTrue(np.allclose(covariance.diagonal(), covariance[0, 0]))
        return covariance / covariance[0, 0]

    def test_neighbours_move_together(self) -> None:
        kin = self.kin("10:0.01")
        for one, other, expected in (("pstMg_N_0", "pstMg_N_1", 0.8), ("pstMg_N_0", "pstMg_N_8", 0.8),
                                     ("pstMg_N_1", "pstMg_N_8", 0.64), ("mobMg_N_7", "mobMg_N_8", 0.8),
                                     ("pstMg_N_7", "pstMg_N_8", 0), ("pstMg_N_0", "pstMg_B_0", 0),
                                     ("bishopPair", "ksOpenFile", 0)):
            found = kin[self.NAMES.index(one), self.NAMES.index(other)]
            self.assertAlmostEqual(found, expected, delta=0.01, msg=f"{one} {other}")

    def test_none_does_if_each_is_alone(self) -> None:
        self.assertTrue(np.allclose(prior.precision(self.NAMES, prior.Spread(0, 5)),
                                    np.eye(len(self.NAMES)) / 25))

    def test_what_is_no_spread_is_refused(self) -> None:
        for text in ("", "5", "5:0", "-1:1", "1:2:3", "a:1"):
            with self.subTest(text), self.assertRaises(ValueError):
                prior.Spread.parse(text)


class Elo(unittest.TestCase):
    def test_of_a_score(self) -> None:
        score = elo.Score(Counter({0: 10, 0.5: 20, 1: 40, 1.5: 20, 2: 10}))
        self.assertEqual((score.count(), score.share()), (100, 0.5))
        value, low, high = score.interval()
        self.assertEqual(value, 0)
        self.assertAlmostEqual(-low, high)
        # The deviation of a pair is the root of (2 * 10 * 0.25 + 2 * 20 * 0.0625) / 100.
        self.assertAlmostEqual(elo.expected(high) - 0.5, 1.96 * (0.075 / 100) ** 0.5)

    def test_of_75_percent_is_191(self) -> None:
        self.assertAlmostEqual(elo.difference(0.75), 190.85, places=2)

    def test_sequential_verdict(self) -> None:
        strong = elo.Score(Counter({0.5: 10, 1: 50, 1.5: 90}))
        self.assertEqual(elo.verdict(strong.likelihood_ratio(0, 10)), "high")
        weak = elo.Score(Counter({1.5: 10, 1: 50, 0.5: 90}))
        self.assertEqual(elo.verdict(weak.likelihood_ratio(0, 10)), "low")
        even = elo.Score(Counter({0.5: 5, 1: 10, 1.5: 5}))
        self.assertIsNone(elo.verdict(even.likelihood_ratio(0, 10)))

    def test_sequential_verdict_on_pairs_that_are_all_alike(self) -> None:
        for pairs, verdict in ((2, None), (20, "high")):
            self.assertEqual(elo.verdict(elo.Score(Counter({2: pairs})).likelihood_ratio(0, 100)), verdict)


if __name__ == "__main__":
    unittest.main()
