// The worker's script in a browser, as pages use it that know nothing of this one: `new Worker("morvane.js")`.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import path from "node:path";
import { test } from "node:test";

import { theBrowser } from "./support/browser.js";
import { ROOT, SiteServer } from "./support/site.js";

const SIGNATURE = readFileSync(path.join(ROOT, "tests/data/signature.txt"), "utf8");
const [DEPTH, NODES, QNODES] = SIGNATURE.trim().split("\n").at(-1).split(" ");

/** A page with a worker that has been sent nothing yet: `say` sends lines, `until` returns what it said up to one. */
async function visit(t, { isolated, answer = null, build = "" }) {
  const server = await SiteServer.start({ isolated });
  server.answer = answer;
  const { browser } = await theBrowser("chrome");
  const context = await browser.createBrowserContext();
  t.after(async () => {
    await context.close();
    await server.stop();
  });
  const page = await context.newPage();
  await page.goto(`${server.url}LICENSES.txt`);
  assert.equal(await page.evaluate(() => crossOriginIsolated), isolated);
  await page.evaluate((hash) => {
    const said = [];
    const worker = new Worker(`engine/morvane.js${hash}`);
    worker.onmessage = ({ data }) => said.push(data);
    worker.onerror = ({ message }) => said.push(`error ${message}`);
    Object.assign(globalThis, { said, worker });
  }, build);
  return {
    say: (...lines) => page.evaluate((all) => all.forEach((line) => worker.postMessage(line)), lines),
    async until(pattern) {
      await page.waitForFunction((source) => said.some((line) => new RegExp(source).test(line)), { timeout: 120_000 },
        pattern.source);
      return page.evaluate((source) =>
        said.splice(0, said.findIndex((line) => new RegExp(source).test(line)) + 1), pattern.source);
    },
  };
}

for (const isolated of [true, false]) {
  const name = isolated ? "isolated, with threads" : "from a plain host, without threads";

  test(`${name}: the signature of the search`, async (t) => {
    const { say, until } = await visit(t, { isolated });
    await say("setoption name Threads value 2", `benchsearch ${DEPTH}`);
    const lines = await until(/^bench:/);
    assert.match(lines.at(-1), new RegExp(`^bench: ${NODES} nodes ${QNODES} qnodes `));
    assert.equal(lines.some((line) => line.startsWith("info string setoption threads")), !isolated);
  });

  test(`${name}: it answers while it searches, and stops when it is told to`, async (t) => {
    const { say, until } = await visit(t, { isolated });
    await say("go infinite", "isready");
    await until(/^readyok$/);
    await until(/^info depth 6 .* pv /);
    await say("isready");
    const before = await until(/^readyok$/);
    assert.deepEqual(before.filter((line) => line.startsWith("bestmove")), []);
    await say("stop", "isready");
    assert.match((await until(/^readyok$/)).at(-2), /^bestmove [a-h][1-8]/);
  });
}

test("without threads where they are there, if the address asks for it", async (t) => {
  const { say, until } = await visit(t, { isolated: true, build: "#single" });
  await say("setoption name Threads value 2", "isready");
  assert.match((await until(/^readyok$/))[0], /^info string setoption threads: /);
});

// The policy of a host that knows no "blob:": nothing can interrupt a search there.
test("a worker that hears nothing is replaced when its search is to stop", async (t) => {
  const answer = (request, response) => {
    response.setHeader("Content-Security-Policy", "default-src 'self' 'wasm-unsafe-eval'");
    return false;
  };
  const { say, until } = await visit(t, { isolated: false, answer });
  await say("setoption name Hash value 2", "position startpos moves e2e4", "go infinite", "isready");
  await until(/^info depth 6 .* pv /);
  await say("isready", "stop", "d", "go depth 5", "isready");
  const lines = await until(/^fen:/);
  assert.equal(lines.filter((line) => line.startsWith("bestmove")).length, 1);
  assert.equal(lines.at(-1), "fen: rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1");
  await until(/^bestmove/);
  await say("stop", "isready");
  await until(/^readyok$/);
});

test("a file that is missing is told by an error", async (t) => {
  const answer = (request, response) => {
    if (!request.url.endsWith(".wasm")) return false;
    response.writeHead(404).end();
    return true;
  };
  const { until } = await visit(t, { isolated: false, answer });
  assert.match((await until(/^error /)).at(-1), /morvane: load: /);
});
