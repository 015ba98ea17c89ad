// What each side has of a term or a feature, as text.

import { amountText } from "./amounts.js";

/** "White +0.42 / +0.30 (2), Black −0.12 / −0.20 (1)", or "" where the sides are not told apart. */
export function sidesText({ white, black }, unit, texts) {
  return [["why.white", white], ["why.black", black]]
    .filter(([, side]) => side)
    .map(([name, side]) => texts.t(side.count === undefined ? "why.side" : "why.sideCount", {
      side: texts.t(name),
      mg: amountText(side.mg, unit, texts),
      eg: amountText(side.eg, unit, texts),
      count: side.count ?? 0,
    }))
    .join(" · ");
}
