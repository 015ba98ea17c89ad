// The difference between two evaluations: the terms that change, the largest change first.

import { h, toggle, write } from "../analysis/dom.js";
import { amountText } from "./amounts.js";
import { evaluationDifference } from "./difference.js";
import { TermTable } from "./termtable.js";

/**
 * The view: {element, show({before, after, unit, onBoard})}; `onBoard` tells which of the two positions is on
 * the board, "before" or "after". `prefix` tells its table from others.
 */
export function makeDifferenceView({ texts, marks, prefix }) {
  let shown = "before";
  const squaresOf = (row) => row?.squares[shown] ?? null;
  const table = new TermTable({ texts, prefix, columns: ["why.before", "why.after", "why.change"],
    onLook: (row) => marks.look(squaresOf(row)), onKeep: (row) => marks.keep(squaresOf(row)) });
  const phase = h("p", { class: "hint" });
  const element = h("div", { class: "why-difference" }, table.element, phase);

  const show = ({ before, after, unit, onBoard }) => {
    shown = onBoard;
    const difference = evaluationDifference(before, after);
    const amount = (value) => amountText(value, unit, texts);
    write(table.caption, texts.t("why.differenceCaption"));
    table.show(difference.rows, {
      cells: (row) => [amount(row.before.value), amount(row.after.value), amount(row.change)],
      value: (row) => row.change,
      ticks: () => [],
      note: (row) => texts.t("why.pairChange", { mg: amount(row.mg), eg: amount(row.eg) }),
    });
    table.showSums(sumsOf(difference, before, after, amount));
    write(phase, phaseText(difference, texts));
    toggle(phase, phase.textContent !== "");
  };
  return { element, show };
}

function sumsOf({ fade, rounding, total }, before, after, amount) {
  const parts = [
    ["why.fadeChange", fade],
    ["why.rounding", rounding],
  ].filter(([, value]) => Math.abs(value) >= 0.5);
  return [
    ...parts.map(([name, value]) => ({ name, cells: ["", "", amount(value)] })),
    { name: "why.value", test: "difference-total",
      cells: [amount(before.white), amount(after.white), amount(total)] },
  ];
}

function phaseText({ phase, scale }, texts) {
  const changed = [];
  if (phase[0] !== phase[1]) {
    changed.push(texts.t("why.phaseChange", { before: phase[0], after: phase[1] }));
  }
  if (scale[0] !== scale[1]) {
    changed.push(texts.t("why.scaleChange", { before: scale[0], after: scale[1] }));
  }
  return changed.join(" ");
}
