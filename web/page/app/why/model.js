// The evaluation as rows of a table: terms, their features, and what each adds to the value. Everything
// counts for White: positive numbers are White's.

export const FULL_PHASE = 24;
export const FULL_SCALE = 64;
export const FADE_LENGTH = 200;

/** The terms, in the order in which they stand. */
export const TERMS = ["material", "king", "bishopPair", "mobility", "kingSafety", "rookFiles", "pawns"];

/**
 * What a pair of middle-game and end-game values adds to the blended value, in centipawns with fractions.
 * The engine rounds the total alone, so these are exact only together.
 */
export function contribution({ mg, eg }, { phase, scale }) {
  return (phase * mg + ((FULL_PHASE - phase) * scale * eg) / FULL_SCALE) / FULL_PHASE;
}

/** The rows of an evaluation: [{key, name, mg, eg, white, black, value, squares, features: [the same]}]. */
export function evaluationRows(evaluation) {
  return evaluation.terms.map((term) => {
    const features = term.features.map((feature) => ({
      ...row(feature, `${term.name}.${feature.name}`, evaluation),
      squares: featureSquares(feature),
    }));
    return { ...row(term, term.name, evaluation), squares: mergeSquares(features), features };
  });
}

function row(source, key, evaluation) {
  const { name, mg, eg, white = null, black = null } = source;
  return { key, name, mg, eg, white, black, value: contribution(source, evaluation) };
}

/** The squares of a feature by side; those of neither side, or of both, apart. */
function featureSquares({ white, black, squares = [] }) {
  const byWhite = white?.squares ?? [];
  const byBlack = black?.squares ?? [];
  return squaresApart(byWhite, byBlack, squares);
}

function mergeSquares(features) {
  const of = (side) => features.flatMap(({ squares }) => squares[side]);
  return squaresApart(of("white"), of("black"), of("both"));
}

function squaresApart(white, black, others) {
  const whites = new Set(white);
  const blacks = new Set(black);
  const both = new Set(others.filter((square) => !whites.has(square) && !blacks.has(square)));
  for (const square of whites) {
    if (blacks.has(square)) {
      both.add(square);
    }
  }
  return {
    white: [...whites].filter((square) => !both.has(square)),
    black: [...blacks].filter((square) => !both.has(square)),
    both: [...both],
  };
}

/** Whether a row says nothing: no value in either phase, for neither side. */
export function isEmptyRow({ mg, eg, white, black }) {
  const isZero = (pair) => !pair || (pair.mg === 0 && pair.eg === 0 && !pair.count);
  return mg === 0 && eg === 0 && isZero(white) && isZero(black);
}

/** The halfmove clock of a FEN as the engine takes it. */
export function halfmoveClock(fen) {
  const clock = Number(fen.split(" ")[4] ?? 0);
  return Number.isFinite(clock) ? Math.min(100, Math.max(0, clock)) : 0;
}

/**
 * The way from the totals to the final value, step by step, each division cut towards zero as the engine
 * does. `agrees` tells whether the steps lead to what the engine itself says.
 */
export function arithmetic(evaluation, fen) {
  const { total, phase, scale } = evaluation;
  const clock = halfmoveClock(fen);
  const scaledEg = Math.trunc((scale * total.eg) / FULL_SCALE) + 0;
  const blended = Math.trunc((phase * total.mg + (FULL_PHASE - phase) * scaledEg) / FULL_PHASE) + 0;
  const faded = Math.trunc((blended * (FADE_LENGTH - clock)) / FADE_LENGTH) + 0;
  return {
    mg: total.mg,
    eg: total.eg,
    phase,
    egShare: FULL_PHASE - phase,
    scale,
    scaledEg,
    blended,
    clock,
    fadeLeft: FADE_LENGTH - clock,
    faded,
    agrees: blended === evaluation.blended && faded === evaluation.white,
  };
}
