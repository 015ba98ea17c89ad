// Games against the engine, played with the mouse as users do. The rules are judged by chess.js.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Chess } from "chess.js";

import { Visit } from "./support/browser.js";
import {
  find, listedMoves, newGame, openPosition, press, untilSaid, untilStatus, words,
} from "./support/page.js";
import { clickMove, dragMove, placement, untilReply, untilShown } from "./support/play.js";

const START = new Chess().fen();

// Makes a move of the user by mouse, now by clicks and now by dragging.
async function play(visit, chess, uci) {
  await (chess.history().length % 4 < 2 ? clickMove : dragMove)(visit, uci);
  chess.move(uci);
}

function uciOf({ from, to, promotion = "" }) {
  return from + to + promotion;
}

// A user who takes what can be taken and else moves on in a fixed order: loses sooner or later.
function plainMove(chess, turn) {
  const moves = chess.moves({ verbose: true }).filter(({ promotion }) => !promotion);
  const taking = moves.filter(({ captured }) => captured);
  const choice = taking.length > 0 ? taking : moves;
  return choice.length > 0 ? uciOf(choice[(turn * 7) % choice.length]) : null;
}

function overBy(chess) {
  if (chess.isCheckmate()) return "play.over.mate";
  if (chess.isStalemate()) return "play.over.stalemate";
  if (chess.isInsufficientMaterial()) return "play.over.material";
  if (chess.isThreefoldRepetition()) return "play.over.repetition";
  return chess.isDrawByFiftyMoves() ? "play.over.fifty" : null;
}

async function assertOver(visit, chess, userSide) {
  const winner = chess.turn() === "w" ? "black" : "white";
  await untilStatus(visit, overBy(chess), { who: words(`play.over.${winner}`) });
  if (chess.isCheckmate()) {
    await untilStatus(visit, chess.turn() === userSide ? "play.over.loss" : "play.over.win");
  }
  assert.deepEqual(await listedMoves(visit), chess.history());
}

test("a game from the start position to its end by the rules", async (t) => {
  const visit = await Visit.start(t, { motion: "no-preference" });
  await newGame(visit, { limit: { depth: 2 } });
  const chess = new Chess();
  await untilShown(visit, START);
  for (let turn = 0; !chess.isGameOver(); turn += 1) {
    await untilStatus(visit, chess.isCheck() ? "play.status.check" : "play.status.yours");
    const uci = plainMove(chess, turn);
    assert.ok(uci, `only promotions are left in ${chess.fen()}`);
    await play(visit, chess, uci);
    if (!chess.isGameOver()) await untilReply(visit, chess);
  }
  await assertOver(visit, chess, "w");
  // After its end the board takes no more moves.
  const last = await placement(visit);
  for (const square of ["a2", "d1", "g8"]) await clickMove(visit, `${square}e4`);
  assert.equal(await placement(visit), last);
});

test("the user mates with White, and with Black on a turned board", async (t) => {
  const visit = await Visit.start(t);
  for (const [side, fen, moves] of [
    ["white", "7k/8/8/8/8/8/R7/1R4K1 w - - 0 1", ["a2a7", "b1b8"]],
    ["black", "6k1/r7/1r6/8/8/8/8/7K b - - 0 1", ["a7a2", "b6b1"]],
  ]) {
    await openPosition(visit, fen);
    await newGame(visit, { side, here: true });
    const chess = new Chess(fen);
    await untilShown(visit, fen);
    for (const uci of moves) {
      await untilStatus(visit, "play.status.yours");
      await play(visit, chess, uci);
      if (!chess.isGameOver()) await untilReply(visit, chess);
    }
    assert.ok(chess.isCheckmate());
    await assertOver(visit, chess, side[0]);
  }
});

test("with Black the engine begins, and the board is turned", async (t) => {
  const visit = await Visit.start(t);
  await newGame(visit, { side: "black" });
  const chess = new Chess();
  await untilReply(visit, chess);
  const upsideDown = await visit.page.evaluate(() => {
    const top = (name) => document.querySelector(`[data-square="${name}"]`).getBoundingClientRect().top;
    return top("a1") < top("a8");
  });
  assert.ok(upsideDown);
  await untilStatus(visit, "play.status.yours");
  await play(visit, chess, "g8f6");
  await untilReply(visit, chess);
  assert.deepEqual(await listedMoves(visit), chess.history());
});

test("a pawn becomes what the user chooses, and stays a pawn if he does not", async (t) => {
  const visit = await Visit.start(t);
  const fen = "8/P6k/8/8/8/8/7p/K7 w - - 0 1";
  for (const [piece, key] of [["q", "promotion.q"], ["n", "promotion.n"]]) {
    await openPosition(visit, fen);
    await newGame(visit, { here: true });
    const chess = new Chess(fen);
    await untilShown(visit, fen);
    await untilStatus(visit, "play.status.yours");
    await clickMove(visit, "a7a8");
    await find(visit, "button", words("promotion.q")).wait();
    await visit.page.keyboard.press("Escape");
    await visit.until("the choice is gone", () => document.querySelector("dialog[open]") === null);
    await untilShown(visit, fen);
    await dragMove(visit, "a7a8");
    await press(visit, key);
    chess.move(`a7a8${piece}`);
    const { san } = await untilReply(visit, chess);
    assert.deepEqual(await listedMoves(visit), [`a8=${piece.toUpperCase()}`, san]);
  }
});

