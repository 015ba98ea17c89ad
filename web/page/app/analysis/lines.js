// What an analysis knows of a position, built up from the engine's lines. Scores are White's.

import { whiteScore } from "./score.js";

/** Nothing known yet of a position with this side to move. */
export function emptyAnalysis(fen, turn) {
  return { fen, turn, depth: 0, seldepth: 0, score: null, nodes: 0, nps: 0, time: 0, pv: [], history: [] };
}

/** The state after one more line; the state before is not changed. */
export function withLine(state, line) {
  const next = { ...state };
  for (const key of ["seldepth", "nodes", "nps", "time"]) {
    next[key] = line[key] ?? state[key];
  }
  if (!line.score || !line.pv?.length) {
    return next; // progress within a depth, or a position without moves
  }
  next.depth = line.depth;
  next.score = whiteScore(line.score, state.turn);
  next.pv = line.pv;
  next.history = withEntry(state.history, {
    depth: line.depth,
    seldepth: next.seldepth,
    score: next.score,
    pv: line.pv,
    nodes: next.nodes,
    time: next.time,
  });
  return next;
}

/** One entry for each depth, the newest first. */
function withEntry(history, entry) {
  return [entry, ...history.filter(({ depth }) => depth !== entry.depth)];
}

/** The share of the evaluation bar that is White's, 0 to 1; half of it where nothing is known. */
export function barShare(score, expectation) {
  return score ? expectation(score) : 0.5;
}

/** A large count in three digits: 950, 12.3K, 4.56M. */
export function shortCount(value, texts) {
  return texts.number(value, { notation: "compact", maximumSignificantDigits: 3 });
}

/** A time in milliseconds as seconds, or minutes and seconds. */
export function shortTime(milliseconds, texts) {
  const seconds = milliseconds / 1000;
  if (seconds < 60) {
    return texts.t("analyse.seconds", {
      s: texts.number(seconds, { minimumFractionDigits: 1, maximumFractionDigits: 1 }),
    });
  }
  const whole = Math.floor(seconds);
  return `${Math.floor(whole / 60)}:${String(whole % 60).padStart(2, "0")}`;
}
