// The terms beside the analysis: name, bar and amount of each, for the position on the board.

import { h, toggle, write } from "../analysis/dom.js";
import { perFrame } from "../analysis/frame.js";
import { amountText } from "./amounts.js";
import { barLimit, barOf } from "./bars.js";
import { feedOf, newestOnly } from "./feed.js";
import { evaluationRows, TERMS } from "./model.js";
import { unitOf } from "./unit.js";

/** The list with its switch: {element, watch(looks)}. */
export function makeCompactWhy({ preview, engine, texts, settings }) {
  const feed = feedOf(engine);
  const items = Object.fromEntries(TERMS.map((key) => [key, makeItem(key)]));
  const value = h("span", { class: "amount" });
  const list = h("ul", { class: "why-compact", label: "why.compactLabel", "data-test": "why-compact" },
    TERMS.map((key) => items[key].element),
    h("li", { class: "compact-total" }, h("span", { text: "why.value" }), h("span"), value));
  const element = h("details", { class: "compact-box", "data-test": "compact-box" },
    h("summary", { text: "why.compact" }), list);
  element.open = settings.get("analysis.why", false, (open) => typeof open === "boolean");

  let isWatched = false;
  const ask = newestOnly((fen) => feed.of(fen), (evaluation) => {
    toggle(list, evaluation !== null);
    if (evaluation) {
      fill(evaluation);
    }
  });
  const fill = (evaluation) => {
    const unit = unitOf(settings);
    const rows = evaluationRows(evaluation);
    const limit = barLimit(rows.map((row) => row.value));
    for (const row of rows) {
      items[row.key].show(row.value, limit, amountText(row.value, unit, texts));
    }
    write(value, amountText(evaluation.white, unit, texts));
  };
  const update = perFrame(() => {
    if (isWatched && element.open) {
      ask(preview.fen);
    }
  });
  element.addEventListener("toggle", () => {
    settings.set("analysis.why", element.open);
    update();
  });
  return {
    element,
    watch(looks) {
      isWatched = looks;
      update();
    },
    update,
  };
}

function makeItem(key) {
  const bar = h("span", { class: "bar" });
  const amount = h("span", { class: "amount" });
  const element = h("li", { "data-term": key }, h("span", { text: `term.${key}` }),
    h("span", { class: "axis-line", "aria-hidden": "true" }, bar), amount);
  const show = (value, limit, text) => {
    const { left, width, side } = barOf(value, limit);
    bar.style.left = `${left.toFixed(2)}%`;
    bar.style.width = `${width.toFixed(2)}%`;
    bar.dataset.side = side;
    write(amount, text);
  };
  return { element, show };
}
