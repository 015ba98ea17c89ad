// Why after the variation: what is different at the end of the engine's line.

import { h, toggle, write } from "../analysis/dom.js";
import { shortScore } from "../analysis/score.js";
import { switchAnalysis } from "../analysis/shared.js";
import { variationMoves, variationText } from "../analysis/variation.js";
import { newestOnly } from "./feed.js";
import { makeDifferenceView } from "./differenceview.js";

const OWNER = "why-variation";

/** The part: {element, show(unit), leave()}. */
export function makeVariationPart({ game, texts, marks, session, preview, feed, settings }) {
  const line = h("p", { class: "why-line", "data-test": "why-line" });
  const about = h("p", { class: "hint" });
  const none = h("p", { class: "hint", text: "why.noLine" });
  const begin = h("button", { type: "button", text: "why.begin", "data-test": "why-begin",
    onclick: () => switchAnalysis(true, { session, settings }) });
  const look = h("button", { type: "button", class: "look", text: "why.lookAtEnd", "aria-pressed": "false",
    "data-test": "why-look", onclick: () => (isLooked() ? preview.back() : preview.show(moves, OWNER)) });
  const difference = makeDifferenceView({ texts, marks, prefix: "why-variation" });
  const buttons = h("p", { class: "buttons" }, begin, look);
  const element = h("div", { class: "why-part" }, about, line, none, buttons, difference.element);
  let moves = [];
  let found = null; // {depth, score} of the moves
  let shownFor = "";

  const isLooked = () => preview.shown?.owner === OWNER;
  const ask = newestOnly(
    (from, to) => Promise.all([feed.of(from), feed.of(to)]),
    (evaluations, from, to, unit) => {
      toggle(difference.element, evaluations !== null);
      if (evaluations) {
        const [before, after] = evaluations;
        difference.show({ before, after, unit, onBoard: isLooked() ? "after" : "before" });
      }
    },
  );

  const show = (unit) => {
    const { state } = session;
    if (!isLooked()) {
      moves = state.fen === game.fen ? variationMoves(state.fen, state.pv) : [];
      found = state;
    }
    const hasLine = moves.length > 0;
    write(line, hasLine ? variationText(moves) : "");
    write(about, hasLine ? aboutLine(found, texts) : "");
    toggle(line, hasLine);
    toggle(about, hasLine);
    toggle(none, !hasLine);
    toggle(begin, !session.on && !hasLine);
    toggle(look, hasLine);
    look.setAttribute("aria-pressed", String(isLooked()));
    const key = [game.fen, moves.at(-1)?.fen, unit, texts.language, isLooked()].join();
    if (!hasLine) {
      toggle(difference.element, false);
    } else if (key !== shownFor) {
      ask(game.fen, moves.at(-1).fen, unit);
    }
    shownFor = hasLine ? key : "";
  };
  const leave = () => {
    if (isLooked()) {
      preview.back();
    }
  };
  return { element, show, leave };
}

function aboutLine({ depth, score }, texts) {
  return texts.t("why.lineScore", { depth, score: shortScore(score, texts) });
}
