// The main ways through the page once more, in Firefox.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Chess } from "chess.js";

import { Visit } from "./support/browser.js";
import { assertBoardSeen, assertFits, keepPicture } from "./support/look.js";
import { traced } from "./support/native.js";
import {
  find, listedMoves, newGame, openPosition, openView, paste, press, untilSaid, untilStatus, words,
} from "./support/page.js";
import { clickMove, dragMove, placement, untilReply, untilShown } from "./support/play.js";
import { SiteServer } from "./support/site.js";

const START = new Chess().fen();
const visitFirefox = (t, options) => Visit.start(t, { kind: "firefox", ...options });

async function assertPlays(visit) {
  await newGame(visit);
  const chess = new Chess();
  await untilShown(visit, START);
  for (const [move, uci] of [[clickMove, "e2e4"], [dragMove, "g1f3"]]) {
    await untilStatus(visit, "play.status.yours");
    await move(visit, uci);
    chess.move(uci);
    await untilReply(visit, chess);
  }
  assert.deepEqual(await listedMoves(visit), chess.history());
}

test("Firefox: a game by mouse, a mate, a mistake", async (t) => {
  const visit = await visitFirefox(t);
  assert.equal(await visit.page.evaluate(() => crossOriginIsolated), true);
  await assertPlays(visit);
  await keepPicture(visit, "firefox-play");
  const before = await placement(visit);
  await paste(visit, "8/8/8/8/8/8/8/8 w - - 0 1");
  await untilSaid(visit, words("fen.whiteKing", { n: 0 }), "dialog[open] [role=alert]");
  await press(visit, "cancel");
  assert.equal(await placement(visit), before);
  const fen = "7k/8/8/8/8/8/R7/1R4K1 w - - 0 1";
  await openPosition(visit, fen);
  await newGame(visit, { here: true });
  const chess = new Chess(fen);
  for (const uci of ["a2a7", "b1b8"]) {
    await untilStatus(visit, "play.status.yours");
    await clickMove(visit, uci);
    chess.move(uci);
    if (!chess.isGameOver()) await untilReply(visit, chess);
  }
  await untilStatus(visit, "play.over.mate", { who: words("play.over.white") });
});

test("Firefox: the service worker brings threads, and the page works offline", async (t) => {
  const server = await SiteServer.start({ isolated: false });
  t.after(() => server.stop());
  const visit = await visitFirefox(t, { server });
  await visit.until("the page is isolated", () => crossOriginIsolated);
  // All is loaded then: Firefox reports what a page that is left had still asked the worker for.
  await assertPlays(visit);
  await server.stop();
  await visit.goto();
  await visit.until("the page is isolated", () => crossOriginIsolated);
  await assertPlays(visit);
});

test("Firefox: analysis, and Why as the native engine has it", async (t) => {
  const fen = "r1bqkbnr/pppp1ppp/2n5/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R b KQkq - 3 3";
  const visit = await visitFirefox(t);
  await openPosition(visit, fen);
  await openView(visit, "analyse");
  await press(visit, "analyse.switch", "switch");
  await visit.until("depth 6", () =>
    parseInt(document.querySelector("[data-test=depth]").innerText, 10) >= 6);
  await press(visit, "analyse.switch", "switch");
  await assertFits(visit, "analyse");
  await assertBoardSeen(visit, "analyse");
  await keepPicture(visit, "firefox-analyse");
  await openView(visit, "why");
  const { white } = await traced(fen);
  await find(visit, "radio", words("why.unit.centipawns")).click();
  await visit.until(`the value ${white}`, (value) => {
    const text = document.querySelector("[data-test=why-value]").innerText.replace("−", "-");
    return Number(text) === value;
  }, white);
  await assertFits(visit, "why");
  await keepPicture(visit, "firefox-why");
});
