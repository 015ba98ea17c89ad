// The review of the whole game: how long for each position, progress, the graph, and what it says as a table.

import { h, toggle, write } from "./dom.js";
import { makeGraph, moveName } from "./graphview.js";
import { MARKS } from "./review.js";
import { shortScore } from "./score.js";

const LIMITS = {
  "0.1": { movetime: 100 },
  "0.3": { movetime: 300 },
  "1": { movetime: 1000 },
  "3": { movetime: 3000 },
  "100k": { nodes: 100000 },
  "1M": { nodes: 1000000 },
};
const DEFAULT_LIMIT = "0.3";
const PERCENT = { style: "percent", maximumFractionDigits: 0 };

/** The panel: {element, show()}. */
export function makeReviewPanel({ game, texts, settings, review, onChoose }) {
  const limit = h("select", { id: "review-limit", "data-test": "review-limit",
    onchange: () => settings.set("review.limit", limit.value) },
  Object.keys(LIMITS).map((value) => h("option", { value })));
  limit.value = settings.get("review.limit", DEFAULT_LIMIT, (value) => value in LIMITS);
  const start = h("button", { type: "button", text: "analyse.reviewStart", "data-test": "review-start",
    onclick: () => {
      review.start(LIMITS[limit.value]).catch(() => {}); // the engine's state tells of failures
    } });
  const cancel = h("button", { type: "button", text: "analyse.reviewCancel", "data-test": "review-cancel",
    onclick: () => {
      review.cancel();
      start.focus();
    } });
  const bar = h("progress", { label: "analyse.reviewProgress", "data-test": "review-progress" });
  const graph = makeGraph({ game, texts, onChoose });
  const summary = makeSummary(texts);
  const table = makeTable({ game, texts });
  const results = h("div", { class: "review-results" }, graph.element, summary.element, table.element);
  const status = h("p", { class: "unseen", role: "status" });
  const element = h(
    "section",
    { class: "review", "aria-labelledby": "review-title" },
    h("h2", { id: "review-title", text: "analyse.review" }),
    h("div", { class: "review-controls" },
      h("p", { class: "field" }, h("label", { for: "review-limit", text: "analyse.reviewLimit" }), limit),
      start, cancel, bar),
    results,
    status,
  );

  let wasRunning = false;
  const show = () => {
    const { progress } = review;
    for (const option of limit.options) {
      write(option, limitText(option.value, texts));
    }
    start.disabled = game.moves.length === 0;
    toggle(start, !progress);
    toggle(cancel, Boolean(progress));
    toggle(bar, Boolean(progress));
    if (progress) {
      bar.max = progress.total;
      bar.value = progress.done;
    }
    if (wasRunning !== Boolean(progress)) {
      wasRunning = Boolean(progress);
      write(status, texts.t(wasRunning ? "analyse.reviewRuns" : "analyse.reviewDone"));
    }
    const isShown = !review.isEmpty && game.moves.length > 0;
    toggle(results, isShown);
    if (isShown) {
      graph.show(review);
      summary.show(review.counts);
      table.show(review);
    }
  };
  return { element, show };
}

function limitText(value, texts) {
  const { movetime, nodes } = LIMITS[value];
  return movetime
    ? texts.t("analyse.seconds", { s: texts.number(movetime / 1000) })
    : texts.t("analyse.nodesEach", { n: texts.number(nodes) });
}

/** How many marks each side got, with the rule. */
function makeSummary(texts) {
  const cells = { w: [], b: [] };
  const rowOf = (color, name) => h("tr", {}, h("th", { scope: "row", text: name }), MARKS.map(() => {
    const cell = h("td");
    cells[color].push(cell);
    return cell;
  }));
  const heads = MARKS.map(({ name, mark }) => h("th", { scope: "col", title: `analyse.rule.${name}` },
    h("span", { class: `sign mark-${name}`, "aria-hidden": "true" }, mark),
    h("span", { text: `analyse.many.${name}` })));
  const element = h(
    "div",
    { class: "review-summary" },
    h("table", { "data-test": "review-summary" },
      h("caption", { class: "unseen", text: "analyse.summary" }),
      h("thead", {}, h("tr", {}, h("td"), heads)),
      h("tbody", {}, rowOf("w", "analyse.white"), rowOf("b", "analyse.black"))),
    h("details", {},
      h("summary", { text: "analyse.ruleTitle" }),
      h("p", { class: "hint", text: "analyse.rule" })),
  );
  const show = (counts) => {
    for (const color of ["w", "b"]) {
      MARKS.forEach(({ name }, i) => write(cells[color][i], texts.number(counts[color][name])));
    }
  };
  return { element, show };
}

/** The graph as a table, filled while it is open. */
function makeTable({ game, texts }) {
  const rows = h("tbody");
  const columns = ["move", "score", "loss", "mark"];
  const heads = columns.map((name) => h("th", { scope: "col", text: `analyse.${name}` }));
  const element = h("details", { class: "review-table", "data-test": "review-table" },
    h("summary", { text: "analyse.asTable" }),
    h("div", { class: "scrolls", tabindex: "0", role: "region", label: "analyse.asTable" },
      h("table", {}, h("thead", {}, h("tr", {}, heads)), rows)));
  let review = null;
  const render = () => {
    if (element.open && review) {
      rows.replaceChildren(...review.judgements.map((judgement) => tableRow(judgement, review, game, texts)));
    }
  };
  element.addEventListener("toggle", render);
  const show = (next) => {
    review = next;
    render();
  };
  return { element, show };
}

function tableRow({ ply, loss, mark }, { scores }, game, texts) {
  const score = scores[ply]?.score;
  const kind = MARKS.find((candidate) => candidate.mark === mark);
  return h(
    "tr",
    {},
    h("th", { scope: "row" }, moveName(game, ply)),
    h("td", {}, score ? shortScore(score, texts) : "\u2013"),
    h("td", {}, loss === null ? "\u2013" : texts.number(loss, PERCENT)),
    h("td", {}, kind ? `${mark} ${texts.t(`analyse.${kind.name}`)}` : ""),
  );
}
