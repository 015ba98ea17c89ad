// The graph of a game's scores: a drawing to click, and a slider for the keyboard and for screen readers.

import { h, svg } from "./dom.js";
import {
  areaPath, graphPoints, graphX, graphY, GRAPH_GRID, linePath, plyAt,
} from "./graph.js";
import { MARKS } from "./review.js";
import { scoreInWords, shortScore } from "./score.js";
import { moveNumberText } from "./variation.js";

const SIZE = { width: 600, height: 150 };
const MARGIN = 6; // for what stands on the edge
const VIEW_BOX = `${-MARGIN} ${-MARGIN} ${SIZE.width + 2 * MARGIN} ${SIZE.height + 2 * MARGIN}`;
const STEPS = {
  ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10,
  Home: -Infinity, End: Infinity,
};

/** A move of the game with its number: "12. Nf3", "12… Nf6". */
export function moveName(game, ply) {
  const { number, color } = numberOf(game, ply);
  return `${moveNumberText({ number, color }, true)}\u00a0${game.moves[ply - 1].san}`;
}

function numberOf(game, ply) {
  const { color } = game.moves[ply - 1];
  const beginsBlack = game.moves[0].color === "b" ? 1 : 0;
  return { number: game.firstMoveNumber + Math.floor((ply - 1 + beginsBlack) / 2), color };
}

/** The graph: {element, show(review)}. */
export function makeGraph({ game, texts, onChoose }) {
  const area = svg("path", { class: "graph-area" });
  const line = svg("path", { class: "graph-line" });
  const here = svg("line", { class: "graph-here", y1: 0, y2: SIZE.height });
  const dots = svg("g");
  const grid = GRAPH_GRID.map((centipawns) => {
    const y = graphY(centipawns, SIZE.height);
    const kind = centipawns === 0 ? "graph-zero" : "graph-grid";
    return svg("line", { class: kind, x1: 0, x2: SIZE.width, y1: y, y2: y });
  });
  const back = svg("rect", { class: "graph-back", ...SIZE });
  const layers = [back, area, ...grid, line, here, dots];
  const drawing = svg("svg", { viewBox: VIEW_BOX, "aria-hidden": "true" }, layers);
  const element = h("div", { class: "graph", role: "slider", tabindex: "0", label: "analyse.graph",
    "aria-valuemin": "0", "data-test": "graph" }, drawing);

  element.addEventListener("keydown", (event) => {
    const by = STEPS[event.key];
    if (by !== undefined && !event.ctrlKey && !event.altKey && !event.metaKey) {
      onChoose(Math.max(0, Math.min(game.moves.length, game.ply + by)));
      event.preventDefault();
      event.stopPropagation();
    }
  });
  element.addEventListener("click", (event) => {
    const { left, width } = drawing.getBoundingClientRect();
    const unit = width / (SIZE.width + 2 * MARGIN);
    onChoose(plyAt(event.clientX - left - MARGIN * unit, game.moves.length, SIZE.width * unit));
  });

  const show = (review) => {
    const plies = game.moves.length;
    const points = graphPoints(review.scores, plies, SIZE);
    area.setAttribute("d", areaPath(points, SIZE.height));
    line.setAttribute("d", linePath(points));
    dots.replaceChildren(...points.flatMap((point) => dotsOf(point, review, game, texts)));
    const x = graphX(game.ply, plies, SIZE.width);
    here.setAttribute("x1", x);
    here.setAttribute("x2", x);
    element.setAttribute("aria-valuemax", String(plies));
    element.setAttribute("aria-valuenow", String(game.ply));
    element.setAttribute("aria-valuetext", valueText(review, game, texts));
  };
  return { element, show };
}

function dotsOf({ ply, x, y, score, isMate }, review, game, texts) {
  const mark = review.judgements[ply - 1]?.mark;
  if (!mark && !isMate) {
    return [];
  }
  const kind = MARKS.find((candidate) => candidate.mark === mark)?.name ?? "mate";
  const title = ply === 0 ? shortScore(score, texts)
    : `${moveName(game, ply)}${mark ?? ""} ${shortScore(score, texts)}`;
  const shape = mark
    ? svg("circle", { class: `graph-dot mark-${kind}`, cx: x, cy: y, r: kind === "blunder" ? 6 : 4.5 })
    : svg("rect", { class: "graph-mate", x: x - 1.5, y: y - 4, width: 3, height: 8 });
  shape.append(svg("title", {}, title));
  return [shape];
}

function valueText(review, game, texts) {
  const { ply } = game;
  const score = review.scores[ply]?.score;
  const mark = MARKS.find((candidate) => candidate.mark === review.judgements[ply - 1]?.mark);
  return [
    ply === 0 ? texts.t("analyse.start") : moveName(game, ply),
    mark && texts.t(`analyse.${mark.name}`),
    score ? scoreInWords(score, texts) : texts.t("analyse.unknown"),
  ].filter(Boolean).join(", ");
}
