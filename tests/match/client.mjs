// A client as others write them: the library node-uci starts the engine, sends it what the protocol
// asks for and reads what it says; chess.js is the referee. For tests in other languages: a request
// a line in, an answer a line out, both JSON.
//
//   {"hello": true}
//
// tells who the engine says it is ("id") and which "options" it has.
//
//   {"fen": FEN, "moves": ["e2e4", ...], "limits": {"depth": 5}, "stop": MILLISECONDS}
//
// lets it search; a search that is "infinite" is stopped. The answer holds what the library has
// understood, "infos" and "bestmove", and the engine's "lines" as they came.
//
//   {"game": {"movetime": 10}, "fen": FEN}
//
// lets it play against itself until the game is over by the rules: its "moves", its "result" and
// its "end"; or what went wrong, as "error".
//
// Usage: node client.mjs UCI RULES ENGINE, where the folders hold the libraries in node_modules.

import { createRequire } from "node:module";
import { createInterface } from "node:readline";
import { setTimeout } from "node:timers/promises";

import { end, loadChess, play, result } from "../../tuning/game.mjs";

const [, , uciFolder, rulesFolder, path] = process.argv;
const { Engine } = createRequire(`${uciFolder}/`)("node-uci");
const Chess = loadChess(rulesFolder);

const LONGEST_GAME = 500; // plies

let printed = "";

async function start() {
  const engine = new Engine(path);
  await engine.init();
  engine.proc.stdout.on("data", (text) => {
    printed += text;
  });
  await engine.isready();
  return engine;
}

async function infinite(engine, limits, milliseconds) {
  const infos = [];
  const emitter = engine.goInfinite(limits);
  emitter.on("data", (info) => infos.push(info));
  await setTimeout(milliseconds);
  const { bestmove, info } = await engine.stop();
  return { infos: [...infos, ...info], bestmove };
}

async function search(engine, { fen, moves, limits, stop }) {
  await engine.position(fen, moves);
  printed = "";
  if (limits.infinite) {
    const { infos, bestmove } = await infinite(engine, limits, stop);
    return { infos, bestmove, lines: printed.split("\n").slice(0, -1) };
  }
  const { info, bestmove } = await engine.go(limits);
  return { infos: info, bestmove, lines: printed.split("\n").slice(0, -1) };
}

async function playGame(players, { fen, game }) {
  const chess = new Chess(fen);
  const moves = [];
  for (const player of players) await player.ucinewgame();
  let over = null;
  while (!(over = end(chess)) && moves.length < LONGEST_GAME) {
    const player = players[moves.length % 2];
    await player.position(fen, moves);
    const { bestmove } = await player.go(game);
    moves.push(bestmove);
    if (!play(chess, bestmove)) throw new Error(`illegal move ${bestmove}`);
  }
  return { moves, result: result(chess, over), end: over, error: null };
}

const players = [await start(), await start()];
for await (const line of createInterface({ input: process.stdin })) {
  const request = JSON.parse(line);
  let answer;
  try {
    if (request.hello) {
      answer = { id: players[0].id, options: Object.fromEntries(players[0].options) };
    } else {
      answer = await ("game" in request ? playGame(players, request) : search(players[0], request));
    }
  } catch (error) {
    answer = { error: error.message };
  }
  process.stdout.write(JSON.stringify(answer) + "\n");
}
for (const player of players) await player.quit();
