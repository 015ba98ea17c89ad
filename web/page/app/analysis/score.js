// Scores from White's point of view: {cp} in centipawns, or {mate, winner} for a mate in so many moves.

/** A score of the engine, which is the side to move's, turned to White's. `turn` is "w" or "b". */
export function whiteScore(score, turn) {
  if (!score) {
    return null;
  }
  const sign = turn === "w" ? 1 : -1;
  if (score.mate === undefined) {
    return { cp: score.cp === 0 ? 0 : sign * score.cp };
  }
  const whiteWins = score.mate > 0 === (turn === "w"); // mate 0: the side to move is mated
  return { mate: Math.abs(score.mate), winner: whiteWins ? "w" : "b" };
}

/** The score of a position in which the game is over, or null: `outcome` is "mate" or a draw's reason. */
export function finalScore(outcome, turn) {
  if (!outcome) {
    return null;
  }
  return outcome === "mate" ? { mate: 0, winner: turn === "w" ? "b" : "w" } : { cp: 0 };
}

// Four hundred centipawns are odds of ten to one, as four hundred points of a rating are.
const CENTIPAWNS_PER_DECADE = 400;

/** The points that White may expect of a game with this score, 0 to 1. */
export function expectation(score) {
  if (score.mate !== undefined) {
    return score.winner === "w" ? 1 : 0;
  }
  return 1 / (1 + 10 ** (-score.cp / CENTIPAWNS_PER_DECADE));
}

/** Centipawns for a graph or a bar: no more than `limit` either way, and that for a mate. */
export function clampedScore(score, limit) {
  if (score.mate !== undefined) {
    return score.winner === "w" ? limit : -limit;
  }
  return Math.max(-limit, Math.min(limit, score.cp));
}

/** A number with its sign as the language writes it, the minus as a minus. */
export function signed(value, decimals, texts) {
  const options = {
    minimumFractionDigits: decimals,
    maximumFractionDigits: decimals,
    signDisplay: "exceptZero",
  };
  return texts.number(value, options).replace("-", "\u2212");
}

/** A score as it stands in a line: "+0.34", "#5" where White mates, "#−5" where Black does. */
export function shortScore(score, texts) {
  if (score.mate === undefined) {
    return signed(score.cp / 100, 2, texts);
  }
  return score.winner === "w" ? `#${score.mate}` : `#\u2212${score.mate}`;
}

/** A score in words, for titles and screen readers. */
export function scoreInWords(score, texts) {
  if (score.mate === undefined) {
    const side = score.cp > 0 ? "White" : score.cp < 0 ? "Black" : "None";
    const pawns = texts.number(Math.abs(score.cp) / 100, { minimumFractionDigits: 2 });
    return texts.t(`analyse.ahead${side}`, { pawns });
  }
  const side = score.winner === "w" ? "White" : "Black";
  const key = score.mate === 0 ? `analyse.mated${side}` : `analyse.mate${side}`;
  return texts.t(key, { n: score.mate });
}
