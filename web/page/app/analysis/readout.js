// What the running analysis has found, in numbers and in one line of moves, with the lines of the depths
// before.

import { h, write } from "./dom.js";
import { shortCount, shortTime } from "./lines.js";
import { scoreInWords, shortScore } from "./score.js";
import { variationMoves, variationText } from "./variation.js";

const FIGURES = ["depth", "nodes", "speed", "time"];

/** The readout: {element, show(state, {on, running})}. */
export function makeReadout({ texts }) {
  const score = h("strong", { class: "score", "data-test": "score" });
  const words = h("span", { class: "score-words" });
  const values = Object.fromEntries(FIGURES.map((name) => [name, h("dd", { "data-test": name })]));
  const figures = h("dl", { class: "figures" }, FIGURES.map((name) => (
    h("div", {}, h("dt", { text: `analyse.${name}` }), values[name])
  )));
  const history = makeHistory(texts);
  const element = h("div", { class: "readout" }, h("p", { class: "score-line" }, score, words), figures);

  const show = (state, status) => {
    write(score, state.score ? shortScore(state.score, texts) : "\u2013");
    score.dataset.side = sideOf(state.score);
    write(words, wordsFor(state, status, texts));
    for (const [name, text] of Object.entries(figureTexts(state, texts))) {
      write(values[name], text);
    }
    history.show(state);
  };
  return { element, history: history.element, show };
}

function sideOf(score) {
  if (!score) {
    return "none";
  }
  if (score.mate !== undefined) {
    return score.winner === "w" ? "white" : "black";
  }
  return score.cp > 0 ? "white" : score.cp < 0 ? "black" : "none";
}

function wordsFor(state, { on, running, failed }, texts) {
  if (state.end) {
    return texts.t(`analyse.end.${state.end}`);
  }
  if (state.score) {
    return scoreInWords(state.score, texts);
  }
  if (running) {
    return texts.t("analyse.begins");
  }
  if (failed) {
    return texts.t("analyse.failed");
  }
  return texts.t(on ? "analyse.waits" : "analyse.off");
}

function figureTexts({ depth, seldepth, nodes, nps, time }, texts) {
  const selective = seldepth > depth ? `${depth}/${seldepth}` : `${depth}`;
  return {
    depth: depth === 0 ? "\u2013" : selective,
    nodes: shortCount(nodes, texts),
    speed: texts.t("analyse.perSecond", { n: shortCount(nps, texts) }),
    time: shortTime(time, texts),
  };
}

/** The line of every depth so far, in a table that is filled while it is open. */
function makeHistory(texts) {
  const rows = h("tbody");
  const heads = ["depth", "score", "line"].map((name) => h("th", { scope: "col", text: `analyse.${name}` }));
  const element = h(
    "details",
    { class: "history", "data-test": "history" },
    h("summary", { text: "analyse.history" }),
    h("div", { class: "scrolls", tabindex: "0", role: "region", label: "analyse.history" },
      h("table", {}, h("thead", {}, h("tr", {}, heads)), rows)),
  );
  let state = null;
  let made = new WeakMap(); // rows by entry: each is written once
  const rowOf = (entry) => {
    if (!made.has(entry)) {
      made.set(entry, historyRow(entry, state.fen, texts));
    }
    return made.get(entry);
  };
  const render = () => {
    if (element.open && state) {
      rows.replaceChildren(...state.history.map(rowOf));
    }
  };
  element.addEventListener("toggle", render);
  texts.addEventListener("change", () => {
    made = new WeakMap();
    render();
  });
  const show = (next) => {
    const isNew = next.history !== state?.history;
    state = next;
    if (isNew) {
      render();
    }
  };
  return { element, show };
}

function historyRow({ depth, score, pv }, fen, texts) {
  return h(
    "tr",
    {},
    h("td", {}, String(depth)),
    h("td", {}, shortScore(score, texts)),
    h("td", { class: "line" }, variationText(variationMoves(fen, pv))),
  );
}

/** The button that switches the analysis on and off: {element, show(on)}. */
export function makeSwitch({ onSwitch }) {
  const element = h(
    "button",
    { type: "button", class: "switch", role: "switch", "data-test": "analysis-switch", onclick: onSwitch },
    h("span", { class: "switch-knob", "aria-hidden": "true" }),
    h("span", { text: "analyse.switch" }),
  );
  const show = (on) => element.setAttribute("aria-checked", String(on));
  show(false);
  return { element, show };
}

