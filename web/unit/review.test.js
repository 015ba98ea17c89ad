// The review of a game: judgements of its moves, its graph, and the searches behind it.

import assert from "node:assert/strict";
import test from "node:test";

import {
  areaPath, graphPoints, graphX, graphY, GRAPH_LIMIT, linePath, plyAt,
} from "../page/app/analysis/graph.js";
import { countMarks, judgeMoves, marksByPly, MARKS } from "../page/app/analysis/review.js";
import { reviewPositions } from "../page/app/analysis/reviewer.js";
import { GameReview, knownScores } from "../page/app/analysis/reviewmodel.js";
import { Game } from "../page/app/game.js";
import { Settings } from "../page/app/settings.js";

const SIZE = { width: 600, height: 120 };
const entry = (cp, best = null) => ({ score: { cp }, best, depth: 8 });
const moves = (...ucis) => ucis.map((uci, i) => ({ uci, color: i % 2 === 0 ? "w" : "b" }));

/** The score at which a lead of nothing has lost this share of the point. */
const lossFromEqual = (loss) => -400 * Math.log10((0.5 - loss) / (0.5 + loss));

test("moves are judged by what they lose for their side", () => {
  const game = moves("e2e4", "f7f6", "d2d4", "g7g5", "d1h5");
  const mated = { score: { mate: 0, winner: "w" } };
  const scores = [entry(20), entry(20), entry(90), entry(85), entry(400), mated];
  const judged = judgeMoves(game, scores);
  assert.deepEqual(judged.map(({ mark }) => mark), [null, "?!", null, "??", null]);
  assert.equal(judged[0].loss, 0);
  assert.ok(judged[3].loss > 0.28 && judged[3].loss < 0.3);
});

test("the bounds belong to the marks", () => {
  for (const { mark, loss } of MARKS) {
    const at = lossFromEqual(loss);
    const [just] = judgeMoves(moves("a2a3"), [entry(0), entry(-at)]);
    const [less] = judgeMoves(moves("a2a3"), [entry(0), entry(-at + 1)]);
    assert.equal(just.mark, mark);
    assert.notEqual(less.mark, mark);
  }
});

test("a lead that stays decisive costs little", () => {
  const [judged] = judgeMoves(moves("a2a3"), [entry(1500), entry(900)]);
  assert.equal(judged.mark, null);
});

test("the engine's own move gets no mark, an unknown score no judgement", () => {
  const game = moves("a2a3", "a7a6");
  const judged = judgeMoves(game, [entry(0, "a2a3"), entry(-500), undefined]);
  assert.deepEqual(judged.map(({ loss, mark }) => [loss, mark]), [[0, null], [null, null]]);
});

test("marks are counted by side and kind", () => {
  const judged = judgeMoves(moves("a2a3", "a7a6", "b2b3"), [entry(0), entry(-70), entry(200), entry(-200)]);
  assert.deepEqual(marksByPly(judged), { 1: "?!", 2: "??", 3: "??" });
  assert.deepEqual(countMarks(judged), {
    w: { blunder: 1, mistake: 0, inaccuracy: 1 }, b: { blunder: 1, mistake: 0, inaccuracy: 0 },
  });
});

test("the graph has White's side up and stops at its limit", () => {
  assert.equal(graphY(GRAPH_LIMIT, 120), 0);
  assert.equal(graphY(0, 120), 60);
  assert.equal(graphX(3, 6, 600), 300);
  assert.equal(graphX(0, 0, 600), 0);
  const points = graphPoints([entry(0), entry(5000), { score: { mate: 2, winner: "b" } }], 2, SIZE);
  assert.deepEqual(points.map(({ x, y, isMate }) => [x, y, isMate]), [[0, 60, false], [300, 0, false],
    [600, 120, true]]);
});

test("unknown plies leave a gap", () => {
  const points = graphPoints([entry(0), entry(0), undefined, entry(0), entry(0)], 4, SIZE);
  assert.equal(linePath(points), "M0 60L150 60M450 60L600 60");
  assert.equal(areaPath(points, 120), "M0 60L150 60L150 120L0 120ZM450 60L600 60L600 120L450 120Z");
});

test("a place in the graph belongs to the nearest ply", () => {
  assert.equal(plyAt(310, 6, 600), 3);
  assert.equal(plyAt(-20, 6, 600), 0);
  assert.equal(plyAt(900, 6, 600), 6);
});

