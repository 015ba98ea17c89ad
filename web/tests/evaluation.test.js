// What the page shows of an evaluation is the engine's own: the bars of the package's answer add up to what
// the native engine prints for the same position, in a thousand positions, in both builds.

import assert from "node:assert/strict";
import path from "node:path";
import { before, describe, test } from "node:test";
import { pathToFileURL } from "node:url";

import { traced } from "./support/native.js";
import { positions } from "./support/positions.js";
import { PACKAGE } from "./support/site.js";

const WANTED = 1000;
const fens = positions(WANTED);
let native;

function sum(pairs) {
  return pairs.reduce(({ mg, eg }, pair) => ({ mg: mg + pair.mg, eg: eg + pair.eg }), { mg: 0, eg: 0 });
}

function pair({ mg, eg }) {
  return { mg, eg };
}

// Cut towards zero, and no minus zero.
function divide(a, b) {
  return Math.trunc(a / b) + 0;
}

// The arithmetic as the pages tell it, from the bars alone.
function recomputed({ terms, phase, scale }, halfmoveClock) {
  const { mg, eg } = sum(terms.flatMap((term) => term.features));
  const scaled = divide(scale * eg, 64);
  const blended = divide(phase * mg + (24 - phase) * scaled, 24);
  return { blended, white: divide(blended * (200 - halfmoveClock), 200) };
}

function check(fen, shown, printed) {
  assert.deepEqual(shown.terms.map(({ label, mg, eg }) => ({ label, mg, eg })), printed.terms, fen);
  for (const term of shown.terms) {
    const features = sum(term.features);
    assert.deepEqual(features, pair(term), `${fen}: the features of ${term.name}`);
    for (const part of [term, ...term.features]) {
      if (part.white && part.black) {
        assert.deepEqual(sum([part.white, part.black]), pair(part), `${fen}: both sides of ${part.name}`);
      }
    }
  }
  const { total, phase, scale, white, value } = shown;
  assert.deepEqual({ total: pair(total), phase, scale, white, value }, {
    total: printed.total, phase: printed.phase, scale: printed.scale,
    white: printed.white, value: printed.value,
  }, fen);
  assert.deepEqual(sum(shown.terms), pair(total), `${fen}: the terms`);
  // The engine counts no further than the rule allows.
  const clock = Math.min(100, Number(fen.split(" ")[4] ?? 0));
  assert.deepEqual(recomputed(shown, clock), { blended: shown.blended, white }, `${fen}: the arithmetic`);
}

before(async () => {
  assert.equal(fens.length, WANTED);
  native = new Map();
  const rest = [...fens];
  const worker = async () => {
    for (let fen = rest.pop(); fen; fen = rest.pop()) native.set(fen, await traced(fen));
  };
  await Promise.all([worker(), worker(), worker()]);
  assert.equal(native.size, new Set(fens).size);
});

describe("a thousand positions", () => {
  for (const threads of [false, true]) {
    const name = `the build ${threads ? "with" : "without"} threads`;
    test(`${name} shows what the native engine prints`, async (t) => {
      const { Engine } = await import(pathToFileURL(path.join(PACKAGE, "index.mjs")));
      const engine = await Engine.start({ threads });
      t.after(() => engine.quit());
      assert.equal(engine.threads, threads);
      for (const fen of fens) check(fen, await engine.evaluate(fen), native.get(fen));
    });
  }
});
