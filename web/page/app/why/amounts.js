// Amounts of the evaluation as text, in pawns or in centipawns.

import { signed } from "../analysis/score.js";

export const UNITS = ["pawns", "centipawns"];

/** An amount with its sign: "+0.34" in pawns, "+34" in centipawns. Fractions of a centipawn are rounded. */
export function amountText(centipawns, unit, texts) {
  const whole = roundHalfAway(centipawns);
  return unit === "centipawns" ? signed(whole, 0, texts) : signed(whole / 100, 2, texts);
}

/** Rounds to whole numbers, the same way on both sides of zero. */
export function roundHalfAway(value) {
  return Math.sign(value) * Math.round(Math.abs(value)) + 0;
}
