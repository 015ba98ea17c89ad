// The judgement of a game's moves, from the scores of its positions.

import { expectation } from "./score.js";

/** What a move must lose of the points to be expected, to get its sign; the worst first. */
export const MARKS = [
  { mark: "??", name: "blunder", loss: 0.25 },
  { mark: "?", name: "mistake", loss: 0.15 },
  { mark: "?!", name: "inaccuracy", loss: 0.08 },
];

/**
 * What each move of a game lost: [{ply, color, loss, mark}]. `scores[ply]` is {score, best} of the position
 * after so many plies, or undefined where it is not known; `best` the move that the engine would have
 * played.
 */
export function judgeMoves(moves, scores) {
  return moves.map(({ uci, color }, i) => {
    const ply = i + 1;
    const before = scores[i];
    const after = scores[ply];
    if (!before || !after) {
      return { ply, color, loss: null, mark: null };
    }
    const gain = expectation(after.score) - expectation(before.score);
    const loss = uci === before.best ? 0 : Math.max(0, color === "w" ? -gain : gain);
    return { ply, color, loss, mark: markOf(loss) };
  });
}

function markOf(loss) {
  const rounded = Math.round(loss * 1e6) / 1e6; // the bounds belong to the marks
  return MARKS.find((candidate) => rounded >= candidate.loss)?.mark ?? null;
}

/** The signs by ply, as the game keeps them. */
export function marksByPly(judgements) {
  return Object.fromEntries(judgements.filter(({ mark }) => mark).map(({ ply, mark }) => [ply, mark]));
}

/** How many marks of each kind a side got: {w: {blunder, mistake, inaccuracy}, b: …}. */
export function countMarks(judgements) {
  const none = () => Object.fromEntries(MARKS.map(({ name }) => [name, 0]));
  const counts = { w: none(), b: none() };
  for (const { color, mark } of judgements) {
    const kind = MARKS.find((candidate) => candidate.mark === mark);
    if (kind) {
      ++counts[color][kind.name];
    }
  }
  return counts;
}
