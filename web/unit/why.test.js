// The evaluation as rows, sums, bars and differences, from evaluations of the engine itself.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import test from "node:test";

import { Texts, LANGUAGES } from "../page/app/i18n.js";
import { amountText, roundHalfAway } from "../page/app/why/amounts.js";
import { barLimit, barOf, barPlace } from "../page/app/why/bars.js";
import { evaluationDifference, rankMoves } from "../page/app/why/difference.js";
import { EvaluationFeed, newestOnly } from "../page/app/why/feed.js";
import {
  arithmetic, contribution, evaluationRows, halfmoveClock, isEmptyRow, TERMS,
} from "../page/app/why/model.js";
import { sidesText } from "../page/app/why/sides.js";
import { SquareMarks } from "../page/app/why/squaremarks.js";
import { FakeBoard } from "./support/fakeboard.js";

const known = JSON.parse(readFileSync(new URL("fixtures/evaluations.json", import.meta.url)));
const all = Object.entries(known);
const texts = new Texts("en");
const sum = (rows, key) => rows.reduce((total, row) => total + row[key], 0);

test("rows are the terms in their order, and add up", () => {
  for (const [name, { evaluation }] of all) {
    const rows = evaluationRows(evaluation);
    assert.deepEqual(rows.map(({ key }) => key), TERMS, name);
    assert.equal(sum(rows, "mg"), evaluation.total.mg, name);
    assert.equal(sum(rows, "eg"), evaluation.total.eg, name);
    for (const row of rows) {
      assert.equal(sum(row.features, "mg"), row.mg, `${name} ${row.key}`);
      assert.equal(sum(row.features, "eg"), row.eg, `${name} ${row.key}`);
    }
  }
});

test("what the terms count comes to the blended value, but for the engine's cuts", () => {
  for (const [name, { evaluation }] of all) {
    const counted = sum(evaluationRows(evaluation), "value");
    assert.ok(Math.abs(counted - evaluation.blended) < 2, `${name}: ${counted}, ${evaluation.blended}`);
  }
});

test("a contribution is between the middle game and the end game", () => {
  assert.equal(contribution({ mg: 40, eg: -20 }, { phase: 24, scale: 64 }), 40);
  assert.equal(contribution({ mg: 40, eg: -20 }, { phase: 0, scale: 64 }), -20);
  assert.equal(contribution({ mg: 40, eg: -20 }, { phase: 0, scale: 32 }), -10);
  assert.equal(contribution({ mg: 40, eg: -20 }, { phase: 12, scale: 64 }), 10);
});

test("the arithmetic leads to the engine's own value", () => {
  for (const [name, { fen, evaluation }] of all) {
    const steps = arithmetic(evaluation, fen);
    assert.ok(steps.agrees, name);
    assert.equal(steps.faded, evaluation.white, name);
  }
  const { fen, evaluation } = known.bishops;
  assert.equal(evaluation.scale, 32, "bishops on different colours");
  const steps = arithmetic(evaluation, fen);
  assert.equal(steps.scaledEg, Math.trunc(evaluation.total.eg / 2));
  assert.equal(steps.clock, 11);
  assert.equal(steps.fadeLeft, 189);
});

test("divisions cut towards zero, and a wrong value is seen", () => {
  const evaluation = { total: { mg: -7, eg: -5 }, phase: 11, scale: 24, blended: -3, white: -2 };
  const steps = arithmetic(evaluation, "8/8/8/8/8/8/8/8 w - - 50 1");
  assert.deepEqual([steps.scaledEg, steps.blended, steps.faded], [-1, -3, -2]);
  assert.ok(steps.agrees);
  assert.ok(!arithmetic({ ...evaluation, white: -3 }, "8/8/8/8/8/8/8/8 w - - 50 1").agrees);
});

test("the halfmove clock is read as the engine reads it", () => {
  assert.equal(halfmoveClock("8/8/8/8/8/8/8/8 w - -"), 0);
  assert.equal(halfmoveClock("8/8/8/8/8/8/8/8 w - - 43 50"), 43);
  assert.equal(halfmoveClock("8/8/8/8/8/8/8/8 w - - 143 50"), 100);
});

test("squares are told apart by side, each once", () => {
  const rows = evaluationRows(known.pinned.evaluation);
  for (const row of rows.flatMap((term) => [term, ...term.features])) {
    const { white, black, both } = row.squares;
    const list = [...white, ...black, ...both];
    assert.equal(new Set(list).size, list.length, row.key);
  }
  const knights = rows.find(({ key }) => key === "material").features.find(({ name }) => name === "knight");
  assert.deepEqual(knights.squares.white.toSorted(), ["c3", "f3"]);
  assert.deepEqual(knights.squares.black.toSorted(), ["c6", "f6"]);
});

test("a feature of nobody is empty, one that both sides share is not", () => {
  const features = evaluationRows(known.start.evaluation).flatMap((row) => row.features);
  const empty = (key) => isEmptyRow(features.find((feature) => feature.key === key));
  assert.equal(empty("pawns.isolated"), true);
  assert.equal(empty("pawns.passers"), true);
  assert.equal(empty("material.knight"), false);
});

