// The npm package in Node.js, both builds: as a worker that speaks UCI it says what the native engine says, and its
// interface of promises keeps what its types promise.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import path from "node:path";
import { after, describe, test } from "node:test";
import { pathToFileURL } from "node:url";
import { Worker } from "node:worker_threads";

import { session } from "./support/native.js";
import { PACKAGE, ROOT } from "./support/site.js";

const { Engine, parseInfo } = await import(pathToFileURL(path.join(PACKAGE, "index.mjs")));
const START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";
const SIGNATURE = readFileSync(path.join(ROOT, "tests/data/signature.txt"), "utf8");
const [DEPTH, NODES, QNODES] = SIGNATURE.trim().split("\n").at(-1).split(" ");

/** A worker as a page has it, and what it has said. */
class Client {
  lines = [];
  #wake = () => {};

  constructor(t, build) {
    this.worker = new Worker(path.join(PACKAGE, "morvane.js"), { workerData: { morvane: build } });
    this.worker.on("message", (line) => {
      this.lines.push(line);
      this.#wake();
    });
    this.ended = new Promise((resolve, reject) => this.worker.on("exit", resolve).on("error", reject));
    t.after(() => this.worker.terminate());
  }

  say(...lines) {
    for (const line of lines) this.worker.postMessage(line);
  }