/** An engine whose analyses answer with the scores given, null among them for a search that was dropped. */
function answering(answers) {
  const asked = [];
  const analyse = (position, { limits }) => {
    asked.push({ position, limits });
    const answer = answers.shift();
    const found = answer && { bestMove: "a2a3", info: { depth: 5, score: answer } };
    return { result: Promise.resolve(found), stop: () => {} };
  };
  return { asked, analyse };
}

test("every position is searched, from White's point of view; a dropped search again", async () => {
  const game = new Game();
  ["f2f3", "e7e5", "g2g4", "d8h4"].forEach((uci) => game.play(uci));
  const engine = answering([{ cp: 10 }, { cp: 20 }, null, { cp: -30 }, { mate: 1 }]);
  const found = [];
  const fens = [game.startFen, ...game.moves.map(({ fen }) => fen)];
  const positions = fens.map((fen, ply) => ({ fen, position: game.position(ply) }));
  const done = await reviewPositions(positions, { nodes: 100 }, {
    engine, signal: new AbortController().signal, onScore: (ply, { score }) => found.push([ply, score]),
  });
  assert.ok(done);
  assert.deepEqual(found, [[0, { cp: 10 }], [1, { cp: -20 }], [2, { cp: -30 }], [3, { mate: 1, winner: "b" }],
    [4, { mate: 0, winner: "b" }]]);
  assert.equal(engine.asked.length, 5, "the mate needs no search");
  assert.deepEqual(engine.asked[3].position.moves, ["f2f3", "e7e5"]);
  assert.deepEqual(engine.asked[0].limits, { nodes: 100 });
});

const session = { pause: () => {} };

test("the review goes with the game: marks on its moves, kept where the moves are the same", async () => {
  const settings = new Settings(null);
  const game = new Game();
  ["f2f3", "e7e5", "g2g4"].forEach((uci) => game.play(uci));
  const engine = answering([{ cp: 20 }, { cp: 60 }, { cp: -60 }, { mate: 1 }]);
  const review = new GameReview({ game, engine, session, settings });
  assert.ok(review.isEmpty);
  await review.start({ movetime: 10 });
  assert.equal(review.progress, null);
  assert.equal(game.moves[2].mark, "??");
  assert.equal(review.counts.w.blunder, 1);

  game.goto(2);
  game.play("e2e4");
  assert.deepEqual(review.scores.map((found) => Boolean(found)), [true, true, true]);
  assert.equal(game.moves[2].mark, undefined);

  const again = new Game();
  ["f2f3", "e7e5", "g2g4"].forEach((uci) => again.play(uci));
  const later = new GameReview({ game: again, engine, session, settings });
  assert.equal(later.scores.length, 4);
  assert.equal(again.moves[2].mark, "??");

  again.reset("4k3/8/8/8/8/8/4P3/4K3 w - - 0 1");
  assert.ok(later.isEmpty);
});

test("a review can be cancelled, and ends when the game changes", async () => {
  const game = new Game();
  ["e2e4", "e7e5"].forEach((uci) => game.play(uci));
  let stopped = 0;
  const analyse = () => {
    let end;
    const result = new Promise((resolve) => {
      end = resolve;
    });
    return { result, stop: () => {
      ++stopped;
      end({ bestMove: null, info: null });
    } };
  };
  const review = new GameReview({ game, engine: { analyse }, session, settings: new Settings(null) });
  const running = review.start({ movetime: 10 });
  assert.deepEqual(review.progress, { done: 0, total: 3 });
  review.cancel();
  await running;
  assert.equal(review.progress, null);
  const second = review.start({ movetime: 10 });
  game.play("g1f3");
  await second;
  assert.equal(review.progress, null);
  assert.equal(stopped, 2);
});

test("scores of another start or another line do not hold", () => {
  const review = { fen: "a", moves: ["x", "y"], scores: [1, 2, 3] };
  assert.deepEqual(knownScores(review, "b", []), []);
  assert.deepEqual(knownScores(review, "a", ["x", "z"]), [1, 2]);
  assert.deepEqual(knownScores(review, "a", ["x", "y", "z"]), [1, 2, 3]);
  assert.deepEqual(knownScores(null, "a", []), []);
});
