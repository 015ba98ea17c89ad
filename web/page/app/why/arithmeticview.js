// The way from the totals to the final value, as sums to follow.

import { h, toggle, write } from "../analysis/dom.js";
import { clockOf } from "../analysis/variation.js";
import { amountText } from "./amounts.js";
import { arithmetic, FADE_LENGTH, FULL_PHASE, FULL_SCALE } from "./model.js";

const STEPS = ["totals", "scale", "phase", "fade", "final"];

/** The steps: {element, show({evaluation, fen, unit})}. */
export function makeArithmetic({ texts }) {
  const parts = Object.fromEntries(STEPS.map((name) => {
    const sum = h("span", { class: "sum", "data-test": `sum-${name}` });
    const note = h("span", { class: "hint" });
    const title = h("span", { class: "step-name", text: `why.step.${name}` });
    return [name, { sum, note, item: h("li", {}, title, sum, note) }];
  }));
  const warning = h("p", { class: "error", text: "why.disagrees" });
  const element = h("section", { class: "arithmetic", "aria-labelledby": "arithmetic-title" },
    h("h2", { id: "arithmetic-title", text: "why.arithmetic" }),
    h("ol", {}, STEPS.map((name) => parts[name].item)),
    h("p", { class: "hint", text: "why.cut" }), warning);

  const show = ({ evaluation, fen, unit }) => {
    const steps = arithmetic(evaluation, fen);
    const { turn } = clockOf(fen);
    const sums = sumTexts(steps, turn, (value) => amountText(value, unit, texts), texts);
    for (const name of STEPS) {
      write(parts[name].sum, sums[name]);
      write(parts[name].note, texts.t(noteKey(name, steps)));
    }
    toggle(warning, !steps.agrees);
  };
  return { element, show };
}

function sumTexts(steps, turn, amount, texts) {
  const value = turn === "w" ? steps.faded : -steps.faded;
  const forMover = texts.t(turn === "w" ? "why.whiteToMove" : "why.blackToMove", { value: amount(value) });
  const { phase, egShare, scale, fadeLeft } = steps;
  return {
    totals: texts.t("why.totals", { mg: amount(steps.mg), eg: amount(steps.eg) }),
    scale: `${amount(steps.eg)} \u00d7 ${scale}/${FULL_SCALE} = ${amount(steps.scaledEg)}`,
    phase: `(${phase} \u00d7 ${amount(steps.mg)} + ${egShare} \u00d7 ${amount(steps.scaledEg)})`
      + ` / ${FULL_PHASE} = ${amount(steps.blended)}`,
    fade: `${amount(steps.blended)} \u00d7 ${fadeLeft}/${FADE_LENGTH} = ${amount(steps.faded)}`,
    final: `${amount(steps.faded)} (${forMover})`,
  };
}

function noteKey(name, { scale, clock }) {
  if (name === "scale") {
    return scale === FULL_SCALE ? "why.scaleFull" : scale === 0 ? "why.scaleDrawn" : "why.scaleLess";
  }
  if (name === "fade") {
    return clock === 0 ? "why.fadeNone" : "why.fadeSome";
  }
  return `why.note.${name}`;
}
