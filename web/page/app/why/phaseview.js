// The phase of the game as a scale between middle game and end game.

import { h, write } from "../analysis/dom.js";
import { FULL_PHASE } from "./model.js";

/** The scale: {element, show({phase})}. */
export function makePhaseScale({ texts }) {
  const knob = h("span", { class: "phase-knob" });
  const mg = h("span", { class: "phase-end" });
  const eg = h("span", { class: "phase-end" });
  const element = h("div", { class: "phase", role: "img", "data-test": "phase" },
    mg, h("span", { class: "phase-track", "aria-hidden": "true" }, knob), eg);
  const show = ({ phase }) => {
    const share = phase / FULL_PHASE;
    const percent = (value) => texts.number(value, { style: "percent", maximumFractionDigits: 0 });
    knob.style.left = `${((1 - share) * 100).toFixed(2)}%`;
    write(mg, `${texts.t("why.mg")} ${percent(share)}`);
    write(eg, `${texts.t("why.eg")} ${percent(1 - share)}`);
    element.setAttribute("aria-label", texts.t("why.phaseLabel", {
      phase, mg: percent(share), eg: percent(1 - share),
    }));
  };
  return { element, show };
}
