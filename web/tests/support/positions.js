// Positions to compare evaluations in: the repository's own, and those of random games up to the wanted
// number, the same in every run.

import { readFileSync } from "node:fs";
import path from "node:path";

import { Chess } from "chess.js";

import { ROOT } from "./site.js";

// A small generator, so that every run sees the same games.
function generator(seed) {
  let state = seed >>> 0;
  return (limit) => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return Math.floor((state / 2 ** 32) * limit);
  };
}

function fromRandomGames(wanted) {
  const random = generator(20);
  const fens = new Set();
  while (fens.size < wanted) {
    const game = new Chess();
    for (let ply = 0; ply < 300 && !game.isGameOver() && fens.size < wanted; ply += 1) {
      const moves = game.moves();
      game.move(moves[random(moves.length)]);
      if (ply % 5 === 4) fens.add(game.fen());
    }
  }
  return [...fens];
}

export function positions(wanted) {
  const file = readFileSync(path.join(ROOT, "tests/data/positions.epd"), "utf8");
  const known = file.split("\n").filter((line) => line && !line.startsWith("#"));
  return [...known, ...fromRandomGames(Math.max(0, wanted - known.length))].slice(0, wanted);
}