test("draws by rule end the game", async (t) => {
  const visit = await Visit.start(t);
  for (const [fen, uci, key] of [
    ["7k/8/6K1/8/8/8/8/5Q2 w - - 0 1", "f1f7", "play.over.stalemate"],
    ["7k/8/8/8/8/8/1p6/K7 w - - 0 1", "a1b2", "play.over.material"],
    ["7k/8/8/8/8/8/R7/K7 w - - 99 80", "a2b2", "play.over.fifty"],
  ]) {
    await openPosition(visit, fen);
    await newGame(visit, { here: true });
    await untilShown(visit, fen);
    await untilStatus(visit, "play.status.yours");
    const chess = new Chess(fen);
    await play(visit, chess, uci);
    assert.ok(chess.isGameOver());
    await untilSaid(visit, words(key));
    assert.deepEqual(await listedMoves(visit), chess.history());
  }
});

test("the third occurrence of a position is a draw", async (t) => {
  const visit = await Visit.start(t);
  // The engine's king has two squares alone, and White's is as free.
  const fen = "k7/p7/P7/2B5/8/8/8/7K w - - 0 1";
  await openPosition(visit, fen);
  await newGame(visit, { here: true });
  await untilShown(visit, fen);
  const chess = new Chess(fen);
  for (let turn = 0; !chess.isGameOver(); turn += 1) {
    assert.ok(turn < 12, chess.pgn());
    await untilStatus(visit, "play.status.yours");
    await play(visit, chess, ["h1g1", "g1h1"][turn % 2]);
    if (!chess.isGameOver()) await untilReply(visit, chess);
  }
  assert.ok(chess.isThreefoldRepetition());
  await untilSaid(visit, words("play.over.repetition"));
});

test("taking back, also while the engine thinks; a new game; resigning", async (t) => {
  const visit = await Visit.start(t);
  await newGame(visit);
  const chess = new Chess();
  await untilShown(visit, START);
  await play(visit, chess, "e2e4");
  await untilReply(visit, chess);
  await untilStatus(visit, "play.status.yours");
  const afterTwo = chess.fen();
  await play(visit, chess, "d2d4");
  await untilReply(visit, chess);
  await press(visit, "play.takeBack");
  await untilShown(visit, afterTwo);
  await press(visit, "play.takeBack");
  await untilShown(visit, START);
  assert.deepEqual(await listedMoves(visit), []);

  // A search that would last for minutes ends at once.
  await newGame(visit, { limit: { movetime: 300 } });
  await untilShown(visit, START);
  await clickMove(visit, "d2d4");
  await untilStatus(visit, "play.status.thinking");
  await press(visit, "play.takeBack");
  await untilShown(visit, START);
  await untilStatus(visit, "play.status.yours");
  await clickMove(visit, "c2c4");
  await untilStatus(visit, "play.status.thinking");
  await press(visit, "play.resign");
  await untilSaid(visit, words("play.resignSure"));
  await press(visit, "play.resign");
  await untilStatus(visit, "play.over.resigned", { loser: words("say.side.w") });
  await untilStatus(visit, "play.over.loss");

  await newGame(visit);
  await untilShown(visit, START);
  assert.deepEqual(await listedMoves(visit), []);
  await untilStatus(visit, "play.status.yours");
});

test("clocks run for both, and who has no time left loses", async (t) => {
  const visit = await Visit.start(t);
  const clocks = () => visit.page.evaluate(() =>
    [...document.querySelectorAll("[role=timer]")].map((clock) => clock.innerText.trim()));
  // Whose flag falls against a bare king does not lose, so there are queens.
  await openPosition(visit, "4k3/q7/8/8/8/8/Q7/4K3 w - - 0 1");
  await newGame(visit, { limit: { base: 0.1, increment: 0 }, here: true });
  await visit.until("two clocks are shown", () => document.querySelectorAll("[role=timer]").length === 2);
  const chess = new Chess("4k3/q7/8/8/8/8/Q7/4K3 w - - 0 1");
  await untilShown(visit, chess.fen());
  for (const text of await clocks()) assert.match(text, /^0:0[56]/);
  await untilStatus(visit, "play.status.yours");
  await play(visit, chess, "a2b2");
  await untilReply(visit, chess);
  // Now the user waits until his flag falls.
  await untilStatus(visit, "play.over.time", { who: words("play.over.black") });
});

test("what was played survives a reload", async (t) => {
  const visit = await Visit.start(t);
  await newGame(visit, { limit: { depth: 3 } });
  const chess = new Chess();
  await untilShown(visit, START);
  await play(visit, chess, "g1f3");
  await untilReply(visit, chess);
  await visit.page.reload({ waitUntil: "load" });
  await untilShown(visit, chess.fen());
  await untilStatus(visit, "play.status.yours");
  assert.deepEqual(await listedMoves(visit), chess.history());
  await play(visit, chess, "b1c3");
  await untilReply(visit, chess);
  assert.deepEqual(await listedMoves(visit), chess.history());
});

test("an earlier position can be looked at, and the game goes on from its end", async (t) => {
  const visit = await Visit.start(t);
  await newGame(visit);
  const chess = new Chess();
  await untilShown(visit, START);
  await play(visit, chess, "e2e4");
  await untilReply(visit, chess);
  const last = chess.fen();
  await untilStatus(visit, "play.status.yours");
  await find(visit, "button", words("bar.first")).click();
  await untilShown(visit, START);
  await untilStatus(visit, "play.status.earlier");
  await press(visit, "play.backToGame");
  await untilShown(visit, last);
  await press(visit, "bar.flip");
  await untilShown(visit, last);
  await play(visit, chess, "d2d3");
  await untilReply(visit, chess);
  assert.deepEqual(await listedMoves(visit), chess.history());
});
