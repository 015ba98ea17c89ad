// The difference between two evaluations, term by term.

import { evaluationRows } from "./model.js";

/** Less than half a hundredth of a centipawn is nothing: what remains of fractions. */
const NOTHING = 0.005;

/**
 * What changes from one evaluation to another: {total, rows, fade, rounding, phase, scale}. The rows of the
 * terms, with those features that change, come largest first; they, the fading and the rounding add up to
 * the total.
 */
export function evaluationDifference(before, after) {
  const rows = joinRows(evaluationRows(before), evaluationRows(after));
  const total = after.white - before.white;
  const fade = after.white - after.blended - (before.white - before.blended);
  const ofTerms = rows.reduce((sum, { change }) => sum + change, 0);
  return {
    total,
    rows: rows.filter(isChanged).sort(byChange),
    fade,
    rounding: withoutDust(total - fade - ofTerms),
    phase: [before.phase, after.phase],
    scale: [before.scale, after.scale],
  };
}

const withoutDust = (value) => (Math.abs(value) < NOTHING ? 0 : value);

function joinRows(before, after) {
  const keys = [...new Set([...before, ...after].map(({ key }) => key))];
  const find = (rows, key) => rows.find((row) => row.key === key);
  return keys.map((key) => joinRow(find(before, key), find(after, key)));
}

const NO_PAIR = { mg: 0, eg: 0, value: 0, features: [] };

function joinRow(before = NO_PAIR, after = NO_PAIR) {
  const { key, name } = after === NO_PAIR ? before : after;
  const features = joinRows(before.features ?? [], after.features ?? []);
  return {
    key,
    name,
    before: { mg: before.mg, eg: before.eg, value: before.value },
    after: { mg: after.mg, eg: after.eg, value: after.value },
    mg: after.mg - before.mg,
    eg: after.eg - before.eg,
    change: withoutDust(after.value - before.value),
    squares: { before: before.squares ?? null, after: after.squares ?? null },
    features: features.filter(isChanged).sort(byChange),
  };
}

const isChanged = ({ mg, eg, change, features }) => (
  mg !== 0 || eg !== 0 || change !== 0 || features.length > 0
);

const byChange = (a, b) => Math.abs(b.change) - Math.abs(a.change);

/**
 * Moves by what they do to the evaluation, the best for the mover first: {…move, gain} of {…move,
 * evaluation}.
 */
export function rankMoves(before, moves) {
  const gain = ({ evaluation, color }) => (evaluation.white - before.white) * (color === "w" ? 1 : -1);
  return moves.map((move) => ({ ...move, gain: gain(move) })).sort((a, b) => b.gain - a.gain);
}
