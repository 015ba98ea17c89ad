// The page's engine: one search at a time, moves before analysis, stale answers dropped, dead workers
// started again.

import assert from "node:assert/strict";
import test from "node:test";

import { PageEngine } from "../page/app/engine.js";
import { FakeEngine, until } from "./support/fakeengine.js";

const START = { moves: [] };
const AFTER_E4 = { moves: ["e2e4"] };

/** A page engine over fakes that ends with the test `t`; `fakes` lists those that were started. */
function makeEngine(t, settings = {}, fakeOptions = {}) {
  const fakes = [];
  const start = async () => {
    fakes.push(new FakeEngine(fakeOptions));
    return fakes.at(-1);
  };
  const engine = new PageEngine({ start, ...settings });
  t.after(() => engine.quit());
  return { engine, fakes };
}

const goes = (fake) => fake.calls.filter(([name]) => name === "go").map(([, limits]) => limits);

test("a move is searched with its limits and answered", async (t) => {
  const { engine, fakes } = makeEngine(t);
  assert.equal(await engine.ready, true);
  const answer = engine.move(AFTER_E4, { movetime: 100 });
  await until(() => fakes[0].search);
  assert.equal(engine.state, "thinking");
  assert.deepEqual(fakes[0].calls, [["setPosition", AFTER_E4], ["go", { movetime: 100 }]]);
  fakes[0].search.tell({ depth: 1, pv: ["e7e5"] });
  fakes[0].search.answer();
  assert.deepEqual(await answer, { bestMove: "e7e5", info: { depth: 1, pv: ["e7e5"] } });
  assert.equal(engine.state, "ready");
});

test("updates come together, once a frame", async (t) => {
  const { engine, fakes } = makeEngine(t);
  const seen = [];
  engine.analyse(START, { onUpdate: (line) => seen.push(line.depth) });
  await until(() => fakes[0]?.search);
  for (let depth = 1; depth <= 5; ++depth)
    fakes[0].search.tell({ depth });
  assert.deepEqual(seen, []);
  await until(() => seen.length > 0);
  assert.deepEqual(seen, [1, 2, 3, 4, 5]);
});

test("a new analysis stops the one before, whose answer is dropped", async (t) => {
  const { engine, fakes } = makeEngine(t);
  const seen = [];
  const first = engine.analyse(START, { onUpdate: () => seen.push("first") });
  await until(() => fakes[0]?.search);
  fakes[0].search.tell({ depth: 1 });
  const second = engine.analyse(AFTER_E4, {});
  assert.equal(await first.result, null);
  await until(() => fakes[0].searches.length === 2);
  assert.deepEqual(seen, []);
  assert.ok(fakes[0].searches[0].stopped);
  second.stop();
  assert.notEqual(await second.result, null);
});

test("an analysis waits for a move that is searched; a move does not wait for an analysis", async (t) => {
  const { engine, fakes } = makeEngine(t);
  const move = engine.move(START, { depth: 5 });
  await until(() => fakes[0]?.search);
  const analysis = engine.analyse(START);
  await new Promise((resolve) => setTimeout(resolve, 20));
  assert.deepEqual(goes(fakes[0]), [{ depth: 5 }]);
  fakes[0].search.answer("e2e4");
  assert.equal((await move).bestMove, "e2e4");
  await until(() => fakes[0].searches.length === 2);
  engine.move(AFTER_E4, { depth: 6 });
  assert.equal(await analysis.result, null);
  await until(() => fakes[0].searches.length === 3);
  assert.deepEqual(goes(fakes[0]), [{ depth: 5 }, { infinite: true }, { depth: 6 }]);
});

test("cancel drops the running search and what waits behind it", async (t) => {
  const { engine, fakes } = makeEngine(t);
  const move = engine.move(START, { depth: 5 });
  await until(() => fakes[0]?.search);
  const analysis = engine.analyse(START);
  await engine.cancel();
  assert.equal(await move, null);
  assert.equal(await analysis.result, null);
  assert.equal(fakes[0].searches.length, 1);
  assert.equal(engine.state, "ready");
});

test("stop ends an analysis with what it has found", async (t) => {
  const { engine, fakes } = makeEngine(t);
  const analysis = engine.analyse(START);
  await until(() => fakes[0]?.search);
  fakes[0].search.tell({ depth: 9, pv: ["d2d4"] });
  await engine.stop();
  assert.equal((await analysis.result).bestMove, "d2d4");
});

test("a position is evaluated while a search runs", async (t) => {
  const { engine, fakes } = makeEngine(t);
  engine.analyse(START);
  await until(() => fakes[0]?.search);
  assert.deepEqual(await engine.evaluate("a fen"), { fen: "a fen" });
  assert.ok(!fakes[0].search.stopped);
});

