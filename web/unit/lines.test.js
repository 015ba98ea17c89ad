// The engine's lines as the state of an analysis, and its moves as notation.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import test from "node:test";

import { barShare, emptyAnalysis, shortCount, shortTime, withLine } from "../page/app/analysis/lines.js";
import { refusalOf } from "../page/app/analysis/refusals.js";
import { expectation } from "../page/app/analysis/score.js";
import {
  clockOf, endOf, legalMoves, moveNumberText, variationMoves, variationText,
} from "../page/app/analysis/variation.js";
import { Texts } from "../page/app/i18n.js";

const told = JSON.parse(readFileSync(new URL("fixtures/lines.json", import.meta.url)));
const texts = new Texts("en");

const stateAfter = (fen, lines) => lines.reduce(withLine, emptyAnalysis(fen, clockOf(fen).turn));

test("lines of a search become the state of the analysis", () => {
  const state = stateAfter(told.fen, told.lines);
  const last = told.lines.at(-1);
  assert.equal(state.depth, last.depth);
  assert.equal(state.seldepth, last.seldepth);
  assert.deepEqual(state.score, { cp: -last.score.cp }, "Black is to move");
  assert.equal(state.nodes, last.nodes);
  assert.deepEqual(state.pv, last.pv);
  assert.deepEqual(state.history.map(({ depth }) => depth), told.lines.map(({ depth }) => depth).reverse());
  assert.deepEqual(state.history.at(-1).score, { cp: -told.lines[0].score.cp });
});

test("a mate is kept as the number of moves and its winner", () => {
  assert.deepEqual(stateAfter(told.mateFen, told.mateLines).score, { mate: 1, winner: "w" });
});

test("a line again at the same depth takes the place of the one before", () => {
  const [line] = told.lines;
  const state = stateAfter(told.fen, [line, { ...line, score: { cp: 7 } }]);
  assert.equal(state.history.length, 1);
  assert.deepEqual(state.history[0].score, { cp: -7 });
});

test("a line without moves tells of progress alone", () => {
  const state = stateAfter(told.fen, [...told.lines, { depth: 13, nodes: 999999, nps: 5, time: 7 }]);
  assert.equal(state.depth, 12);
  assert.equal(state.nodes, 999999);
  assert.equal(state.history.length, told.lines.length);
});

test("the state before is not changed", () => {
  const before = stateAfter(told.fen, told.lines.slice(0, 3));
  const copy = structuredClone(before);
  withLine(before, told.lines[3]);
  assert.deepEqual(before, copy);
});

test("the bar is half White's where nothing is known", () => {
  assert.equal(barShare(null, expectation), 0.5);
  assert.equal(barShare({ mate: 2, winner: "w" }, expectation), 1);
  assert.ok(barShare({ cp: -100 }, expectation) < 0.5);
});

test("counts and times are short", () => {
  assert.equal(shortCount(950, texts), "950");
  assert.equal(shortCount(12345, texts), "12.3K");
  assert.equal(shortCount(4560000, texts), "4.56M");
  assert.equal(shortCount(7.1e9, texts), "7.1B");
  assert.equal(shortCount(12345, new Texts("uk")), "12,3\u00a0тис.");
  assert.equal(shortTime(1340, texts), "1.3 s");
  assert.equal(shortTime(125000, texts), "2:05");
});

test("a variation is written with its numbers", () => {
  const moves = variationMoves(told.fen, told.lines.at(-1).pv);
  assert.equal(moves.length, told.lines.at(-1).pv.length);
  assert.ok(variationText(moves).startsWith("50\u2026\u00a0f6 51.\u00a0b7 g5 52.\u00a0b8=Q gxh4"));
  assert.equal(clockOf(moves[0].fen).turn, "w");
  assert.equal(moveNumberText({ number: 4, color: "b" }, false), "");
});

test("a variation ends before a move that is not legal", () => {
  assert.deepEqual(variationMoves(told.fen, ["f7f6", "b6b8", "g6g5"]).map(({ san }) => san), ["f6"]);
});

test("legal moves lead to their positions", () => {
  const moves = legalMoves("4k3/P7/8/8/8/8/8/4K3 w - - 3 9");
  assert.equal(moves.length, 9);
  const queen = moves.find(({ uci }) => uci === "a7a8q");
  assert.equal(queen.san, "a8=Q+");
  assert.equal(queen.number, 9);
  assert.equal(queen.fen, "Q3k3/8/8/8/8/8/8/4K3 b - - 0 9");
});

test("ends of games are seen", () => {
  assert.equal(endOf("7k/5KQ1/8/8/8/8/8/8 b - - 0 1"), "mate");
  assert.equal(endOf("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"), "stalemate");
  assert.equal(endOf(told.fen), null);
});

test("the engine's refusals are known by their words", () => {
  assert.deepEqual(
    refusalOf("setoption hash: 65536 МБ — більше за 3/4 фізичної RAM (24105 МБ); використано 18078 МБ"),
    { key: "analyse.hashReduced", values: { asked: 65536, used: 18078 } });
  assert.deepEqual(
    refusalOf("setoption hash: не вдалося виділити 4096 МБ — лишається попередній розмір"),
    { key: "analyse.hashRefused", values: { asked: 4096 } });
  assert.deepEqual(
    refusalOf("setoption threads: не вдалося створити 64 потоків — лишається попередня кількість"),
    { key: "analyse.threadsRefused", values: { n: 64 } });
  assert.equal(refusalOf("something else"), null);
});
