// The view Analyse: the running analysis, its line, and the review of the whole game.

import { Announcer, h, toggle } from "./analysis/dom.js";
import { makeEvalBar } from "./analysis/evalbar.js";
import { perFrame } from "./analysis/frame.js";
import { makeOptions } from "./analysis/options.js";
import { makeReadout, makeSwitch } from "./analysis/readout.js";
import { GameReview } from "./analysis/reviewmodel.js";
import { makeReviewPanel } from "./analysis/reviewpanel.js";
import { scoreInWords } from "./analysis/score.js";
import { sharedBy, switchAnalysis } from "./analysis/shared.js";
import { moveParts } from "./analysis/variation.js";
import { VariationView } from "./analysis/variationview.js";
import { makeCompactWhy } from "./why/compact.js";

const ARROW = "best";
const SPOKEN_DEPTHS = 5;

/** The view in <section id="view-analyse">: {show(), hide()}. */
export function create({ game, board, engine, texts, settings, notices }) {
  const { session, preview } = sharedBy({ game, board, engine, settings });
  const review = new GameReview({ game, engine, session, settings });
  const evalBar = makeEvalBar({ texts });
  const parts = makeParts({ game, engine, texts, settings, notices, session, preview, review });
  const root = document.getElementById("view-analyse");
  root.append(...parts.elements);
  document.getElementById("board-side").append(evalBar.element);
  toggle(evalBar.element, false);

  const arrow = makeBestArrow(board);
  let isShown = false;
  const whileShown = (show) => perFrame(() => {
    if (isShown) {
      show();
    }
  });
  const renderLive = whileShown(() => {
    parts.showLive();
    evalBar.show(boardScore(session, preview, review, game));
    arrow.show(session.on && !preview.active ? session.state.pv[0] : undefined);
  });
  const renderRest = whileShown(() => parts.showRest());
  const render = () => {
    renderLive();
    renderRest();
    parts.follow();
  };

  session.addEventListener("change", renderLive);
  for (const source of [preview, game, review]) {
    source.addEventListener("change", render);
  }
  engine.addEventListener("state", renderRest);
  board.addEventListener("orientation", () => evalBar.turn(board.orientation));
  texts.addEventListener("change", () => {
    texts.apply(root);
    render();
  });
  texts.apply(root);

  return {
    show() {
      isShown = true;
      evalBar.turn(board.orientation);
      toggle(evalBar.element, true);
      parts.watch(true);
      session.watch("analyse", true);
      render();
    },
    hide() {
      isShown = false;
      toggle(evalBar.element, false);
      parts.watch(false);
      session.watch("analyse", false);
      review.cancel();
      preview.back();
      arrow.show(undefined);
    },
  };
}

function makeParts({ game, engine, texts, settings, notices, session, preview, review }) {
  const button = makeSwitch({ onSwitch: () => switchAnalysis(!session.on, { session, settings }) });
  const readout = makeReadout({ texts });
  const line = new VariationView({ preview, texts });
  const options = makeOptions({ engine, texts, settings, notices });
  const why = makeCompactWhy({ preview, engine, texts, settings });
  const panel = makeReviewPanel({ game, texts, settings, review, onChoose: (ply) => game.goto(ply) });
  const announcer = new Announcer();
  const speak = makeSpeaker(announcer, texts);
  const load = h("button", { type: "button", text: "analyse.import", "data-test": "import",
    onclick: () => document.getElementById("open-position").click() });
  return {
    elements: [
      h("div", { class: "analysis-head" }, button.element, load),
      readout.element,
      line.element,
      readout.history,
      why.element,
      options.element,
      panel.element,
      announcer.element,
    ],
    watch: (looks) => why.watch(looks),
    follow: () => why.update(),
    showLive() {
      const { state } = session;
      button.show(session.on);
      readout.show(state, session);
      line.show(state);
      speak(state);
    },
    showRest() {
      options.show();
      panel.show();
    },
  };
}

/** Says the score at few depths: it changes faster than anybody listens. */
function makeSpeaker(announcer, texts) {
  let spoken = "";
  return ({ score, depth, fen }) => {
    const reached = Math.floor(depth / SPOKEN_DEPTHS) * SPOKEN_DEPTHS;
    const key = `${fen} ${reached}`;
    if (score && reached > 0 && key !== spoken) {
      spoken = key;
      announcer.say(texts.t("analyse.spoken", { depth: reached, words: scoreInWords(score, texts) }));
    }
  };
}

/** What is known of the position on the board: the analysis, else the review. */
function boardScore(session, preview, review, game) {
  return preview.active ? session.state.score : session.state.score ?? review.scores[game.ply]?.score ?? null;
}

/** The arrow of the best move: drawn when it changes. */
function makeBestArrow(board) {
  let shown;
  const show = (uci) => {
    if (uci === shown) {
      return;
    }
    shown = uci;
    board.clearArrows(ARROW);
    if (uci) {
      const { from, to } = moveParts(uci);
      board.arrow(ARROW, from, to);
    }
  };
  return { show };
}