test("a worker that dies in a search is started again with the settings, and searches again", async (t) => {
  const { engine, fakes } = makeEngine(t);
  await engine.setHash(64);
  await engine.setThreads(3);
  const states = [];
  engine.addEventListener("state", ({ detail }) => states.push(detail));
  const move = engine.move(AFTER_E4, { depth: 3 });
  await until(() => fakes[0].search);
  fakes[0].die();
  await until(() => fakes[1]?.search);
  assert.deepEqual(fakes[1].calls, [
    ["setOption", "Hash", 64],
    ["setOption", "Threads", 3],
    ["setPosition", AFTER_E4],
    ["go", { depth: 3 }],
  ]);
  fakes[1].search.answer("e7e5");
  assert.equal((await move).bestMove, "e7e5");
  assert.deepEqual(states.map(({ state, reason, restarted }) => [state, reason, restarted]), [
    ["thinking", null, false],
    ["failed", "died", false],
    ["loading", null, false],
    ["ready", null, true],
    ["thinking", null, false],
    ["ready", null, false],
  ]);
});

test("a worker that dies idle is started again only by the next search", async (t) => {
  const { engine, fakes } = makeEngine(t);
  await engine.ready;
  fakes[0].die();
  assert.deepEqual([engine.state, engine.reason], ["failed", "died"]);
  await new Promise((resolve) => setTimeout(resolve, 10));
  assert.equal(fakes.length, 1);
  await engine.evaluate("a fen");
  assert.equal(fakes.length, 2);
});

test("a search whose worker dies twice fails", async (t) => {
  const { engine, fakes } = makeEngine(t);
  const move = engine.move(START, { depth: 3 });
  const refused = assert.rejects(move, /worker ended/);
  await until(() => fakes[0]?.search);
  fakes[0].die();
  await until(() => fakes[1]?.search);
  fakes[1].die();
  await refused;
});

test("a position that the engine refuses is no reason to start again", async (t) => {
  const { engine, fakes } = makeEngine(t);
  await assert.rejects(engine.move({ fen: "bad" }, { depth: 1 }), /bad FEN/);
  assert.equal(fakes.length, 1);
  assert.equal(engine.state, "ready");
});

test("a failed start is told with its reason and tried again when needed", async () => {
  let fail = true;
  const start = async () => {
    if (fail)
      throw Object.assign(new Error("none"), { reason: "memory" });
    return new FakeEngine();
  };
  const engine = new PageEngine({ start });
  assert.equal(await engine.ready, false);
  assert.deepEqual([engine.state, engine.reason], ["failed", "memory"]);
  await assert.rejects(engine.move(START, { depth: 1 }), { reason: "memory" });
  fail = false;
  assert.deepEqual(await engine.evaluate("a fen"), { fen: "a fen" });
});

test("options stop the search, return refusals, and go before the next search", async (t) => {
  const { engine, fakes } = makeEngine(t, {}, { refuse: ["no"] });
  const analysis = engine.analyse(START);
  await until(() => fakes[0]?.search);
  const set = engine.setHash(999);
  const next = engine.analyse(START);
  assert.equal(await analysis.result, null);
  assert.deepEqual(await set, ["no"]);
  await until(() => fakes[0].searches.length === 2);
  const names = fakes[0].calls.map(([name]) => name);
  assert.deepEqual(names, ["setPosition", "go", "setOption", "setPosition", "go"]);
  next.stop();
});

test("what the engine refuses is not kept", async (t) => {
  const kept = "setoption hash: не вдалося виділити 512 МБ — лишається попередній розмір";
  const { engine } = makeEngine(t, { hash: 64 }, { refuse: [kept] });
  await engine.ready;
  assert.deepEqual(await engine.setHash(512), [kept]);
  assert.equal(engine.hash, 64);
  const less = "setoption hash: 1024 МБ — більше за 3/4 фізичної RAM (512 МБ); використано 384 МБ";
  const second = makeEngine(t, { hash: 64 }, { refuse: [less] }).engine;
  await second.setHash(1024);
  assert.equal(second.hash, 384);
  const third = makeEngine(t, { hash: 64 }, { refuse: [less, kept] }).engine;
  await third.setHash(1024);
  assert.equal(third.hash, 64);
});

test("the build without threads is not asked for threads", async (t) => {
  const { engine, fakes } = makeEngine(t, { threads: 4 }, { threads: false });
  await engine.ready;
  assert.deepEqual(await engine.setThreads(8), []);
  assert.equal(engine.threadCount, 1);
  assert.deepEqual(fakes[0].calls, []);
});

test("a worker that ends without a word is noticed while it searches", async (t) => {
  const { engine, fakes } = makeEngine(t, { patience: 20 });
  const move = engine.move(AFTER_E4, { depth: 3 });
  await until(() => fakes[0]?.search);
  await new Promise((resolve) => setTimeout(resolve, 60));
  assert.equal(fakes.length, 1, "a worker that answers is left alone");
  fakes[0].mute = true;
  await until(() => fakes[1]?.search);
  assert.ok(fakes[0].dead);
  fakes[1].search.answer("c7c5");
  assert.equal((await move).bestMove, "c7c5");
});

test("a worker that does not answer a question has ended", async (t) => {
  const { engine, fakes } = makeEngine(t, { patience: 20 });
  await engine.ready;
  fakes[0].mute = true;
  engine.evaluate("a fen");
  await until(() => engine.state === "failed");
  assert.equal(engine.reason, "died");
});
