// What cannot be read and what cannot run: the page says what is wrong, and nothing on the board is lost.

import assert from "node:assert/strict";
import { createReadStream } from "node:fs";
import path from "node:path";
import { test } from "node:test";

import { Chess } from "chess.js";

import { Visit } from "./support/browser.js";
import {
  find, listedMoves, newGame, openPosition, openView, press, submitText, untilSaid, untilStatus, words,
} from "./support/page.js";
import { clickMove, placement, untilReply, untilShown } from "./support/play.js";
import { SITE, SiteServer } from "./support/site.js";

const START = new Chess().fen();

const BAD_FENS = [
  ["8/8/8/8/8/8/8/8 w - - 0 1", "fen.whiteKing", { n: 0 }],
  ["rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP w KQkq - 0 1", "fen.rows", { n: 7 }],
  ["rnbqkbnr/ppppxppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", "fen.piece", { piece: "x" }],
  ["rnbqkbnr/pppppppp/9/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", "fen.piece", { piece: "9" }],
  ["rnbqkbnr/pppppppp/7/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", "fen.width", { row: 6, n: 7 }],
  ["rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPPP/RNBQKBNR w KQkq - 0 1", "fen.width", { row: 2, n: 9 }],
  ["rnbqkbnr/pppppppp/8/8/8/8/PPPPKPPP/RNBQKBNR w - - 0 1", "fen.whiteKing", { n: 2 }],
  ["rnbq1bnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - - 0 1", "fen.blackKing", { n: 0 }],
  ["P3k3/8/8/8/8/8/8/4K3 w - - 0 1", "fen.pawn"],
  ["4k3/8/8/8/8/8/8/4K2p w - - 0 1", "fen.pawn"],
  ["4k3/8/8/8/8/8/8/4K3 x - - 0 1", "fen.side", { text: "x" }],
  ["4k3/8/8/8/8/8/8/4K3 w KK - 0 1", "fen.castling", { text: "KK" }],
  ["4k3/8/8/8/8/8/8/4K3 w - e9 0 1", "fen.enPassant", { text: "e9" }],
  ["4k3/8/8/8/8/8/8/4K3 w - - -1 1", "fen.counter", { text: "-1" }],
  ["4k3/8/8/8/8/8/8/4K3 w - - 0 x", "fen.counter", { text: "x" }],
  ["4k3/8/8/8/8/8/4R3/4K3 w - - 0 1", "fen.blackInCheck"],
  ["4k3/4r3/8/8/8/8/8/4K3 b - - 0 1", "fen.whiteInCheck"],
];

const BAD_PGNS = [
  ["1. e4 e5 2. Ke3", "pgn.move", { move: "Ke3" }],
  ["1. e4 { without an end", "pgn.syntax"],
  ["[FEN \"8/8/8/8/8/8/8/8 w - - 0 1\"]\n[SetUp \"1\"]\n\n1. e4", null],
  ["just some words", null],
  ["<img src=x onerror=alert(1)>", null],
];

// A game with two moves of each side on the board.
async function begin(t, options) {
  const visit = await Visit.start(t, options);
  await newGame(visit);
  const chess = new Chess();
  await untilShown(visit, START);
  await clickMove(visit, "e2e4");
  chess.move("e4");
  await untilReply(visit, chess);
  await untilStatus(visit, "play.status.yours");
  return { visit, chess };
}

const openDialogSays = (visit) => visit.page.evaluate(() =>
  [...document.querySelectorAll("dialog[open] [role=alert]")].map((box) => box.innerText.trim()).join(" "));

