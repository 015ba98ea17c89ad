// The analysis of a whole game: one search for each position, one after the other.

import { finalScore, whiteScore } from "./score.js";
import { clockOf, endOf } from "./variation.js";

/**
 * Searches every position of a game. `positions[ply]` is {fen, position}, position as the engine takes it.
 * Calls `onScore(ply, {score, best, depth})` as they come and resolves to whether it came to the end;
 * `signal` ends it sooner. A search that a move took the place of is begun again.
 */
export async function reviewPositions(positions, limits, { engine, onScore, signal }) {
  for (let ply = 0; ply < positions.length; ++ply) {
    const found = await scoreOf(positions[ply], limits, engine, signal);
    if (signal.aborted) {
      return false;
    }
    if (found) {
      onScore(ply, found);
    }
  }
  return true;
}

async function scoreOf({ fen, position }, limits, engine, signal) {
  const { turn } = clockOf(fen);
  const over = finalScore(endOf(fen), turn);
  if (over) {
    return { score: over, best: null, depth: 0 };
  }
  let result = null;
  while (!result && !signal.aborted) {
    result = await search(position, limits, engine, signal);
  }
  const score = whiteScore(result?.info?.score, turn);
  return score && { score, best: result.bestMove, depth: result.info.depth };
}

async function search(position, limits, engine, signal) {
  const running = engine.analyse(position, { limits });
  const stop = () => running.stop();
  signal.addEventListener("abort", stop);
  try {
    return await running.result;
  } finally {
    signal.removeEventListener("abort", stop);
  }
}
