#!/usr/bin/env node
// What the engine in the browser costs beside the native one. Run it on a quiet machine:
//
//   node web/measure.js [NATIVE]      NATIVE: a program to compare with, by default build/portable/morvane
//
// needs scripts/build-web before. Speeds are of `benchsearch 11` by the engines' own clocks, in turn; a start of the
// page is a first visit without any cache.

import { execFileSync } from "node:child_process";
import { readdirSync, readFileSync } from "node:fs";
import path from "node:path";
import { gzipSync } from "node:zlib";

import { theBrowser } from "./tests/support/browser.js";
import { PACKAGE, SiteServer } from "./tests/support/site.js";

const NATIVE = process.argv[2] ?? "build/portable/morvane";
const ROUNDS = 8;
const VISITS = 15;
const STOPS = 40;

const sorted = (values) => [...values].sort((a, b) => a - b);
const figures = (values, digits = 0) => {
  const all = sorted(values);
  const [low, median, high] = [all[0], all[all.length >> 1], all.at(-1)].map((value) => value.toFixed(digits));
  return `${median} (${low} to ${high})`;
};
const milliseconds = (line) => Number(/ (\d+) ms /.exec(line)[1]);

/** A worker of a page, with what a test of time needs. */
async function openWorker(browser, isolated) {
  const server = await SiteServer.start({ isolated });
  const context = await browser.createBrowserContext();
  const page = await context.newPage();
  await page.goto(`${server.url}LICENSES.txt`);
  const readyMs = await page.evaluate(async () => {
    const began = performance.now();
    const worker = new Worker("engine/morvane.js");
    let wake = () => {};
    let wanted = null;
    worker.onmessage = ({ data }) => wanted?.test(data) && wake(data);
    const until = (pattern) => new Promise((resolve) => ([wanted, wake] = [pattern, resolve]));
    const ask = (line, pattern) => {
      const answer = until(pattern);
      worker.postMessage(line);
      return answer;
    };
    globalThis.bench = () => ask("benchsearch 11", /^bench:/);
    globalThis.stop = async (ms) => {
      worker.postMessage("go infinite");
      await new Promise((resolve) => setTimeout(resolve, ms));
      const told = performance.now();
      await ask("stop", /^bestmove/);
      return performance.now() - told;
    };
    await ask("isready", /^readyok$/);
    return performance.now() - began;
  });
  return { page, readyMs, close: () => context.close().then(() => server.stop()) };
}

/** From the start of a visit to the engine's being ready, in milliseconds. */
async function visitPage(browser, server) {
  const context = await browser.createBrowserContext();
  const page = await context.newPage();
  await page.goto(server.url);
  const mark = await page.waitForFunction(() => performance.getEntriesByName("engine ready")[0]?.startTime);
  const result = await mark.jsonValue();
  await context.close();
  return result;
}

function native() {
  const lines = execFileSync(NATIVE, ["benchsearch", "11"], { encoding: "utf8" }).trim().split("\n");
  return milliseconds(lines.at(-1));
}

async function measureBuild(browser, isolated) {
  console.log(isolated ? "with threads" : "without threads");
  const ready = [];
  for (let i = 0; i < VISITS; ++i) {
    const worker = await openWorker(browser, isolated);
    ready.push(worker.readyMs);
    await worker.close();
  }
  console.log(`  a worker answers "isready" after, ms: ${figures(ready)}`);
  const server = await SiteServer.start({ isolated });
  const starts = [];
  for (let i = 0; i < VISITS; ++i) starts.push(await visitPage(browser, server));
  await server.stop();
  console.log(`  the page's engine is ready after, ms: ${figures(starts)}`);
  const { page, close } = await openWorker(browser, isolated);
  const stops = [];
  for (let i = 0; i < STOPS; ++i) stops.push(await page.evaluate((ms) => stop(ms), 100 + 17 * i));
  console.log(`  "stop" to "bestmove", ms: ${figures(stops, 1)}`);
  const speeds = [];
  for (let i = 0; i < ROUNDS; ++i) speeds.push(native() / milliseconds(await page.evaluate(() => bench())));
  console.log(`  speed beside ${NATIVE}: ${figures(speeds, 2)}`);
  await close();
}

for (const file of readdirSync(PACKAGE)) {
  const content = readFileSync(path.join(PACKAGE, file));
  console.log(`${file.padEnd(28)} ${content.length} bytes, ${gzipSync(content, { level: 9 }).length} with gzip`);
}
const { browser } = await theBrowser("chrome");
for (const isolated of [true, false]) await measureBuild(browser, isolated);
await browser.close();
process.exit(); // what the tests would do after that is not wanted here
