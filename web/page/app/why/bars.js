// The layout of bars that grow from a centre line: White's side to the right, Black's to the left.

const STEPS = [50, 100, 150, 200, 300, 500, 750, 1000, 1500, 2000, 3000, 5000, 7500, 10000];

/** The centipawns at the ends of a row of bars: a round number that none of the values exceeds. */
export function barLimit(values) {
  const largest = values.reduce((max, value) => Math.max(max, Math.abs(value)), 0);
  return STEPS.find((step) => step >= largest) ?? largest;
}

/** Where an amount stands in a bar's width, in percent: 50 is the centre. */
export function barPlace(value, limit) {
  return 50 + (Math.max(-limit, Math.min(limit, value)) / limit) * 50;
}

/** A bar from the centre to a value: {left, width, side} in percent; side is "white", "black" or "none". */
export function barOf(value, limit) {
  const place = barPlace(value, limit);
  return {
    left: Math.min(50, place),
    width: Math.abs(place - 50),
    side: value > 0 ? "white" : value < 0 ? "black" : "none",
  };
}