test("differences add up to the change of the value", () => {
  for (const [name, { evaluation: before }] of all) {
    for (const [other, { evaluation: after }] of all) {
      const { total, rows, fade, rounding } = evaluationDifference(before, after);
      assert.equal(total, after.white - before.white);
      const parts = sum(rows, "change") + fade + rounding;
      assert.ok(Math.abs(parts - total) < 0.01, `${name} to ${other}: ${parts}, ${total}`);
      assert.ok(Math.abs(rounding) < 4, `${name} to ${other}: ${rounding}`);
    }
  }
});

test("differences come largest first, and without what stays", () => {
  const { rows } = evaluationDifference(known.start.evaluation, known.middle.evaluation);
  const sizes = rows.map(({ change }) => Math.abs(change));
  assert.deepEqual(sizes, sizes.toSorted((a, b) => b - a));
  assert.ok(rows.every(({ change, mg, eg, features }) => change || mg || eg || features.length));
  const same = evaluationDifference(known.middle.evaluation, known.middle.evaluation);
  assert.deepEqual([same.rows, same.total, same.fade, same.rounding], [[], 0, 0, 0]);
});

test("moves are ranked for the side that makes them", () => {
  const before = { white: 10 };
  const moves = [{ san: "a", white: 30 }, { san: "b", white: -5 }, { san: "c", white: 12 }];
  const ranked = (color) => (
    rankMoves(before, moves.map(({ san, white }) => ({ san, color, evaluation: { white } })))
  );
  assert.deepEqual(ranked("w").map(({ san, gain }) => [san, gain]), [["a", 20], ["c", 2], ["b", -15]]);
  assert.deepEqual(ranked("b").map(({ san }) => san), ["b", "c", "a"]);
});

test("bars grow from the centre to the side that they favour", () => {
  assert.equal(barLimit([10, -35]), 50);
  assert.equal(barLimit([0]), 50);
  assert.equal(barLimit([120, -640]), 750);
  assert.equal(barLimit([123456]), 123456);
  assert.deepEqual(barOf(25, 50), { left: 50, width: 25, side: "white" });
  assert.deepEqual(barOf(-50, 50), { left: 0, width: 50, side: "black" });
  assert.deepEqual(barOf(0, 50), { left: 50, width: 0, side: "none" });
  assert.equal(barPlace(900, 50), 100);
});

test("amounts are written in pawns or centipawns", () => {
  assert.equal(amountText(34, "pawns", texts), "+0.34");
  assert.equal(amountText(-5.5, "pawns", texts), "\u22120.06");
  assert.equal(amountText(5.5, "pawns", texts), "+0.06");
  assert.equal(amountText(-0.2, "pawns", texts), "0.00");
  assert.equal(amountText(34.4, "centipawns", texts), "+34");
  assert.equal(amountText(-1234, "centipawns", texts), "\u22121,234");
  assert.ok(Object.is(roundHalfAway(-0.1), 0));
});

test("the sides' parts are told where they are known", () => {
  const pair = { white: { mg: 12, eg: 0, count: 3 }, black: { mg: -4, eg: 7, count: 1 } };
  assert.equal(sidesText(pair, "pawns", texts), "White +0.12 / 0.00 (3) · Black \u22120.04 / +0.07 (1)");
  assert.equal(sidesText({ white: null, black: null }, "pawns", texts), "");
});

test("every term and feature has a name and an explanation in every language", () => {
  for (const language of Object.keys(LANGUAGES)) {
    const own = new Texts(language);
    for (const row of evaluationRows(known.start.evaluation)) {
      for (const { key } of [row, ...row.features]) {
        assert.ok(own.has(`term.${key}`), `${language} ${key}`);
        assert.ok(own.has(`term.${key}.text`), `${language} ${key}`);
      }
    }
  }
});

test("each position is asked for once, again after a failure", async () => {
  let fails = true;
  const asked = [];
  const feed = new EvaluationFeed({ evaluate: async (fen) => {
    asked.push(fen);
    if (fails) {
      throw new Error("no");
    }
    return { fen };
  } });
  await assert.rejects(feed.of("a"));
  fails = false;
  assert.deepEqual(await feed.of("a"), { fen: "a" });
  await feed.of("a");
  assert.deepEqual(asked, ["a", "a"]);
});

test("only the newest answer counts", async () => {
  const waiting = [];
  const delivered = [];
  const ask = newestOnly(() => new Promise((resolve) => waiting.push(resolve)), (answer, fen) => {
    delivered.push([answer, fen]);
  });
  const [first, second] = [ask("a"), ask("b")];
  waiting[1]("for b");
  waiting[0]("for a");
  await Promise.all([first, second]);
  assert.deepEqual(delivered, [["for b", "b"]]);
});

test("marked squares: those of the row looked at, else of the row that stays", () => {
  const board = new FakeBoard();
  const marks = new SquareMarks(board);
  const kept = { white: ["a1"], black: [], both: ["d4"] };
  marks.keep(kept);
  marks.look({ white: [], black: ["h8"], both: [] });
  assert.deepEqual(board.marks, { "term-white": [], "term-black": ["h8"], term: [] });
  marks.look(null);
  assert.deepEqual(board.marks, { "term-white": ["a1"], "term-black": [], term: ["d4"] });
  marks.clear();
  assert.deepEqual(board.marks, {});
});
