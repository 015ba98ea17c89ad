// Moves and ends in words, and what a pasted text is taken for.
import assert from "node:assert/strict";
import { test } from "node:test";
import { Game } from "../page/app/game.js";
import { Texts } from "../page/app/i18n.js";
import { looksLikeFen } from "../page/app/position.js";
import { moveInWords, outcomeInWords } from "../page/app/words.js";

const en = new Texts("en");
const uk = new Texts("uk");

function wordsOf(fen, uci, texts = en) {
  return moveInWords(new Game(fen).play(uci), texts);
}

test("moves in words", () => {
  assert.equal(wordsOf(undefined, "g1f3"), "White: knight to f3");
  assert.equal(wordsOf(undefined, "g1f3", uk), "Білі: кінь на f3");
  assert.equal(wordsOf("4k3/8/8/3p4/4P3/8/8/4K3 w - - 0 1", "e4d5"), "White: pawn takes pawn on d5");
  assert.equal(wordsOf("4k2r/8/8/8/8/8/8/4K3 b k - 0 1", "e8g8"), "Black castles king's side");
  assert.equal(wordsOf("r3k3/8/8/8/8/8/8/4K3 b q - 0 1", "e8c8"), "Black castles queen's side");
  assert.equal(wordsOf("7k/P7/8/8/8/8/8/K7 w - - 0 1", "a7a8q"), "White: pawn to a8, becomes a queen, check");
  assert.equal(wordsOf("7k/8/6K1/8/8/8/8/5Q2 w - - 0 1", "f1f8"), "White: queen to f8, checkmate");
});

test("who won is told from the user's side", () => {
  const mate = { result: "1-0", reason: "mate" };
  assert.equal(outcomeInWords(mate, "w", en).title, "You won");
  assert.equal(outcomeInWords(mate, "b", en).title, "Morvane won");
  assert.deepEqual(outcomeInWords(mate, null, en), { title: "White won", text: "Checkmate." });
  assert.equal(outcomeInWords({ result: "0-1", reason: "resigned" }, "w", en).text, "White resigned.");
  assert.equal(outcomeInWords({ result: "0-1", reason: "time" }, "w", en).text, "Black won on time.");
});

test("every draw has its reason in both languages", () => {
  for (const reason of ["stalemate", "repetition", "fifty", "material", "time"]) {
    for (const texts of [en, uk]) {
      const { title, text } = outcomeInWords({ result: "1/2-1/2", reason }, "w", texts);
      assert.equal(title, texts.t("play.over.draw"));
      assert.ok(!text.includes("play.over"), reason);
    }
  }
});

test("a pasted text is taken for a FEN or for a game", () => {
  const fens = ["8/8/8/8/8/8/8/8 w - - 0 1", "  rnbqkbnr/pppppppp/8", "a/b"];
  const games = ["1. e4 e5", "e4 e5", '[FEN "8/8/8/8/8/8/8/8 w - - 0 1"]\n\n*', "1.e4 1/2-1/2", ""];
  assert.deepEqual(fens.map(looksLikeFen), fens.map(() => true));
  assert.deepEqual(games.map(looksLikeFen), games.map(() => false));
});
