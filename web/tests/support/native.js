// The native engine's word.

import { execFile, spawn } from "node:child_process";
import { existsSync } from "node:fs";
import path from "node:path";
import { promisify } from "node:util";

import { ROOT } from "./site.js";

const run = promisify(execFile);
const program = path.resolve(process.env.MORVANE_ENGINE ?? path.join(ROOT, "build/release/morvane"));

if (!existsSync(program)) throw new Error(`there is no native engine, ${program}: ./run builds it`);

const ROW = /^ {2}(.*?) +(-?\d+) \/ +(-?\d+)$/;

// What `morvane evaltrace FEN` prints, as numbers: {terms: [{label, mg, eg}], total, phase, scale, white,
// value}.
export async function traced(fen) {
  const { stdout } = await run(program, ["evaltrace", fen]);
  const rows = new Map();
  for (const line of stdout.split("\n").slice(1)) {
    const found = ROW.exec(line);
    if (found) rows.set(found[1], { mg: Number(found[2]), eg: Number(found[3]) });
  }
  const { mg: phase } = rows.get("phase");
  const { mg: scale } = rows.get("eg scale");
  const terms = [...rows].slice(0, -3).map(([label, pair]) => ({ label, ...pair }));
  return {
    terms,
    total: rows.get("total"),
    phase,
    scale,
    white: Number(/final \(white\) +(-?\d+)/.exec(stdout)[1]),
    value: Number(/final \(stm=[wb]\) +(-?\d+)/.exec(stdout)[1]),
  };
}

// What the native engine says to some lines, one after the other: each search ends before the next line.
// The last answer is "readyok".
export async function session(lines) {
  const engine = spawn(program, { stdio: ["pipe", "pipe", "ignore"] });
  const said = [];
  let rest = "";
  let wake = () => {};
  engine.stdout.setEncoding("utf8").on("data", (text) => {
    const parts = (rest + text).split("\n");
    rest = parts.pop();
    said.push(...parts.filter((line) => line !== ""));
    wake();
  });
  const count = (word) => said.filter((line) => line.startsWith(word)).length;
  let searches = 0;
  for (const line of [...lines, "isready"]) {
    engine.stdin.write(`${line}\n`);
    if (line.startsWith("go")) for (++searches; count("bestmove") < searches; ) await new Promise((go) => (wake = go));
  }
  while (count("readyok") === 0) await new Promise((go) => (wake = go));
  engine.stdin.end("quit\n");
  return said;
}
