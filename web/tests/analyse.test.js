// The view Analyse.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Chess } from "chess.js";

import { Visit } from "./support/browser.js";
import { find, listedMoves, openPosition, openView, press, untilSaid, words } from "./support/page.js";
import { clickMove, placement, untilShown } from "./support/play.js";

const START = new Chess().fen();

const flip = (visit) => press(visit, "analyse.switch", "switch");

const read = (visit, name) =>
  visit.page.evaluate((key) => document.querySelector(`[data-test="${key}"]`).innerText.trim(), name);

async function untilDepth(visit, wanted) {
  await visit.until(`depth ${wanted}`, (depth) =>
    parseInt(document.querySelector("[data-test=depth]").innerText, 10) >= depth, wanted);
}

// The moves of the line as they are written.
const line = (visit) => visit.page.evaluate(() =>
  [...document.querySelectorAll("[data-test=variation] button")].map((button) => button.innerText.trim()));

// Waits until a line is shown that can be played from the position; returns it.
async function untilLineFrom(visit, fen) {
  await visit.until("a line", () => document.querySelectorAll("[data-test=variation] button").length > 0);
  for (let tries = 0; tries < 200; tries += 1) {
    const moves = await line(visit);
    const chess = new Chess(fen);
    try {
      for (const san of moves) assert.equal(chess.move(san).san, san);
      if (moves.length > 0) return moves;
    } catch {
      // Still the line of the position before: look again.
    }
    await visit.page.evaluate(() => new Promise((resolve) => requestAnimationFrame(resolve)));
  }
  throw new Error(`no line from ${fen}: ${await line(visit)}`);
}

async function analyse(t, text, options) {
  const visit = await Visit.start(t, options);
  if (text) await openPosition(visit, text);
  await openView(visit, "analyse");
  await find(visit, "switch", words("analyse.switch")).wait();
  return visit;
}

test("an analysis begins, goes deeper, and stops when told", async (t) => {
  const visit = await analyse(t);
  await flip(visit);
  await untilDepth(visit, 8);
  assert.match(await read(visit, "score"), /^[+\-−]?\d+[.,]\d\d$/);
  await untilLineFrom(visit, START);
  assert.equal(await visit.page.evaluate(() => document.querySelectorAll("[data-arrow]").length), 1);
  const began = Date.now();
  await flip(visit);
  await visit.until("it is off", () =>
    document.querySelector("[data-test=analysis-switch]").getAttribute("aria-checked") === "false");
  assert.ok(Date.now() - began < 10_000, "stopping took long");
  // What it found stays, and nothing is added.
  const depth = await read(visit, "depth");
  const nodes = await read(visit, "nodes");
  await visit.page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 700)));
  assert.deepEqual([await read(visit, "depth"), await read(visit, "nodes")], [depth, nodes]);
});

test("it tells a mate, and says it for either side from White's point of view", async (t) => {
  const visit = await analyse(t, "6k1/5ppp/8/8/8/8/8/R5K1 w - - 0 1");
  await flip(visit);
  await untilDepth(visit, 3);
  assert.deepEqual((await untilLineFrom(visit, "6k1/5ppp/8/8/8/8/8/R5K1 w - - 0 1")).slice(0, 1), ["Ra8#"]);
  const white = await read(visit, "score");
  assert.match(white, /1/);
  await openPosition(visit, "r5k1/8/8/8/8/8/5PPP/6K1 b - - 0 1");
  await untilLineFrom(visit, "r5k1/8/8/8/8/8/5PPP/6K1 b - - 0 1");
  await visit.until("another score", (old) => {
    const text = document.querySelector("[data-test=score]").innerText.trim();
    return /1/.test(text) && text !== old;
  }, white);
});

test("it follows the board: moves made, and moves looked at", async (t) => {
  const visit = await analyse(t);
  await flip(visit);
  await untilDepth(visit, 4);
  const chess = new Chess();
  for (const uci of ["e2e4", "c7c5", "g1f3"]) {
    await clickMove(visit, uci);
    chess.move(uci);
    await untilShown(visit, chess.fen());
    await untilLineFrom(visit, chess.fen());
  }
  assert.deepEqual(await listedMoves(visit), chess.history());
  await press(visit, "bar.first");
  await untilShown(visit, START);
  await untilLineFrom(visit, START);
  await untilDepth(visit, 4);
  assert.deepEqual(await listedMoves(visit), chess.history());
});