  /** The lines up to one that matches, which are then forgotten. */
  async until(pattern) {
    for (;;) {
      const end = this.lines.findIndex((line) => pattern.test(line));
      if (end >= 0) return this.lines.splice(0, end + 1);
      await new Promise((resolve) => (this.#wake = resolve));
    }
  }
}

const timeless = (line) => line.replace(/ (nps|time) \d+/g, "").replace(/ \d+ ms \d+ nps/, "");

// Sessions whose answers depend on neither clock nor machine.
const SESSIONS = {
  "a search": ["position startpos moves e2e4 e7e5", "go depth 9"],
  "searches of one game": ["go depth 7", "position startpos moves d2d4", "go depth 7", "ucinewgame", "go depth 7"],
  "nodes": ["position fen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", "go nodes 20000"],
  "no legal move": ["position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", "go depth 5"],
  "mate": ["position fen 7k/8/5KQ1/8/8/8/8/8 w - - 0 1", "go depth 6"],
  "perft": ["position fen r3k2r/p1ppqpb1/bn2pnp1/3PN2/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", "perft 3"],
  "bad input": [
    "position", "position fen", "position fen x", "position nonsense", "perft x", "perft 0",
    "setoption name Hash value many", "setoption name nothing value 1", "nonsense", "", "  ", "go depth x",
    "position startpos moves e2e4 e2e4 e7e5", "d",
  ],
  "the position": ["position fen 8/8/8/8/8/5k2/6q1/7K w - - 3 9", "d", "position startpos moves a2a4 b7b5 a4b5", "d"],
};

describe("the worker", () => {
  for (const build of ["threads", "single"]) {
    test(`${build}: it says what the native engine says`, async (t) => {
      const client = new Client(t, build);
      client.say("uci");
      assert.deepEqual(await client.until(/^uciok$/), (await session(["uci"])).slice(0, -1));
      for (const [name, lines] of Object.entries(SESSIONS)) {
        const said = [];
        client.say("ucinewgame");
        for (const line of lines) {
          client.say(line);
          if (line.startsWith("go")) said.push(...(await client.until(/^bestmove/)));
        }
        client.say("isready");
        said.push(...(await client.until(/^readyok$/)));
        assert.deepEqual(said.map(timeless), (await session(lines)).map(timeless), name);
      }
    });

    test(`${build}: the signature of the search`, async (t) => {
      const client = new Client(t, build);
      client.say(`benchsearch ${DEPTH}`);
      const lines = await client.until(/^bench:/);
      assert.match(lines.at(-1), new RegExp(`^bench: ${NODES} nodes ${QNODES} qnodes `));
    });

    test(`${build}: it answers while it searches, and stops when it is told to`, async (t) => {
      const client = new Client(t, build);
      client.say("isready", "go infinite", "isready");
      await client.until(/^readyok$/);
      assert.equal((await client.until(/^readyok$/)).filter((line) => line.startsWith("bestmove")).length, 0);
      await client.until(/^info depth 6 .* pv /);
      client.say("isready");
      await client.until(/^readyok$/);
      client.say("stop", "isready");
      assert.match((await client.until(/^readyok$/)).at(-2), /^bestmove [a-h][1-8]/);
    });

    test(`${build}: each search is answered once, in order, however soon the next command comes`, async (t) => {
      const client = new Client(t, build);
      const fen = "position fen 7k/8/8/8/8/8/8/K7 w - - 0 1";
      client.say("go infinite", "isready", "go infinite", "isready", fen, "isready", "go depth 3", "isready", "d");
      const lines = await client.until(/^fen: /);
      const answers = lines.filter((line) => /^(bestmove|readyok)/.test(line)).map((line) => line.split(" ")[0]);
      assert.equal(answers.filter((answer) => answer === "readyok").length, 4);
      assert.ok(answers.filter((answer) => answer === "bestmove").length >= 2, answers.join(" "));
      assert.equal(lines.at(-1), "fen: 7k/8/8/8/8/8/8/K7 w - - 0 1");
    });

    test(`${build}: an endless search without a legal move answers when it is stopped`, async (t) => {
      const client = new Client(t, build);
      client.say("position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", "go infinite", "isready");
      await client.until(/^readyok$/);
      assert.deepEqual(client.lines.filter((line) => line.startsWith("bestmove")), []);
      client.say("stop");
      await client.until(/^bestmove 0000$/);
    });

    test(`${build}: a table too large for the memory of a module is refused or cut, and the session goes on`, async (t) => {
      const client = new Client(t, build);
      client.say("setoption name Hash value 65536", "isready");
      assert.match((await client.until(/^readyok$/))[0], /^info string setoption hash: 65536 /);
      client.say("setoption name Hash value 1", "go depth 4");
      await client.until(/^bestmove/);
    });

    test(`${build}: "quit" ends it, also while it searches`, async (t) => {
      const client = new Client(t, build);
      client.say("go infinite");
      await client.until(/^info depth 3 /);
      client.say("quit");
      assert.equal(await client.ended, 0);
      assert.equal(client.lines.filter((line) => line.startsWith("bestmove")).length, 1);
    });
  }

  test("threads: as many as the machine has not", async (t) => {
    const client = new Client(t, "threads");
    client.say("setoption name Threads value 16", "go depth 8");
    assert.deepEqual((await client.until(/^bestmove/)).filter((line) => line.startsWith("info string")), []);
  });

  test("single: more than one thread is refused", async (t) => {
    const client = new Client(t, "single");
    client.say("setoption name Threads value 2", "go depth 4");
    const lines = await client.until(/^bestmove/);
    assert.match(lines[0], /^info string setoption threads: .* 2 /);
  });
});

describe("the interface of promises", () => {
  for (const threads of [true, false])
    describe(threads ? "with threads" : "without", () => {
      let engine;
      after(() => engine?.quit());

      test("it starts, and knows the engine", async () => {
        engine = await Engine.start({ threads });
        assert.equal(engine.threads, threads);
        assert.match(engine.name, /^Morvane \d+\.\d+\.\d+$/);
        assert.deepEqual([...engine.options.keys()], ["Hash", "Threads", "Move Overhead"]);
        assert.deepEqual(engine.options.get("Hash"), { default: 64, min: 1, max: 65536 });
      });

      test("options: what is refused is told", async () => {
        const told = [];
        engine.addEventListener("message", ({ detail }) => told.push(detail));
        assert.deepEqual(await engine.setOption("Hash", 8), []);
        const messages = await engine.setOption("Hash", 65536);
        assert.equal(messages.length, 1);
        assert.deepEqual(told, messages);
        assert.deepEqual(await engine.setOption("Hash", 8), []);
      });

      test("a search: its lines, its result", async () => {
        await engine.newGame();
        await engine.setPosition({ moves: ["e2e4"] });
        const lines = [];
        const { bestMove, info } = await engine.go({ depth: 7 }, (line) => lines.push(line)).result;
        assert.deepEqual(lines.map(({ depth }) => depth), [1, 2, 3, 4, 5, 6, 7]);
        assert.equal(info, lines.at(-1));
        assert.equal(bestMove, info.pv[0]);
        assert.equal(typeof info.score.cp, "number");
      });

      test("a search that is stopped, and one that another replaces", async () => {
        const first = engine.go({ infinite: true });
        const second = engine.go({ infinite: true });
        assert.ok((await first.result).bestMove);
        await engine.stop();
        assert.ok((await second.result).bestMove);
        await engine.stop();
      });

      test("a position that is refused leaves the old one", async () => {
        await engine.setPosition({ fen: "7k/8/8/8/8/8/8/K5R1 w - - 0 1" });
        await assert.rejects(engine.setPosition({ fen: "nonsense" }), { reason: "position" });
        assert.match((await engine.go({ depth: 3 }).result).bestMove, /^(a1|g1)/);
      });

      test("no legal move", async () => {
        await engine.setPosition({ fen: "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1" });
        assert.equal((await engine.go({ depth: 3 }).result).bestMove, null);
      });

      test("perft leaves the position as it is", async () => {
        await engine.setPosition({ fen: "7k/8/8/8/8/8/8/K5R1 w - - 0 1" });
        const { moves, nodes } = await engine.perft(START, 3);
        assert.equal(nodes, 8902n);
        assert.equal(Object.keys(moves).length, 20);
        assert.equal(moves.e2e4, 600n);
        assert.match((await engine.go({ depth: 3 }).result).bestMove, /^(a1|g1)/);
        await assert.rejects(engine.perft("nonsense", 1), { reason: "position" });
        await assert.rejects(engine.perft(START, 0), { reason: "depth" });
        assert.match((await engine.go({ depth: 3 }).result).bestMove, /^(a1|g1)/);
      });

      test("evaluations, also while it searches", async () => {
        await engine.setPosition({});
        const search = engine.go({ infinite: true });
        const quiet = await engine.evaluate(START);
        assert.deepEqual([quiet.value, quiet.total, quiet.phase], [quiet.white, { mg: 0, eg: 0 }, 24]);
        await assert.rejects(engine.evaluate("nonsense"), { reason: "position" });
        search.stop();
        await search.result;
      });

      test("what is asked for is rejected when it quits", async () => {
        const { result } = engine.go({ infinite: true });
        engine.quit();
        await assert.rejects(result, { reason: "ended" });
        assert.throws(() => engine.send("isready"), { reason: "ended" });
        await assert.rejects(engine.evaluate(START), { reason: "ended" });
      });
    });

  test("files that are missing", async () => {
    await assert.rejects(Engine.start({ url: pathToFileURL(path.join(ROOT, "nothing.js")) }), Error);
  });

  test("lines as objects", () => {
    assert.deepEqual(parseInfo("info depth 12 seldepth 20 score mate -3 nodes 5 nps 6 time 7 pv e2e4 e7e8q"), {
      depth: 12, seldepth: 20, score: { mate: -3 }, nodes: 5, nps: 6, time: 7, pv: ["e2e4", "e7e8q"],
    });
    assert.deepEqual(parseInfo("info depth 0 score cp 0"), { depth: 0, score: { cp: 0 } });
    assert.equal(parseInfo("info string depth 3"), null);
    assert.equal(parseInfo("bestmove e2e4"), null);
  });
});