test("texts that are no position and no game are refused, and nothing changes", async (t) => {
  const { visit, chess } = await begin(t);
  await press(visit, "bar.position");
  for (const [text, key, values] of [...BAD_FENS, ...BAD_PGNS]) {
    // Another message, or none, stands there before; a wrong one would not go away.
    await submitText(visit, text);
    if (key) {
      await untilSaid(visit, words(key, values), "dialog[open] [role=alert]");
    } else {
      await visit.until(`a message on ${text}`, () =>
        [...document.querySelectorAll("dialog[open] [role=alert]")].some((box) => box.innerText.trim()));
    }
    assert.ok(await openDialogSays(visit), text);
    const kept = await visit.page.evaluate(() => document.querySelector("dialog[open] textarea").value);
    assert.equal(kept, text);
    assert.equal(await placement(visit), chess.fen().split(" ")[0], text);
    assert.deepEqual(await listedMoves(visit), chess.history());
  }
  await press(visit, "cancel");
  await untilShown(visit, chess.fen());
  await clickMove(visit, "d2d4");
  chess.move("d4");
  await untilReply(visit, chess);
});

test("what is nearly right is taken: fields left out, spaces, comments and variations", async (t) => {
  const visit = await Visit.start(t);
  for (const [text, fen, moves] of [
    ["4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3", 0],
    ["  4k3/8/8/8/8/8/8/4K3   b  - - \n", "4k3/8/8/8/8/8/8/4K3", 0],
    ["1. e4 {good (or not)} e5 (1... c5 2. Nf3 (2. c3)) 2. Nf3 $1 Nc6 3. Bb5 *",
      "r1bqkbnr/pppp1ppp/2n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R", 5],
    ["[Event \"x\"]\r\n[White \"<b>a</b>\"]\r\n\r\n1. d4 d5 2. c4 1-0\r\n",
      "rnbqkbnr/ppp1pppp/8/3p4/2PP4/8/PP2PPPP/RNBQKBNR", 3],
    ["[SetUp \"1\"]\n[FEN \"4k3/4p3/8/8/8/8/4P3/4K3 b - - 0 1\"]\n\n1... e5 2. e4 *",
      "4k3/8/8/4p3/4P3/8/8/4K3", 2],
  ]) {
    await openPosition(visit, text);
    await untilShown(visit, fen);
    assert.equal((await listedMoves(visit)).length, moves, text);
  }
});

test("a typed move that is not legal is refused with the reason", async (t) => {
  const { visit, chess } = await begin(t);
  for (const move of ["e2e5", "Ke3", "castle", "<b>"]) {
    await find(visit, "textbox", words("moves.type")).fill(move);
    await press(visit, "moves.play");
    await untilSaid(visit, words("moves.illegal", { move }));
    assert.equal(await placement(visit), chess.fen().split(" ")[0]);
  }
  await find(visit, "textbox", words("moves.type")).fill("Nf3");
  await press(visit, "moves.play");
  chess.move("Nf3");
  await untilReply(visit, chess);
});

test("squares that a piece cannot go to leave it where it is", async (t) => {
  const { visit, chess } = await begin(t);
  for (const uci of ["d2d5", "e1e3", "a1a4", "e7e5", "g1g3"]) await clickMove(visit, uci);
  await visit.page.mouse.click(2, 2);
  assert.equal(await placement(visit), chess.fen().split(" ")[0]);
  assert.deepEqual(await listedMoves(visit), chess.history());
});

// --- what cannot run ---

const SCRIPT = { "Content-Type": "text/javascript", "Cross-Origin-Embedder-Policy": "require-corp" };

