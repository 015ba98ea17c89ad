// Settings: remembered, guarded, and harmless without a storage. And what a game against the engine is set
// to.
import assert from "node:assert/strict";
import { test } from "node:test";
import {
  clockFor, DEFAULT_CHOICE, engineLimits, flagOutcome, isChoice, pliesToTakeBack,
} from "../page/app/session.js";
import { Settings } from "../page/app/settings.js";

class MemoryStorage {
  #items = new Map();

  getItem(key) {
    return this.#items.get(key) ?? null;
  }

  setItem(key, value) {
    this.#items.set(key, value);
  }

  removeItem(key) {
    this.#items.delete(key);
  }
}

test("a value outlives the page and a forgotten one does not", () => {
  const storage = new MemoryStorage();
  const settings = new Settings(storage);
  settings.set("a", { b: [1, 2] });
  settings.set("c", 3);
  settings.set("c", undefined);
  const later = new Settings(storage);
  assert.deepEqual(later.get("a"), { b: [1, 2] });
  assert.equal(later.get("c", "none"), "none");
});

test("what is not valid gives way to the fallback", () => {
  const storage = new MemoryStorage();
  storage.setItem("morvane.a", "{broken");
  storage.setItem("morvane.b", "42");
  const settings = new Settings(storage);
  assert.equal(settings.get("a", 1), 1);
  assert.equal(settings.get("b", 1, (value) => typeof value === "string"), 1);
  assert.equal(settings.get("b", 1), 42);
});

test("without a storage, or with one that is full, values hold until the page goes", () => {
  const full = { getItem: () => { throw new Error("no"); }, setItem: () => { throw new Error("full"); } };
  for (const storage of [null, full]) {
    const settings = new Settings(storage);
    settings.set("a", 1);
    assert.equal(settings.get("a"), 1);
  }
});

test("changes are told", () => {
  const settings = new Settings(null);
  const told = [];
  settings.addEventListener("change", ({ detail }) => told.push(detail));
  settings.set("a", 1);
  assert.deepEqual(told, [{ key: "a", value: 1 }]);
});

test("a choice for a game is checked", () => {
  assert.equal(isChoice(DEFAULT_CHOICE), true);
  const wrong = [{ side: "x" }, { limit: "elo" }, { depth: 0 }, { nodes: "9" }, { movetime: NaN }];
  for (const bad of [null, 1, {}, ...wrong.map((part) => ({ ...DEFAULT_CHOICE, ...part }))]) {
    assert.equal(isChoice(bad), false);
  }
});

test("what the engine gets", () => {
  const choice = { ...DEFAULT_CHOICE, movetime: 1.5, depth: 7, nodes: 1000, base: 1, increment: 2 };
  assert.deepEqual(engineLimits({ ...choice, limit: "movetime" }, null), { movetime: 1500 });
  assert.deepEqual(engineLimits({ ...choice, limit: "depth" }, null), { depth: 7 });
  assert.deepEqual(engineLimits({ ...choice, limit: "nodes" }, null), { nodes: 1000 });
  assert.equal(clockFor({ ...choice, limit: "depth" }), null);
  const withClock = { ...choice, limit: "clock" };
  const clock = clockFor(withClock, { w: 5000, b: 6000 });
  assert.deepEqual(engineLimits(withClock, clock), { wtime: 5000, btime: 6000, winc: 2000, binc: 2000 });
});

test("taking back goes to the user's last move", () => {
  const moves = ["w", "b", "w"].map((color) => ({ color }));
  assert.equal(pliesToTakeBack(moves, "w"), 1);
  assert.equal(pliesToTakeBack(moves, "b"), 2);
  assert.equal(pliesToTakeBack(moves.slice(0, 1), "b"), 0);
  assert.equal(pliesToTakeBack([], "w"), 0);
});

test("time that ran out loses, but not against a bare king", () => {
  assert.equal(flagOutcome("w", "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"), "1/2-1/2");
  assert.equal(flagOutcome("b", "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1"), "1-0");
  assert.equal(flagOutcome("w", "4k3/4p3/8/8/8/8/4P3/4K3 w - - 0 1"), "0-1");
});
