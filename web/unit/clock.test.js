// The clock, on a time of day that the test sets.
import assert from "node:assert/strict";
import { test } from "node:test";
import { Clock, clockText } from "../page/app/clock.js";

function clockAt(setting) {
  const time = { now: 1000 };
  const clock = new Clock(setting, () => time.now);
  const flags = [];
  clock.addEventListener("flag", (event) => flags.push(event.detail.color));
  return { clock, time, flags };
}

test("only the running side's time is used, and a move adds the increment", () => {
  const { clock, time } = clockAt({ base: 60000, increment: 2000 });
  time.now += 5000;
  assert.deepEqual(clock.times(), { w: 60000, b: 60000 });
  clock.start("w");
  time.now += 3000;
  assert.equal(clock.remaining("w"), 57000);
  clock.press();
  assert.equal(clock.running, "b");
  time.now += 1500;
  assert.deepEqual(clock.times(), { w: 59000, b: 58500 });
  clock.stop();
  time.now += 9999;
  assert.deepEqual(clock.times(), { w: 59000, b: 58500 });
});

test("starting the side that runs takes nothing back", () => {
  const { clock, time } = clockAt({ base: 10000, increment: 0 });
  clock.start("b");
  time.now += 400;
  clock.start("b");
  time.now += 100;
  assert.equal(clock.remaining("b"), 9500);
  clock.stop();
});

test("a move of nobody is no move", () => {
  const { clock } = clockAt({ base: 1000, increment: 500 });
  clock.press();
  assert.deepEqual(clock.times(), { w: 1000, b: 1000 });
  assert.equal(clock.running, null);
});

test("the flag falls once, at zero", () => {
  const { clock, time, flags } = clockAt({ base: 1000, increment: 500 });
  clock.start("w");
  time.now += 999;
  assert.equal(clock.check(), false);
  time.now += 1;
  assert.equal(clock.check(), true);
  assert.equal(clock.check(), false);
  assert.deepEqual(flags, ["w"]);
  assert.equal(clock.remaining("w"), 0);
  assert.equal(clock.running, null);
});

test("the flag falls by itself", async () => {
  const clock = new Clock({ base: 20, increment: 0 });
  const flag = new Promise((resolve) => {
    clock.addEventListener("flag", ({ detail }) => resolve(detail.color));
  });
  clock.start("b");
  assert.equal(await flag, "b");
});

test("times of a game that goes on, and what the engine is told", () => {
  const { clock, time } = clockAt({ base: 60000, increment: 1500, times: { w: 2500.7, b: 0.4 } });
  clock.start("w");
  time.now += 500;
  assert.deepEqual(clock.limits(), { wtime: 2000, btime: 1, winc: 1500, binc: 1500 });
  clock.stop();
});

test("times as text", () => {
  const texts = {
    0: "0:00.0", 99: "0:00.0", 9400: "0:09.4", 9999: "0:09.9", 10000: "0:10", 10001: "0:11", 59999: "1:00",
    60000: "1:00", 305000: "5:05", 3600000: "1:00:00", 3725000: "1:02:05",
  };
  for (const [ms, text] of Object.entries(texts)) {
    assert.equal(clockText(Number(ms)), text);
  }
});
