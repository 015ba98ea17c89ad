// The bar beside the board: White's share of what may be expected.

import { h } from "./dom.js";
import { barShare } from "./lines.js";
import { expectation, scoreInWords } from "./score.js";

/** The bar: {element, show(score), turn(orientation)}. */
export function makeEvalBar({ texts }) {
  const white = h("div", { class: "eval-white" });
  const element = h("div", { class: "eval-bar", role: "img", "data-test": "eval-bar" }, white);

  const show = (score) => {
    const share = barShare(score, expectation);
    element.style.setProperty("--share", share.toFixed(4));
    const words = score ? scoreInWords(score, texts) : texts.t("analyse.unknown");
    element.setAttribute("aria-label", texts.t("analyse.bar", { words }));
  };
  const turn = (orientation) => element.classList.toggle("turned", orientation === "b");
  show(null);
  return { element, show, turn };
}
