"""The parts of a fit of weights: listings and choices, what is computed of positions and by whom, what is kept."""

from __future__ import annotations

import os
import random
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from collections import Counter

from client import FolderTest, run_mode

try:
    import built_in
    import journal
    import listing
    import model
    import numpy as np
    import prior
    import store
    import storewriter
    import tables
    import team
    from built_in import ROOT, SQUARES, TUNING
    from scipy import optimize
except ImportError as error:
    raise unittest.SkipTest(f"{error}") from None


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
        weights = built_in.weights()
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
            self.assertEqual(tables.source(built_in.weights()), file.read())

    def test_with_end_game_placement_of_their_own(self) -> None:
        weights = built_in.weights()
        weights.values[weights.index("pstEgDelta_R_63")] = -1234
        text = tables.source(weights)
        self.assertRegex(text, r"kPstEgDelta\[kPieces\]\[kSquares\] = \{\n +\{ // pawn\n")
        self.assertEqual(text.count("-1234"), 1)


class Positions(unittest.TestCase):
    """What is computed of the positions of a block."""

    CELLS = [[[0], [1]], [[1], []], [[], [2]], [[3], [3, 0]]]  # in the middle game, in the end game

    def rows(self, count: int, seed: int) -> store.Rows:
        chance = np.random.default_rng(seed)
        lengths = chance.integers(0, 6, count)
        return store.Rows(
            value=chance.integers(-400, 400, count).astype(np.int16),
            score=chance.integers(-400, 400, count).astype(np.int16),
            base_mg=np.zeros(count, np.int16), base_eg=np.zeros(count, np.int16),
            phase=chance.integers(0, 25, count).astype(np.uint8),
            scale=chance.integers(0, 65, count).astype(np.uint8),
            clock=chance.integers(0, 101, count).astype(np.uint8),
            result=chance.integers(0, 3, count) / 2, white=np.ones(count, bool),
            game=np.cumsum(chance.random(count) < 0.2),
            pointers=np.concatenate(([0], np.cumsum(lengths))).astype(np.int32),
            cell=chance.integers(0, len(self.CELLS), lengths.sum()).astype(np.int32),
            count=chance.integers(-1, 2, lengths.sum()).astype(np.int8))

    def task(self, target: model.Target = model.Target(0.5, 150.0, False)) -> model.Task:
        return model.Task(200.0, target, 3, model.Cells.of(self.CELLS, np.array([True, True, False, True])))

    def test_values_move_as_the_engine_blends_them(self) -> None:
        rows, change = self.rows(500, 1), np.array([7.0, -3.0, 5.0])
        by_weight = [7.0, -3.0, 0.0, 5.0]
        found = model.Slopes(rows, self.task().cells).moved(change)
        for row in range(500):
            place = slice(rows.pointers[row], rows.pointers[row + 1])
            used = list(zip(rows.cell[place].tolist(), rows.count[place].tolist()))
            mg, eg = (sum(count * by_weight[weight] for cell, count in used for weight in self.CELLS[cell][side])
                      for side in (0, 1))
            phase, scale = int(rows.phase[row]), int(rows.scale[row])
            blended = (phase * mg + scale * eg / 64 * (24 - phase)) / 24 * (200 - int(rows.clock[row])) / 200
            self.assertAlmostEqual(found[row], rows.value[row] + blended)

    def test_the_gradient_is_that_of_the_loss(self) -> None:
        rows = self.rows(3000, 2)
        for target in (model.Target(0.5, 150.0, False), model.Target(0, None, False), model.Target(0, 150.0, True)):
            task, at = self.task(target), np.array([10.0, -20.0, 5.0])
            gradient = model.Pass.of(model.step(rows, task, at)).gradient
            for weight, slope in enumerate(gradient):
                little = np.eye(3)[weight] * 0.01
                up, down = (model.Pass.of(model.step(rows, task, at + step)).loss for step in (little, -little))
                self.assertAlmostEqual((up - down) / 0.02, slope, places=9)
                self.assertGreater(abs(slope), 1e-6)

    def test_losses_are_of_the_games_that_they_say(self) -> None:
        rows, task = self.rows(2000, 3), self.task()
        found = model.Pass.of(model.step(rows, task, np.zeros(3)))
        unseen = rows.game % 3 == 2
        learned = (rows.result + model.expit(rows.score / 150)) / 2
        self.assertEqual(found.seen, (~unseen).sum())
        self.assertAlmostEqual(found.loss, model.losses(rows.value, learned, 200.0)[~unseen].mean())
        self.assertAlmostEqual(found.held_out, model.losses(rows.value, rows.result, 200.0)[unseen].mean())

    def test_the_survey_finds_the_units(self) -> None:
        """Those that a search over the positions themselves finds."""
        rows = self.rows(4000, 4)
        rows.result = (np.random.default_rng(5).random(4000) < model.expit(rows.value / 180)) * 1.0
        found = model.surveyed(model.survey(rows, 150.0))
        self.assertAlmostEqual(found.expected_by_value, (model.expit(rows.score / 150) * rows.value).sum(), places=6)
        for counts, products, numbers in ((found.values, found.result_by_value, rows.value),
                                          (found.scores, found.result_by_score, rows.score)):
            plain = optimize.minimize_scalar(lambda unit, numbers=numbers: model.losses(
                numbers, rows.result, unit).mean(), bounds=model.UNITS, method="bounded")
            self.assertAlmostEqual(model.fit_unit(counts, products) / plain.x, 1, places=3)

    def test_judgements(self) -> None:
        rows, task, change = self.rows(3000, 6), self.task(), np.array([30.0, 0.0, -40.0])
        unseen = rows.game % 3 == 2
        found = model.judged(model.judge(rows, task, change))
        for judgement, value in ((found.before, rows.value), (found.after, model.Slopes(rows, task.cells).moved(change)),
                                 (found.scores, rows.score)):
            self.assertEqual(judgement.positions.tolist(), np.bincount(rows.phase[unseen], minlength=25).tolist())
            loss = model.losses(value, rows.result, 200.0)
            self.assertAlmostEqual(judgement.losses[7], loss[unseen & (rows.phase == 7)].sum())
            near = unseen & (np.rint(value / model.BIN) == 2)
            self.assertEqual(judgement.by_value[model.EDGE // model.BIN + 2], near.sum())
            self.assertAlmostEqual(judgement.brought[model.EDGE // model.BIN + 2], rows.result[near].sum())


class Model(unittest.TestCase):
    """On positions that are made up from weights that are known."""

    PLANTED = np.array([40.0, -25.0, 0.0, 10.0])
    UNIT = 180.0
    FREE = optimize.Bounds(-np.inf, np.inf)
    TASK = model.Task(UNIT, model.Target(0, None, False), 2,
                      model.Cells.of([[[weight], []] for weight in range(4)], np.ones(4, bool)))

    def rows(self, count: int) -> store.Rows:
        """Half of them are held out."""
        chance = np.random.default_rng(1)
        uses = chance.integers(-2, 3, (count, 4))
        value = chance.normal(0, 150, count).astype(np.int16)
        expected = model.expit((value + uses @ self.PLANTED) / self.UNIT)
        none = np.zeros(count, np.uint8)
        return store.Rows(value=value, score=none, base_mg=none, base_eg=none, phase=none + np.uint8(24), scale=none,
                          clock=none, result=(chance.random(count) < expected).astype(float), white=none,
                          game=np.arange(count), pointers=np.arange(0, 4 * count + 1, 4, dtype=np.int32),
                          cell=np.tile(np.arange(4, dtype=np.int32), count), count=uses.ravel().astype(np.int8))

    def fit(self, spread: float = 1e6, bounds: optimize.Bounds = FREE, count: int = 400_000) -> np.ndarray:
        rows = self.rows(count)
        return model.fit(lambda change: model.Pass.of(model.step(rows, self.TASK, change)), np.eye(4) / spread**2,
                         bounds, 10).change

    def test_finds_what_was_planted(self) -> None:
        self.assertLess(np.abs(self.fit() - self.PLANTED).max(), 1.5)

    def test_finds_it_where_a_centipawn_changes_the_loss_by_a_billionth(self) -> None:
        def look(change: np.ndarray) -> model.Pass:
            away = change - self.PLANTED
            loss = 0.5 + 0.5e-9 * float(away @ away)
            return model.Pass(1000, loss, loss, 1e-9 * away)

        found = model.fit(look, np.zeros((4, 4)), optimize.Bounds([-99.0] * 4, [99.0] * 4), 10)
        self.assertLess(np.abs(found.change - self.PLANTED).max(), 0.5)

    def test_keeps_bounds(self) -> None:
        change = self.fit(bounds=optimize.Bounds([-np.inf, -5, 0, 0], [20, np.inf, 0, 0]))
        self.assertEqual(change.round(3).tolist(), [20, -5, 0, 0])

    def test_a_narrow_spread_holds_the_weights(self) -> None:
        self.assertLess(np.abs(self.fit(spread=1e-3)).max(), 1e-2)
        held, free = (np.abs(self.fit(spread, count=4_000)).sum() for spread in (5.0, 1e6))
        self.assertLess(held, free)

    def test_ends_where_nothing_helps(self) -> None:
        rows = self.rows(50_000)
        looks = []

        def look(change: np.ndarray) -> model.Pass:
            found = model.Pass.of(model.step(rows, self.TASK, change))
            looks.append(change)
            return model.Pass(found.seen, found.loss, found.loss, found.gradient)  # judged by what it sees

        found = model.fit(look, np.zeros((4, 4)), self.FREE, 10)
        self.assertEqual(len({look.tobytes() for look in looks}), len(looks), "a pass was made twice")
        for step in np.eye(4):
            for sign in (-3, 3):
                there = model.Pass.of(model.step(rows, self.TASK, found.change + sign * step))
                self.assertGreater(there.loss, found.held_out)

    def test_ends_when_it_is_told_to(self) -> None:
        rows = self.rows(1000)
        best = []

        def look(change: np.ndarray) -> model.Pass:
            if len(best) == 4:
                raise model.EndedEarly
            found = model.Pass.of(model.step(rows, self.TASK, change))
            best.append((found.held_out, change.tolist()))
            return found

        self.assertEqual(model.fit(look, np.eye(4) * 1e-12, self.FREE, 10).change.tolist(), min(best)[1])


class Teams(FolderTest):
    """Workers that share the blocks of a store."""

    CELLS = [[[weight], []] for weight in range(4)]
    LISTING = listing.Listing(list("abcd"), np.zeros(4, np.int64)).text()

    def setUp(self) -> None:
        super().setUp()
        chance = random.Random(1)
        rows = [storewriter.Row([(chance.randrange(4), chance.choice((-2, -1, 1)))], chance.randint(-300, 300),
                                chance.randint(-300, 300), half_points=chance.randrange(3), first=number % 9 == 0)
                for number in range(2000)]
        storewriter.write(self.path("store"), self.LISTING, self.CELLS, [rows[:1500], rows[1500:]], full=128)
        self.store = store.open(self.path("store"))
        self.task = model.Task(200.0, model.Target(0.5, 150.0, False), 3, model.Cells.of(self.CELLS, np.ones(4, bool)))

    def total(self, workers: team.Team) -> list[bytes]:
        with workers:
            told: list[int] = []
            found = workers.total(model.step, self.task, np.array([3.0, -4.0, 5.0, 1.0]), verify=True, tell=told.append)
            self.assertEqual((len(told), told[-1]), (len(self.store.blocks), 2000))
            self.assertEqual(sorted(told), told)
            return [part.tobytes() for part in found]

    def test_sums_are_the_same_bytes_with_any_number_of_workers(self) -> None:
        alone = self.total(team.Team(self.store))
        plain = [model.step(block.read(), self.task, np.array([3.0, -4.0, 5.0, 1.0])) for block in self.store.blocks]
        self.assertEqual(len(plain), 16)
        self.assertEqual(alone[0], sum(counts for counts, _ in plain).tobytes())
        self.assertTrue(np.allclose(np.frombuffer(alone[1]), sum(sums for _, sums in plain)))
        for count in (1, 2, 4, 16, 40):
            self.assertEqual(self.total(team.Processes(self.store, count)), alone, count)

    def test_the_order_of_the_blocks_shows_in_the_bytes(self) -> None:
        """So the test before this one would see it."""
        parts = tuple(model.step(block.read(), self.task, np.ones(4))[1] for block in self.store.blocks)
        self.assertNotEqual(team.added_in_order(parts).tobytes(), team.added_in_order(parts[::-1]).tobytes())

    def test_a_worker_that_is_killed_is_told(self) -> None:
        with team.Processes(self.store, 3) as workers:
            victim = list(workers.pipes.values())[1]
            os.kill(victim.pid, signal.SIGKILL)
            victim.join()
            with self.assertRaisesRegex(team.Lost, rf"^a worker \(process {victim.pid}\) was killed by signal 9$"):
                workers.total(model.step, self.task, np.zeros(4))

    def test_a_damaged_block_is_told(self) -> None:
        path = os.path.join(self.path("store"), "segments", "00001.rows")
        with open(path, "r+b") as file:
            file.seek(5000)
            byte = file.read(1)
            file.seek(5000)
            file.write(bytes([byte[0] ^ 1]))
        for workers in (team.Team(self.store), team.Processes(self.store, 2)):
            with workers, self.assertRaisesRegex(team.Lost, r"00001\.rows: damaged"):
                workers.total(model.step, self.task, np.zeros(4), verify=True)

    def test_workers_end_with_the_first_process(self) -> None:
        program = ("import os, signal, sys, store, team\n"
                   "workers = team.Processes(store.open(sys.argv[1]), 3)\n"
                   "print(*(process.pid for process in workers.pipes.values()), flush=True)\n"
                   "os.kill(os.getpid(), signal.SIGKILL)\n")
        done = subprocess.run([sys.executable, "-c", program, self.path("store")], capture_output=True, text=True,
                              env={**os.environ, "PYTHONPATH": TUNING}, check=False)
        pids = [int(word) for word in done.stdout.split()]
        self.assertEqual((len(pids), done.returncode), (3, -signal.SIGKILL), done.stderr)
        end = time.monotonic() + 60
        while (left := [pid for pid in pids if is_running(pid)]) and time.monotonic() < end:
            time.sleep(0.01)
        self.assertEqual(left, [])


def is_running(pid: int) -> bool:
    try:
        with open(f"/proc/{pid}/stat", encoding="ascii") as file:
            return file.read().split()[2] != "Z"
    except FileNotFoundError:
        return False


class Journals(FolderTest):
    FIT = {"the store": "abc", "--mix": 0.5}
    PASSES = [("10:1", np.array([0.0, 0.1 + number]), model.Pass(7, 0.1 * number, 1 / 3, np.array([1e-300, -number])))
              for number in range(4)]

    def journal(self, **other: object) -> journal.Journal:
        return journal.Journal(self.path("journal"), {**self.FIT, **other})

    def keep(self, passes: int) -> journal.Journal:
        kept = self.journal()
        for spread, change, found in self.PASSES[:passes]:
            self.assertIsNone(kept.found(spread, change))
            kept.add(spread, change, found)
        return kept

    def assert_finds(self, kept: journal.Journal, passes: int) -> None:
        """These passes with every bit, and no other."""
        for spread, change, expected in self.PASSES[:passes]:
            found = kept.found(spread, change)
            self.assertEqual((found.seen, found.loss, found.held_out), (expected.seen, expected.loss, expected.held_out))
            self.assertEqual(found.gradient.tobytes(), expected.gradient.tobytes())
        if passes < len(self.PASSES):
            self.assertIsNone(kept.found(*self.PASSES[passes][:2]))

    def test_keep_every_bit(self) -> None:
        self.keep(3)
        self.assert_finds(self.journal(), 3)

    def test_a_line_that_a_kill_has_cut_short_is_dropped(self) -> None:
        self.keep(3)
        text = self.read("journal")
        self.write("journal", text[:-9])
        kept = self.journal()
        self.assert_finds(kept, 2)
        kept.add(*self.PASSES[2])
        self.assertEqual(self.read("journal"), text)

    def test_passes_after_another_question_are_dropped(self) -> None:
        """Another version of a library may ask otherwise."""
        self.keep(3)
        kept = self.journal()
        self.assertIsNotNone(kept.found(*self.PASSES[0][:2]))
        self.assertIsNone(kept.found("10:1", self.PASSES[3][1]))
        kept.add(*self.PASSES[3])
        again = self.journal()
        self.assertIsNotNone(again.found(*self.PASSES[0][:2]))
        self.assertIsNotNone(again.found("10:1", self.PASSES[3][1]))
        self.assertIsNone(again.found(*self.PASSES[1][:2]))

    def test_of_another_fit_are_refused(self) -> None:
        self.keep(2)
        text = self.read("journal")
        for other, told in (({"--mix": 0.3}, "--mix"), ({"the store": "x", "--choice": "y"}, "the store, --choice")):
            with self.assertRaisesRegex(journal.Other, f"is of an interrupted fit that differs in: {told}; to begin anew"):
                self.journal(**other)
        for text in (b"of earlier days\n", b"[]\n", text.replace(b", 7,", b", x,")):
            self.write("journal", text)
            with self.assertRaises(journal.Other):
                self.journal()
            self.assertEqual(self.read("journal"), text)


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


if __name__ == "__main__":
    unittest.main()
