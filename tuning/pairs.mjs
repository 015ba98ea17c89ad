// Plays pairs of games between two UCI engines: the same opening, colours reversed.
//
//   node pairs.mjs FOLDER HASH THREADS THREADS BASE INCREMENT ENGINE ENGINE
//
// reads lines of a number and an opening's FEN, and answers each with a line of JSON: the "points" of the
// first engine in both games, how they ended ("reasons") and the games themselves ("pgn"); or why nothing can
// be played ("refused") or no more ("failed"), and ends. The number is that of nodes for each move; if it is 0,
// a side has BASE and INCREMENT milliseconds on a clock. HASH is in MiB; the first engine searches with the
// first number of THREADS, the second with the other. The rules are those of the library in
// FOLDER/node_modules: who plays an illegal move or exceeds the clock has lost, and so has who does not
// answer. A game of 400 plies is a draw.

import { spawn } from "node:child_process";
import { once } from "node:events";
import { createInterface } from "node:readline";
import { setTimeout } from "node:timers/promises";

import { end, loadChess, play, result } from "./game.mjs";

const [folder, hash, threads, otherThreads, base, increment, ...names] = process.argv.slice(2).map((text) =>
  /^\d+$/.test(text) ? Number(text) : text,
);
const Chess = loadChess(folder);
const LONGEST_GAME = 400;
const START_LIMIT = 20000; // milliseconds
const WON = { w: "1-0", b: "0-1" };
const POINTS = { "1-0": 1, "0-1": 0, "1/2-1/2": 0.5 };

class Engine {
  constructor(name, threads) {
    this.name = name;
    this.threads = threads;
    this.process = spawn(name, { stdio: ["pipe", "pipe", "ignore"] });
    this.process.on("error", () => {}); // its end shows where its answer is read
    this.process.stdin.on("error", () => {});
    this.lines = createInterface({ input: this.process.stdout });
    this.ended = once(this.lines, "close").then(() => null);
  }

  send(text) {
    this.process.stdin.write(`${text}\n`);
  }

  // The next line that begins so; null if the engine ends before.
  until(start) {
    const found = new Promise((resolve) => {
      const look = (line) => {
        if (!line.startsWith(start)) return;
        this.lines.off("line", look);
        resolve(line);
      };
      this.lines.on("line", look);
    });
    return Promise.race([found, this.ended]);
  }

  async settle(...commands) {
    const ready = this.until("readyok");
    this.send([...commands, "isready"].join("\n"));
    if ((await ready) === null) throw new Error(`${this.name} has ended`);
  }

  async start() {
    const ready = this.until("uciok");
    this.send("uci");
    const late = setTimeout(START_LIMIT, null, { ref: false });
    if ((await Promise.race([ready, late])) === null) throw new Error(`${this.name} is no UCI engine`);
    // One thread, too, is asked for: those of engines that take all processors would stand in each other's way.
    await this.settle(`setoption name Hash value ${hash}`, `setoption name Threads value ${this.threads}`);
  }

  async move(position, go) {
    const answer = this.until("bestmove");
    this.send(`position ${position}\n${go}`);
    return (await answer)?.split(" ")[1];
  }
}

// Result and reason if the game is over.
function outcome(chess, plies) {
  const reason = end(chess) ?? (plies >= LONGEST_GAME ? "length" : null);
  return reason && [result(chess, reason), reason];
}

// A side's share of the game: its next move, played on the board. Returns why that lost, if it did.
async function turn(chess, players, moves, position, nodes, clocks) {
  const side = chess.turn();
  const go = nodes
    ? `go nodes ${nodes}`
    : `go wtime ${Math.ceil(clocks.w)} btime ${Math.ceil(clocks.b)} winc ${increment} binc ${increment}`;
  const start = performance.now();
  const move = await players[side].move(position, go);
  clocks[side] -= performance.now() - start;
  if (move === undefined) return "end of the engine";
  if (!nodes && clocks[side] < 0) return "time";
  if (!play(chess, move)) return "illegal move";
  clocks[side] += increment;
  moves.push(move);
  return null;
}

async function playGame(fen, nodes, players) {
  const chess = new Chess(fen);
  const moves = [];
  const clocks = { w: base, b: base };
  await Promise.all(Object.values(players).map((player) => player.settle("ucinewgame")));
  let over = null;
  while (!(over = outcome(chess, moves.length))) {
    const side = chess.turn();
    const position = `fen ${fen}` + (moves.length ? ` moves ${moves.join(" ")}` : "");
    const fault = await turn(chess, players, moves, position, nodes, clocks);
    if (fault) {
      over = [WON[side === "w" ? "b" : "w"], fault];
      break;
    }
  }
  const [points, reason] = over;
  const headers = { White: players.w.name, Black: players.b.name, Result: points, Termination: reason };
  for (const [key, value] of Object.entries(headers)) chess.setHeader(key, value);
  return { result: points, reason, pgn: `${chess.pgn()}\n\n` };
}

async function playPair(line) {
  const [nodes, fen] = [Number.parseInt(line), line.replace(/^\d+ /, "")];
  const games = [];
  for (const white of [0, 1]) {
    games.push(await playGame(fen, nodes, { w: engines[white], b: engines[1 - white] }));
  }
  const points = POINTS[games[0].result] + 1 - POINTS[games[1].result];
  const reasons = games.map((game) => game.reason);
  const pgn = games.map((game) => game.pgn).join("");
  return { points, reasons, pgn };
}

process.stdout.on("error", () => process.exit(1)); // nobody reads on

const engines = names.map((name, place) => new Engine(name, [threads, otherThreads][place]));
let fault = null;
await Promise.all(engines.map((engine) => engine.start())).catch((error) => {
  fault = { refused: error.message };
});
for await (const line of createInterface({ input: process.stdin })) {
  const answer = fault ?? (await playPair(line).catch((error) => ({ failed: error.message })));
  process.stdout.write(JSON.stringify(answer) + "\n");
  if (!("points" in answer)) break;
}
for (const engine of engines) engine.process.stdin.end("quit\n");
for (const engine of engines.filter(() => fault)) engine.process.kill();
process.stdin.destroy();