// Has the engine's worker scripts begin with some code.
function beginWorkersWith(code) {
  return (request, response) => {
    const [name] = request.url.split(/[?#]/);
    if (!/^\/engine\/morvane[\w.-]*\.js$/.test(name)) return false;
    response.writeHead(200, SCRIPT);
    response.write(`${code}\n`);
    createReadStream(path.join(SITE, name)).pipe(response);
    return true;
  };
}

// The page stands, says what is wrong, and its board can be used.
async function assertBoardWorks(visit) {
  const fen = "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1";
  await openPosition(visit, fen);
  await untilShown(visit, fen);
  await openView(visit, "analyse");
  await clickMove(visit, "e2e4");
  await untilShown(visit, "4k3/8/8/8/4P3/8/8/4K3");
}

const broken = (key) => `[data-notice="${key}"]`;

test("without WebAssembly the page says so, and the board works", async (t) => {
  const server = await SiteServer.start();
  t.after(() => server.stop());
  server.answer = beginWorkersWith("delete self.WebAssembly;");
  const visit = await Visit.start(t, {
    server,
    prepare: (page) => page.evaluateOnNewDocument(() => delete window.WebAssembly),
  });
  await untilSaid(visit, words("notice.webassembly"), broken("notice.webassembly"));
  await assertBoardWorks(visit);
});

test("where the browser gives no memory the page says so, and goes on when there is some", async (t) => {
  const server = await SiteServer.start();
  t.after(() => server.stop());
  server.answer = beginWorkersWith(`
    WebAssembly.Memory = () => { throw new RangeError("no memory here"); };
    WebAssembly.instantiate = async () => WebAssembly.Memory();`);
  const visit = await Visit.start(t, {
    server,
    // It would keep the scripts as they are served here at first.
    prepare: (page) => page.evaluateOnNewDocument(() => delete Navigator.prototype.serviceWorker),
  });
  visit.expected.push(/memory/i);
  await untilSaid(visit, words("notice.memory"), broken("notice.memory"));
  await assertBoardWorks(visit);
  server.answer = null;
  await press(visit, "notice.retry");
  await openView(visit, "play");
  await newGame(visit);
  await untilShown(visit, START);
  await clickMove(visit, "e2e4");
  const chess = new Chess();
  chess.move("e4");
  await untilReply(visit, chess);
});

for (const file of ["index.mjs", "morvane.js", "morvane-threads.js", "morvane-threads.wasm"]) {
  test(`where engine/${file} is missing the page says so, and goes on when it is there`, async (t) => {
    const server = await SiteServer.start();
    t.after(() => server.stop());
    server.answer = (request, response) => {
      if (!request.url.startsWith(`/engine/${file}`)) return false;
      response.writeHead(404, SCRIPT).end();
      return true;
    };
    const visit = await Visit.start(t, { server });
    visit.expected.push(/404|engine|morvane|load|import/i);
    await untilSaid(visit, words("notice.load"), broken("notice.load"));
    await assertBoardWorks(visit);
    server.answer = null;
    await press(visit, "notice.retry");
    await openView(visit, "play");
    await newGame(visit);
    await untilShown(visit, START);
    await clickMove(visit, "e2e4");
    const chess = new Chess();
    chess.move("e4");
    await untilReply(visit, chess);
  });
}

const DEATHS = {
  "with an error": () => void setTimeout(() => { throw new Error("the worker dies"); }),
  "without a word": () => self.close(),
};

for (const [how, die] of Object.entries(DEATHS)) {
  test(`an engine that dies ${how} is started again, and the game goes on`, (t) => outliveEngine(t, die));
}

async function outliveEngine(t, die) {
  const { visit, chess } = await begin(t);
  visit.expected.push(/the worker dies/);
  await newGame(visit, { limit: { movetime: 300 }, here: true });
  await untilStatus(visit, "play.status.yours");
  await clickMove(visit, "g1f3");
  chess.move("Nf3");
  await untilStatus(visit, "play.status.thinking");
  for (const worker of visit.page.workers()) await worker.evaluate(die).catch(() => {});
  // It moves the buttons: they are pressed when it stands.
  await untilSaid(visit, words("notice.restarted"), "[data-notice]");
  assert.equal(await placement(visit), chess.fen().split(" ")[0]);
  await press(visit, "play.takeBack");
  await newGame(visit, { here: true });
  await untilStatus(visit, "play.status.yours");
  await clickMove(visit, "b1c3");
  chess.undo();
  chess.move("Nc3");
  await untilReply(visit, chess);
}
