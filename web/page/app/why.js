// The view Why: the evaluation of the position on the board, after the engine's line, and of a move.

import { choice, h, toggle, write } from "./analysis/dom.js";
import { perFrame } from "./analysis/frame.js";
import { sharedBy } from "./analysis/shared.js";
import { amountText, UNITS } from "./why/amounts.js";
import { feedOf, newestOnly } from "./why/feed.js";
import { MovePart } from "./why/movepart.js";
import { makePositionView } from "./why/positionview.js";
import { SquareMarks } from "./why/squaremarks.js";
import { chooseUnit, unitOf } from "./why/unit.js";
import { makeVariationPart } from "./why/variationpart.js";

const MODES = ["position", "variation", "move"];
const MODE_SETTING = "why.mode";

/** The view in <section id="view-why">: {show(), hide()}. */
export function create({ game, board, engine, texts, settings }) {
  const { session, preview } = sharedBy({ game, board, engine, settings });
  const feed = feedOf(engine);
  const marks = new SquareMarks(board);
  const parts = {
    position: makePositionPart({ texts, marks, preview, feed }),
    variation: makeVariationPart({ game, texts, marks, session, preview, feed, settings }),
    move: new MovePart({ game, board, texts, marks, preview, feed }),
  };
  let mode = settings.get(MODE_SETTING, MODES[0], (value) => MODES.includes(value));
  let isShown = false;

  const render = perFrame(() => {
    if (!isShown) {
      return;
    }
    for (const name of MODES) {
      toggle(parts[name].element, name === mode);
    }
    parts[mode].show(unitOf(settings));
  });
  const takeMoves = () => {
    const act = mode === "move"
      ? (from, to, promotion) => parts.move.tryMove(from, to, promotion)
      : (from, to, promotion = "") => game.play(from + to + promotion);
    board.setMoveInput(moveInput({ game, preview, colors: mode === "move" ? game.turn : "wb", act }));
  };
  const chooseMode = (next) => {
    parts[mode].leave();
    marks.clear();
    mode = next;
    settings.set(MODE_SETTING, mode);
    session.watch("why", mode === "variation");
    takeMoves();
    render();
  };

  const root = document.getElementById("view-why");
  root.append(
    modeChoice(mode, chooseMode),
    ...MODES.map((name) => parts[name].element),
    unitChoice(settings, render),
  );
  for (const source of [game, preview]) {
    source.addEventListener("change", () => {
      if (isShown) {
        takeMoves();
        render();
      }
    });
  }
  session.addEventListener("change", () => {
    if (mode === "variation") {
      render();
    }
  });
  engine.addEventListener("state", render);
  texts.addEventListener("change", () => {
    texts.apply(root);
    render();
  });
  texts.apply(root);

  return {
    show() {
      isShown = true;
      session.watch("why", mode === "variation");
      takeMoves();
      render();
    },
    hide() {
      isShown = false;
      session.watch("why", false);
      parts[mode].leave();
      preview.back();
      marks.clear();
    },
  };
}

/** What moves made on the board do; none can be made while something else than the game is on it. */
function moveInput({ game, preview, colors, act }) {
  return {
    colors,
    legalTargets: (square) => (preview.active ? [] : game.legalTargets(square)),
    onMove: act,
  };
}

function modeChoice(mode, onChange) {
  const options = MODES.map((value) => ({ value, text: `why.mode.${value}` }));
  return choice({ name: "why-mode", label: "why.show", value: mode, options, onChange });
}

function unitChoice(settings, render) {
  const options = UNITS.map((value) => ({ value, text: `why.unit.${value}` }));
  const onChange = (unit) => {
    chooseUnit(settings, unit);
    render();
  };
  const value = unitOf(settings);
  return choice({ name: "why-unit", label: "why.unit", hasLegend: true, value, options, onChange });
}

/** The evaluation of the position on the board, with its value in front. */
function makePositionPart({ texts, marks, preview, feed }) {
  const value = h("strong", { class: "score", "data-test": "why-value" });
  const words = h("span", { class: "score-words", text: "why.staticValue" });
  const view = makePositionView({ texts, marks });
  const none = h("p", { class: "hint", text: "why.none" });
  const line = h("p", { class: "score-line" }, value, words);
  const element = h("div", { class: "why-part" }, line, view.element, none);
  toggle(view.element, false);
  const ask = newestOnly((fen) => feed.of(fen), (evaluation, fen, unit) => {
    toggle(view.element, evaluation !== null);
    toggle(none, evaluation === null);
    write(value, evaluation ? amountText(evaluation.white, unit, texts) : "\u2013");
    if (evaluation) {
      view.show({ evaluation, fen, unit });
    }
  });
  toggle(none, false);
  return { element, show: (unit) => ask(preview.fen, unit), leave: () => {} };
}
