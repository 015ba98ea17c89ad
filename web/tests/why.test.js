// The view Why: what its tables show is the native engine's evaluation.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Chess } from "chess.js";

import { Visit } from "./support/browser.js";
import { find, listedMoves, openPosition, openView, press, words } from "./support/page.js";
import { clickMove, untilShown } from "./support/play.js";
import { traced } from "./support/native.js";
import { positions } from "./support/positions.js";

const START = new Chess().fen();
const TERMS = ["material", "king", "bishopPair", "mobility", "kingSafety", "rookFiles", "pawns"];

// The numbers in an English text, with a real minus or another: "−1,283" is -1283.
function numbers(text) {
  const plain = text.replaceAll(/[−–]/g, "-").replaceAll(/(?<=\d),(?=\d{3})/g, "");
  return [...plain.matchAll(/[+-]?\d+(?:\.\d+)?/g)].map(([number]) => Number(number));
}

async function openWhy(t, fen = null) {
  const visit = await Visit.start(t);
  if (fen) await openPosition(visit, fen);
  await openView(visit, "why");
  await press(visit, "why.unit.centipawns", "radio");
  return visit;
}

// Waits until the value is that of the position wanted.
async function untilValue(visit, wanted) {
  await visit.until(`the value ${wanted}`, (value) => {
    const shown = document.querySelector("[data-test=why-value]")?.innerText ?? "";
    const text = shown.replaceAll(/[^\d−-]/g, "");
    return text !== "" && Number(text.replace("−", "-")) === value;
  }, wanted);
}

// The rows that are seen: [{key, mg, eg}], from the texts in their cells.
async function shownRows(visit, selector) {
  const rows = await visit.page.evaluate((wanted) =>
    [...document.querySelectorAll(`[data-test=why-table] ${wanted}`)]
      .filter((row) => row.checkVisibility())
      .map((row) => ({
        key: row.dataset.key,
        term: row.closest("tbody")?.dataset.term,
        cells: [...row.querySelectorAll("td.number")].map((cell) => cell.innerText),
      })), selector);
  return rows.map(({ key, term, cells }) => {
    const [[mg], [eg]] = cells.slice(0, 2).map(numbers);
    return { key, term, mg, eg };
  });
}

async function sumShown(visit, name) {
  return numbers(await visit.page.evaluate((test) =>
    document.querySelector(`[data-test="${test}"]`).innerText, name));
}

test("the table shows the native engine's terms, features add up, the steps lead to the value", async (t) => {
  const visit = await openWhy(t);
  await untilShown(visit, START);
  const all = positions(1000);
  // Some of each kind: openings, middle games, end games, with a clock that has run and without.
  for (const fen of Array.from({ length: 8 }, (_, i) => all[(i * 127 + 7) % all.length])) {
    const printed = await traced(fen);
    await openPosition(visit, fen);
    await untilValue(visit, printed.white);
    const terms = await shownRows(visit, ".term-row");
    const wanted = printed.terms.map(({ mg, eg }, i) => ({ key: TERMS[i], term: TERMS[i], mg, eg }));
    assert.deepEqual(terms, wanted, fen);
    assert.deepEqual((await sumShown(visit, "why-total")).slice(0, 2), Object.values(printed.total), fen);
    assert.equal((await sumShown(visit, "sum-final"))[0], printed.white, fen);
    // Every term is opened; its features add up to it.
    await visit.page.evaluate(() => {
      const closed = "[data-test=why-table] .term-row [aria-expanded=false]";
      for (const button of document.querySelectorAll(closed)) button.click();
    });
    const features = await shownRows(visit, ".feature-row");
    for (const { key, mg, eg } of terms) {
      const own = features.filter(({ term }) => term === key);
      assert.equal(own.reduce((sum, feature) => sum + feature.mg, 0), mg, `${fen}: ${key}`);
      assert.equal(own.reduce((sum, feature) => sum + feature.eg, 0), eg, `${fen}: ${key}`);
    }
    const warned = await visit.page.evaluate((text) => document.body.innerText.includes(text),
      words("why.disagrees"));
    assert.equal(warned, false, fen);
  }
});

