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
  /** Moves made on the board are tried where a move's difference is shown. */
  const takeMoves = () => {
    const tries = mode === "move";
    board.setMoveInput({
      colors: tries ? game.turn : "wb",
      legalTargets: (square) => (preview.active ? [] : game.legalTargets(square)),
      onMove: (from, to, promotion = "") => (
        tries ? parts.move.tryMove(from, to, promotion) : game.play(from + to + promotion)
      ),
    });
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
    choice({ name: "why-mode", label: "why.show", value: mode, onChange: chooseMode,
      options: MODES.map((value) => ({ value, text: `why.mode.${value}` })) }),
    ...MODES.map((name) => parts[name].element),
    choice({ name: "why-unit", label: "why.unit", hasLegend: true, value: unitOf(settings),
      onChange: (unit) => {
        chooseUnit(settings, unit);
        render();
      },
      options: UNITS.map((value) => ({ value, text: `why.unit.${value}` })) }),
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
