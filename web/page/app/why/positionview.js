// The evaluation of one position: its terms as bars, the phase, and the way to the final value.

import { h, toggle, write } from "../analysis/dom.js";
import { amountText } from "./amounts.js";
import { makeArithmetic } from "./arithmeticview.js";
import { evaluationRows, isEmptyRow } from "./model.js";
import { makePhaseScale } from "./phaseview.js";
import { sidesText } from "./sides.js";
import { TermTable } from "./termtable.js";

/** The view: {element, show({evaluation, fen, unit})}. */
export function makePositionView({ texts, marks }) {
  const table = new TermTable({ texts, prefix: "why", columns: ["why.mgColumn", "why.egColumn", "why.counts"],
    onLook: (row) => marks.look(row?.squares ?? null), onKeep: (row) => marks.keep(row?.squares ?? null) });
  const phase = makePhaseScale({ texts });
  const pins = makePins({ texts, marks });
  const arithmetic = makeArithmetic({ texts });
  const legend = h("p", { class: "legend", "aria-hidden": "true" },
    h("span", { class: "key key-bar" }), h("span", { text: "why.legendBar" }),
    h("span", { class: "key tick-mg" }), h("span", { text: "why.mg" }),
    h("span", { class: "key tick-eg" }), h("span", { text: "why.eg" }));
  const element = h("div", { class: "why-position" }, phase.element, table.element, legend, pins.element,
    arithmetic.element);

  const show = ({ evaluation, fen, unit }) => {
    const rows = evaluationRows(evaluation)
      .map((row) => ({ ...row, features: row.features.filter((feature) => !isEmptyRow(feature)) }));
    const amount = (value) => amountText(value, unit, texts);
    phase.show(evaluation);
    write(table.caption, texts.t("why.caption"));
    table.show(rows, {
      cells: ({ mg, eg, value }) => [amount(mg), amount(eg), amount(value)],
      value: (row) => row.value,
      ticks: ({ mg, eg }) => [mg, eg],
      note: (row) => sidesText(row, unit, texts),
    });
    const { total, blended } = evaluation;
    table.showSums([{ name: "why.total", test: "why-total",
      cells: [amount(total.mg), amount(total.eg), amount(blended)] }]);
    pins.show(evaluation.pinned);
    arithmetic.show({ evaluation, fen, unit });
  };
  return { element, show };
}

/** The pinned pieces, with a button that shows them on the board. */
function makePins({ texts, marks }) {
  let squares = null;
  const text = h("span");
  const button = h("button", { type: "button", class: "row-button", text: "why.pins", "aria-pressed": "false",
    onclick: () => {
      const keeps = button.getAttribute("aria-pressed") === "false";
      button.setAttribute("aria-pressed", String(keeps));
      marks.keep(keeps ? squares : null);
    } });
  const element = h("p", { class: "pins", "data-test": "pins",
    onpointerenter: () => marks.look(squares), onpointerleave: () => marks.look(null),
    onfocusin: () => marks.look(squares), onfocusout: () => marks.look(null) }, button, " ", text);
  const show = ({ white, black }) => {
    squares = { white, black, both: [] };
    toggle(element, white.length + black.length > 0);
    write(text, [["why.white", white], ["why.black", black]]
      .filter(([, pinned]) => pinned.length > 0)
      .map(([side, pinned]) => `${texts.t(side)} ${pinned.join(", ")}`)
      .join("; "));
  };
  return { element, show };
}
