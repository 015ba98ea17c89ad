// Positions set up by hand, games taken away as text, the board under a finger.

import assert from "node:assert/strict";
import { existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import os from "node:os";
import path from "node:path";
import { test } from "node:test";

import { Chess } from "chess.js";

import { Visit } from "./support/browser.js";
import {
  find, listedMoves, newGame, openPosition, press, untilSaid, untilStatus, words,
} from "./support/page.js";
import { centreOf, clickMove, placement, untilReply, untilShown } from "./support/play.js";

const START = new Chess().fen();

// --- setting up ---

async function openSetUp(visit) {
  await press(visit, "bar.position");
  await press(visit, "position.setUp", "radio");
}

async function put(visit, piece, ...squares) {
  await press(visit, piece, "radio");
  for (const square of squares) await visit.page.locator(`[data-set-up=${square}]`).click();
}

test("a position is set up by hand, with what is wrong told, and played on", async (t) => {
  const visit = await Visit.start(t);
  await untilShown(visit, START);
  await openSetUp(visit);
  await press(visit, "position.clear");
  await press(visit, "position.use");
  await untilSaid(visit, words("fen.whiteKing", { n: 0 }), "dialog[open] [role=alert]");
  await put(visit, "board.piece.wk", "g1");
  await put(visit, "board.piece.bk", "g8", "h8");
  await press(visit, "position.use");
  await untilSaid(visit, words("fen.blackKing", { n: 2 }), "dialog[open] [role=alert]");
  await put(visit, "position.eraser", "h8");
  await put(visit, "board.piece.wr", "a7", "g2");
  await press(visit, "position.use");
  await untilSaid(visit, words("fen.blackInCheck"), "dialog[open] [role=alert]");
  assert.equal(await placement(visit), START.split(" ")[0]);
  await put(visit, "position.eraser", "g2");
  await put(visit, "board.piece.wr", "b1");
  await press(visit, "position.use");
  const fen = "6k1/R7/8/8/8/8/8/1R4K1 w - - 0 1";
  await untilShown(visit, fen);
  await newGame(visit, { here: true });
  await untilStatus(visit, "play.status.yours");
  await clickMove(visit, "b1b8");
  await untilStatus(visit, "play.over.win");
});

test("side to move and castling are taken from what is set up", async (t) => {
  const visit = await Visit.start(t);
  await openPosition(visit, "r3k2r/8/8/8/8/8/8/R3K2R w - - 0 1");
  await openSetUp(visit);
  await press(visit, "say.side.b", "radio");
  await press(visit, "position.castling.k", "checkbox");
  await press(visit, "position.use");
  await visit.until("the dialog is closed", () => document.querySelector("dialog[open]") === null);
  await newGame(visit, { side: "black", here: true });
  await untilStatus(visit, "play.status.yours");
  await find(visit, "textbox", words("moves.type")).fill("O-O-O");
  await press(visit, "moves.play");
  await untilSaid(visit, words("moves.illegal", { move: "O-O-O" }));
  await find(visit, "textbox", words("moves.type")).fill("O-O");
  await press(visit, "moves.play");
  const chess = new Chess("r3k2r/8/8/8/8/8/8/R3K2R b k - 0 1");
  chess.move("O-O");
  await untilReply(visit, chess);
});

// --- text ---

test("the game is copied, saved, and read again from a file", async (t) => {
  const folder = mkdtempSync(path.join(os.tmpdir(), "morvane-pgn-"));
  t.after(() => rmSync(folder, { recursive: true, force: true }));
  const visit = await Visit.start(t);
  const origin = new URL(visit.server.url).origin;
  await visit.context.overridePermissions(origin, ["clipboard-read", "clipboard-sanitized-write"]);
  const session = await visit.page.createCDPSession();
  await session.send("Browser.setDownloadBehavior", {
    behavior: "allow", downloadPath: folder, browserContextId: visit.context.id,
  });
  const game = "1. e4 e5 2. Nf3 Nc6 3. Bb5 a6";
  await openPosition(visit, game);
  await press(visit, "moves.copy");
  await untilSaid(visit, words("moves.copied"));
  const copied = await visit.page.evaluate(() => navigator.clipboard.readText());
  const read = (text) => {
    const chess = new Chess();
    chess.loadPgn(text);
    return chess.history();
  };
  const moves = read(game);
  assert.deepEqual(read(copied), moves);
  await press(visit, "moves.save");
  const file = path.join(folder, "morvane.pgn");
  for (let tries = 0; !existsSync(file) && tries < 400; tries += 1) {
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
  assert.deepEqual(read(readFileSync(file, "utf8")), moves);

  const other = path.join(folder, "other.pgn");
  writeFileSync(other, "[Event \"x\"]\n\n1. d4 d5 2. c4 *\n\n[Event \"y\"]\n\n1. e4 *\n");
  await press(visit, "bar.position");
  const [chooser] = await Promise.all([visit.page.waitForFileChooser(), press(visit, "position.file")]);
  await chooser.accept([other]);
  await visit.until("its text is there", () =>
    document.querySelector("dialog[open] textarea").value.includes("d4"));
  await press(visit, "position.open");
  await visit.until("its moves are in the list", () =>
    document.querySelectorAll("#move-list [data-ply]").length === 3);
  assert.deepEqual(await listedMoves(visit), ["d4", "d5", "c4"]);
});

// --- touch ---

test("a finger moves pieces by taps and by dragging, and the page does not scroll meanwhile", async (t) => {
  const visit = await Visit.start(t, { width: 390, height: 600, touch: true });
  await newGame(visit);
  const chess = new Chess();
  await untilShown(visit, START);
  await visit.page.evaluate(() => window.scrollTo(0, 20));
  const top = await visit.page.evaluate(() => scrollY);
  const { touchscreen } = visit.page;
  const [from, to] = [await centreOf(visit, "e2"), await centreOf(visit, "e4")];
  await touchscreen.touchStart(from.x, from.y);
  for (let i = 1; i <= 5; i += 1) {
    await touchscreen.touchMove(from.x + ((to.x - from.x) * i) / 5, from.y + ((to.y - from.y) * i) / 5);
  }
  await touchscreen.touchEnd();
  chess.move("e4");
  await untilReply(visit, chess);
  assert.equal(await visit.page.evaluate(() => scrollY), top);
  await untilStatus(visit, "play.status.yours");
  for (const square of ["d2", "d3"]) {
    const { x, y } = await centreOf(visit, square);
    await touchscreen.tap(x, y);
  }
  chess.move("d3");
  await untilReply(visit, chess);
  assert.deepEqual(await listedMoves(visit), chess.history());
});

// --- colours ---

test("light and dark are the system's or the user's, and remembered", async (t) => {
  const visit = await Visit.start(t, { scheme: "dark" });
  const isDark = () => visit.page.evaluate(() => {
    const [red] = getComputedStyle(document.body).backgroundColor.match(/\d+/g).map(Number);
    return red < 100;
  });
  assert.equal(await isDark(), true);
  await press(visit, "settings.title");
  await press(visit, "settings.theme.light", "radio");
  await press(visit, "close");
  assert.equal(await isDark(), false);
  await visit.page.reload({ waitUntil: "load" });
  assert.equal(await isDark(), false);
});
