// The analysis that follows the game, and positions looked at without playing them.

import assert from "node:assert/strict";
import test from "node:test";

import { Preview } from "../page/app/analysis/preview.js";
import { AnalysisSession } from "../page/app/analysis/session.js";
import { variationMoves } from "../page/app/analysis/variation.js";
import { PageEngine } from "../page/app/engine.js";
import { Game } from "../page/app/game.js";
import { FakeBoard } from "./support/fakeboard.js";
import { FakeEngine, until } from "./support/fakeengine.js";

/** An engine under control and an analysis that ends with the test `t`. */
async function begin(t) {
  const fake = new FakeEngine();
  const engine = new PageEngine({ start: async () => fake });
  const game = new Game();
  const session = new AnalysisSession({ engine, game });
  await engine.ready;
  t.after(() => session.set(false));
  return { fake, engine, game, session };
}

const positions = (fake) => (
  fake.calls.filter(([name]) => name === "setPosition").map(([, { moves }]) => moves)
);
const pause = () => new Promise((resolve) => setTimeout(resolve, 20));

test("nothing is searched unless it is on and somebody looks", async (t) => {
  const { fake, session } = await begin(t);
  session.watch("view", true);
  await pause();
  assert.equal(fake.searches.length, 0);
  session.watch("view", false);
  session.set(true);
  await pause();
  assert.equal(fake.searches.length, 0);
  session.watch("view", true);
  await until(() => fake.searches.length === 1);
  assert.deepEqual(fake.search.limits, { infinite: true });
});

test("the analysis follows the game, and remembers what it found", async (t) => {
  const { fake, game, session } = await begin(t);
  session.set(true);
  session.watch("view", true);
  await until(() => fake.search);
  fake.search.tell({ depth: 7, score: { cp: 20 }, pv: ["e2e4"], nodes: 5 });
  await until(() => session.state.depth === 7);
  game.play("d2d4");
  assert.equal(session.state.depth, 0);
  await until(() => fake.searches.length === 2);
  fake.search.tell({ depth: 3, score: { cp: 10 }, pv: ["d7d5"], nodes: 5 });
  await until(() => session.state.score?.cp === -10);
  game.goto(0);
  assert.equal(session.state.depth, 7);
  await until(() => fake.searches.length === 3);
  fake.search.tell({ depth: 2, score: { cp: 99 }, pv: ["a2a3"], nodes: 77 });
  await until(() => session.state.nodes === 77);
  assert.equal(session.state.depth, 7, "what was known is shown until the search is as deep again");
  assert.deepEqual(positions(fake), [[], ["d2d4"], []]);
});

test("marks on the moves do not disturb it", async (t) => {
  const { fake, game, session } = await begin(t);
  game.play("e2e4");
  session.set(true);
  session.watch("view", true);
  await until(() => fake.search);
  game.annotate({ 1: "?!" });
  await pause();
  assert.equal(fake.searches.length, 1);
});

test("it goes on when a move's search, a pause or new settings are over", async (t) => {
  const { fake, engine, session } = await begin(t);
  session.set(true);
  session.watch("view", true);
  await until(() => fake.search);
  const move = engine.move({ moves: ["e2e4"] }, { depth: 1 });
  await until(() => fake.searches.length === 2);
  fake.search.answer("e7e5");
  assert.equal((await move).bestMove, "e7e5");
  await until(() => fake.searches.length === 3);
  session.pause("review", true);
  await until(() => engine.state === "ready");
  assert.equal(session.running, false);
  session.pause("review", false);
  await until(() => fake.searches.length === 4);
  await engine.setHash(32);
  await until(() => fake.searches.length === 5);
  session.set(false);
  await until(() => engine.state === "ready");
  assert.ok(fake.search.stopped);
});

test("a position in which the game is over needs no search", async (t) => {
  const { fake, game, session } = await begin(t);
  session.set(true);
  session.watch("view", true);
  await until(() => fake.search);
  ["f2f3", "e7e5", "g2g4", "d8h4"].forEach((uci) => game.play(uci));
  assert.equal(session.state.end, "mate");
  assert.deepEqual(session.state.score, { mate: 0, winner: "b" });
  assert.equal(session.running, false);
});

test("an engine that cannot be had is asked again only when somebody comes", async () => {
  let starts = 0;
  const start = async () => {
    ++starts;
    throw Object.assign(new Error("none"), { reason: "load" });
  };
  const engine = new PageEngine({ start });
  const session = new AnalysisSession({ engine, game: new Game() });
  await engine.ready;
  session.set(true);
  session.watch("view", true);
  await until(() => starts === 2);
  await pause();
  assert.equal(starts, 2);
  assert.equal(session.running, false);
  session.watch("view", true);
  await until(() => starts === 3);
});

test("a variation is looked at on the board, and the game stays", () => {
  const game = new Game();
  game.play("e2e4");
  const board = new FakeBoard();
  const preview = new Preview({ game, board });
  const moves = variationMoves(game.fen, ["e7e5", "g1f3"]);
  preview.show(moves, "variation");
  assert.equal(board.fen, moves[1].fen);
  assert.equal(preview.fen, moves[1].fen);
  assert.deepEqual(board.marks.last, ["g1", "f3"]);
  assert.equal(game.moves.length, 1);
  preview.back();
  assert.equal(board.fen, game.fen);
  assert.deepEqual(board.marks.last, ["e2", "e4"]);
  assert.equal(preview.active, false);
});

test("what is looked at can be added to the game, and gives way to it", () => {
  const game = new Game();
  const preview = new Preview({ game, board: new FakeBoard() });
  preview.show(variationMoves(game.fen, ["e2e4", "e7e5"]), "variation");
  preview.addToGame();
  assert.deepEqual(game.uciMoves(), ["e2e4", "e7e5"]);
  assert.equal(preview.active, false);
  preview.show(variationMoves(game.fen, ["g1f3"]), "variation");
  game.annotate({});
  assert.ok(preview.active, "marks change nothing on the board");
  game.goto(0);
  assert.equal(preview.active, false);
});