test("its line can be played through on the board, left again, and added to the game", async (t) => {
  const visit = await analyse(t);
  await flip(visit);
  await untilDepth(visit, 7);
  await flip(visit);
  const moves = await untilLineFrom(visit, START);
  assert.ok(moves.length >= 3, moves.join(" "));
  const after = (count) => {
    const chess = new Chess();
    for (const san of moves.slice(0, count)) chess.move(san);
    return chess.fen();
  };
  await find(visit, "button", moves[1]).click();
  await untilShown(visit, after(2));
  assert.deepEqual(await listedMoves(visit), []);
  await visit.page.keyboard.press("ArrowRight");
  await untilShown(visit, after(3));
  await visit.page.keyboard.press("ArrowLeft");
  await untilShown(visit, after(2));
  await press(visit, "analyse.back");
  await untilShown(visit, START);
  await find(visit, "button", moves[1]).click();
  await untilShown(visit, after(2));
  await press(visit, "analyse.add");
  await visit.until("the moves are in the list", () =>
    document.querySelectorAll("#move-list [data-ply]").length === 2);
  assert.deepEqual(await listedMoves(visit), moves.slice(0, 2));
});

const BLUNDER = "1. e4 e5 2. Nf3 Nc6 3. Bc4 Nf6 4. Ng5 Bc5 5. f3 O-O 6. Qe2 Qe7 7. g4 Bg1 8. d3 d6 *";
const SHORT = "1. f3 e5 2. g4 Qh4# 0-1";

test("the whole game is analysed: graph, marks, table", async (t) => {
  const visit = await analyse(t, SHORT);
  await visit.page.select("[data-test=review-limit]", "0.1");
  await press(visit, "analyse.reviewStart");
  await visit.until("the graph is there and the work done", () =>
    document.querySelector("[data-test=graph]")?.checkVisibility()
    && !document.querySelector("[data-test=review-progress]").checkVisibility());
  await visit.until("a blunder is marked in the list", () =>
    document.querySelector("#move-list [data-ply='3']").innerText.includes("??"));
  const slider = await find(visit, "slider", words("analyse.graph")).waitHandle();
  const told = () => slider.evaluate((element) => element.getAttribute("aria-valuetext"));
  await slider.focus();
  await visit.page.keyboard.press("Home");
  await untilShown(visit, START);
  assert.ok((await told()).includes(words("analyse.start")));
  for (let i = 0; i < 3; i += 1) await visit.page.keyboard.press("ArrowRight");
  await untilShown(visit, "rnbqkbnr/pppp1ppp/8/4p3/6P1/5P2/PPPPP2P/RNBQKBNR");
  await visit.until("the slider tells the blunder", (word) =>
    document.querySelector("[data-test=graph]").getAttribute("aria-valuetext").includes(word),
  words("analyse.blunder"));
  // A click at the graph's right end shows the mate.
  const { x, y, width, height } = await slider.boundingBox();
  await visit.page.mouse.click(x + width - 2, y + height / 2);
  await untilShown(visit, "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR");
  await find(visit, "DisclosureTriangle", words("analyse.asTable")).click();
  await visit.until("four rows", () =>
    document.querySelectorAll("[data-test=review-table] tbody tr").length === 4);
});

test("the analysis of the whole game can be cancelled", async (t) => {
  const visit = await analyse(t, BLUNDER.replace(" *", ""));
  await visit.page.select("[data-test=review-limit]", "3");
  await press(visit, "analyse.reviewStart");
  await visit.until("it is under way", () =>
    document.querySelector("[data-test=review-progress]").checkVisibility());
  await press(visit, "analyse.reviewCancel");
  await visit.until("it has ended", () =>
    !document.querySelector("[data-test=review-progress]").checkVisibility());
  await find(visit, "button", words("analyse.reviewStart")).wait();
});

test("threads and hash can be chosen", async (t) => {
  const visit = await analyse(t);
  await find(visit, "DisclosureTriangle", words("analyse.options")).click();
  const cores = await visit.page.evaluate(() => navigator.hardwareConcurrency);
  const choices = await visit.page.evaluate(() =>
    [...document.querySelector("[data-test=threads]").options].map(({ value }) => Number(value)));
  assert.equal(choices[0], 1);
  assert.ok(choices.at(-1) <= cores);
  await visit.page.select("[data-test=threads]", String(choices.at(-1)));
  await visit.page.select("[data-test=hash]", "16");
  await flip(visit);
  await untilDepth(visit, 8);
  // Another choice while it runs: it goes on.
  await visit.page.select("[data-test=hash]", "32");
  await visit.page.select("[data-test=threads]", "1");
  await untilDepth(visit, 8);
  await flip(visit);
  assert.equal(await placement(visit), START.split(" ")[0]);
  await visit.page.reload({ waitUntil: "load" });
  await openView(visit, "analyse");
  await visit.until("the choice is remembered", () =>
    document.querySelector("[data-test=hash]").value === "32");
});

test("without shared memory the choice of threads says why there is none", async (t) => {
  const visit = await analyse(t, null, {
    isolated: false,
    prepare: (page) => page.evaluateOnNewDocument(() => delete Navigator.prototype.serviceWorker),
  });
  await find(visit, "DisclosureTriangle", words("analyse.options")).click();
  await untilSaid(visit, words("analyse.noThreads"));
  assert.equal(await visit.page.evaluate(() => document.querySelector("[data-test=threads]").disabled), true);
  await flip(visit);
  await untilDepth(visit, 6);
  await flip(visit);
});