test("a term that is looked at shows its squares on the board", async (t) => {
  const fen = "4k3/8/8/3P4/8/8/P6P/4K3 w - - 0 1";
  const visit = await openWhy(t, fen);
  await untilValue(visit, (await traced(fen)).white);
  await find(visit, "button", words("term.pawns")).click();
  await find(visit, "button", words("term.pawns.passed")).hover();
  await visit.until("the passed pawns are marked", (squares) => {
    const marks = [...document.querySelectorAll("[class*=mark-term][data-mark]")];
    return squares.every((square) => marks.some((mark) => mark.dataset.mark === square));
  }, ["a2", "d5", "h2"]);
  await find(visit, "tab", words("tab.play")).click();
  await visit.until("the marks are gone", () => !document.querySelector("[class*=mark-term][data-mark]"));
});

test("it follows the board", async (t) => {
  const visit = await openWhy(t);
  await untilValue(visit, (await traced(START)).white);
  const chess = new Chess();
  for (const uci of ["e2e4", "d7d5", "e4d5"]) {
    await clickMove(visit, uci);
    chess.move(uci);
    await untilShown(visit, chess.fen());
    await untilValue(visit, (await traced(chess.fen())).white);
  }
  await press(visit, "bar.previous");
  chess.undo();
  await untilShown(visit, chess.fen());
  await untilValue(visit, (await traced(chess.fen())).white);
});

test("moves are ranked by what they change, and can be tried", async (t) => {
  const fen = "4k3/8/8/3q4/4P3/8/8/4K3 w - - 0 1";
  const visit = await openWhy(t, fen);
  await press(visit, "why.mode.move", "radio");
  const chess = new Chess(fen);
  await visit.until("all moves are listed", (count) =>
    document.querySelectorAll("[data-test=why-moves] button").length === count, chess.moves().length);
  const shown = await visit.page.evaluate(() =>
    [...document.querySelectorAll("[data-test=why-moves] button")].map((button) => ({
      san: button.querySelector(".san").innerText, gain: button.querySelector(".gain").innerText,
    })));
  const before = (await traced(fen)).white;
  const gains = [];
  for (const { san, gain } of shown) {
    const after = new Chess(fen);
    after.move(san);
    gains.push((await traced(after.fen())).white - before);
    assert.equal(numbers(gain)[0], gains.at(-1), san);
  }
  assert.deepEqual(gains, [...gains].sort((a, b) => b - a));
  assert.equal(shown[0].san, "exd5");
  await clickMove(visit, "e4d5");
  chess.move("exd5");
  await untilShown(visit, chess.fen());
  assert.deepEqual(await listedMoves(visit), []);
  await press(visit, "analyse.back");
  await untilShown(visit, fen);
});

test("after the engine's line: the difference to now adds up", async (t) => {
  const visit = await openWhy(t, "r1bqkbnr/pppp1ppp/2n5/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R b KQkq - 3 3");
  await press(visit, "why.mode.variation", "radio");
  await press(visit, "why.begin");
  await visit.until("a line and its difference", () =>
    document.querySelector("[data-test=why-line]").checkVisibility()
    && document.querySelectorAll("[data-test=why-variation-table] .term-row").length > 0);
  await press(visit, "why.lookAtEnd");
  await visit.until("no move is in the game", () =>
    document.querySelectorAll("#move-list [data-ply]").length === 0);
  const { rows, sums } = await visit.page.evaluate(() => {
    const table = document.querySelector("[data-test=why-variation-table]");
    const last = (row) => [...row.querySelectorAll("td.number")].at(-1).innerText;
    return {
      rows: [...table.querySelectorAll(".term-row")].filter((row) => row.checkVisibility()).map(last),
      sums: [...table.tFoot.rows].map(last),
    };
  });
  const changes = rows.map((text) => numbers(text)[0]);
  const foot = sums.map((text) => numbers(text)[0]);
  const total = foot.at(-1);
  const parts = [...changes, ...foot.slice(0, -1)].reduce((sum, change) => sum + change, 0);
  // Each row is rounded to whole centipawns.
  assert.ok(Math.abs(parts - total) <= (changes.length + foot.length) / 2, `${parts} and ${total}`);
});
