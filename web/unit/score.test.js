// Scores from White's point of view, as numbers and in words.

import assert from "node:assert/strict";
import test from "node:test";

import {
  clampedScore, expectation, finalScore, scoreInWords, shortScore, whiteScore,
} from "../page/app/analysis/score.js";
import { Texts } from "../page/app/i18n.js";

const en = new Texts("en");
const uk = new Texts("uk");

test("the engine's scores are the side to move's", () => {
  assert.deepEqual(whiteScore({ cp: 34 }, "w"), { cp: 34 });
  assert.deepEqual(whiteScore({ cp: 34 }, "b"), { cp: -34 });
  assert.ok(Object.is(whiteScore({ cp: 0 }, "b").cp, 0));
  assert.deepEqual(whiteScore({ mate: 3 }, "b"), { mate: 3, winner: "b" });
  assert.deepEqual(whiteScore({ mate: -2 }, "b"), { mate: 2, winner: "w" });
  assert.deepEqual(whiteScore({ mate: 0 }, "w"), { mate: 0, winner: "b" });
  assert.equal(whiteScore(undefined, "w"), null);
});

test("a position in which the game is over has its score without a search", () => {
  assert.deepEqual(finalScore("mate", "w"), { mate: 0, winner: "b" });
  assert.deepEqual(finalScore("stalemate", "w"), { cp: 0 });
  assert.equal(finalScore(null, "w"), null);
});

test("expectations are odds of ten to one for each four pawns", () => {
  assert.equal(expectation({ cp: 0 }), 0.5);
  assert.ok(Math.abs(expectation({ cp: 400 }) - 10 / 11) < 1e-12);
  assert.ok(Math.abs(expectation({ cp: -400 }) - 1 / 11) < 1e-12);
  assert.equal(expectation({ mate: 4, winner: "w" }), 1);
  assert.equal(expectation({ mate: 4, winner: "b" }), 0);
});

test("scores beyond a limit, and mates, stand at the limit", () => {
  assert.equal(clampedScore({ cp: 250 }, 600), 250);
  assert.equal(clampedScore({ cp: -2500 }, 600), -600);
  assert.equal(clampedScore({ mate: 1, winner: "w" }, 600), 600);
  assert.equal(clampedScore({ mate: 1, winner: "b" }, 600), -600);
});

test("scores are written as the language writes numbers", () => {
  assert.equal(shortScore({ cp: 34 }, en), "+0.34");
  assert.equal(shortScore({ cp: -120 }, en), "\u22121.20");
  assert.equal(shortScore({ cp: 0 }, en), "0.00");
  assert.equal(shortScore({ cp: -120 }, uk), "\u22121,20");
  assert.equal(shortScore({ mate: 5, winner: "w" }, en), "#5");
  assert.equal(shortScore({ mate: 5, winner: "b" }, en), "#\u22125");
});

test("scores are told in words", () => {
  assert.equal(scoreInWords({ cp: 5 }, en), "White is ahead by 0.05");
  assert.equal(scoreInWords({ cp: -150 }, en), "Black is ahead by 1.50");
  assert.equal(scoreInWords({ cp: 0 }, en), "Equal");
  assert.equal(scoreInWords({ mate: 1, winner: "b" }, en), "Black mates in 1 move");
  assert.equal(scoreInWords({ mate: 0, winner: "w" }, en), "White has given checkmate");
  assert.equal(scoreInWords({ mate: 3, winner: "w" }, uk), "Білі ставлять мат за 3 ходи");
});
