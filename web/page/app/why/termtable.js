// A table of the evaluation's terms, each with a bar and, when it is opened, its features. Rows stay the
// same elements as their numbers change, so that a focus stays where it is and nothing flickers.

import { h, toggle, write } from "../analysis/dom.js";
import { barLimit, barOf, barPlace } from "./bars.js";

/**
 * `columns` names the three columns of numbers. `show(rows, {cells, value, ticks, note})` fills the table:
 * `cells(row)` are the texts of a row's columns, `value(row)` the length of its bar, `ticks(row)` what else
 * stands on its axis, `note(row)` what else is to be said of it. All bars that are seen have one scale.
 * `onLook(row)` is called with the row looked at, or null, `onKeep(row)` with the one chosen to stay.
 */
export class TermTable {
  #texts;
  #prefix;
  #onLook;
  #onKeep;
  #bodies = new Map(); // key of a term -> {body, head, about, features: Map}
  #opened = new Set();
  #kept = null;
  #rows = [];
  #layout = null;

  constructor({ texts, prefix, columns, onLook = () => {}, onKeep = () => {} }) {
    this.#texts = texts;
    this.#prefix = prefix;
    this.#onLook = onLook;
    this.#onKeep = onKeep;
    this.caption = h("caption", { class: "unseen" });
    const heads = [
      h("th", { scope: "col", role: "columnheader", text: "why.term" }),
      axisHead(),
      ...columns.map((name) => h("th", { scope: "col", role: "columnheader", class: "number", text: name })),
    ];
    this.foot = h("tfoot", { role: "rowgroup" });
    this.element = h("table", { class: "why-table", role: "table", "data-test": `${prefix}-table` },
      this.caption, h("thead", { role: "rowgroup" }, h("tr", { role: "row" }, heads)), this.foot);
    this.element.addEventListener("pointerleave", () => this.#look(null));
  }

  show(rows, layout) {
    this.#rows = rows;
    this.#layout = { ...layout, limit: this.#limit(rows, layout) };
    const shown = new Set(rows.map(({ key }) => key));
    for (const [key, { body }] of this.#bodies) {
      toggle(body, shown.has(key));
    }
    for (const row of rows) {
      this.#fill(this.#bodyOf(row.key), row);
    }
    const bodies = rows.map(({ key }) => this.#bodies.get(key).body);
    keepingFocus(() => placeInOrder(bodies, this.element, this.foot));
    this.#keepAgain();
  }

  #limit(rows, { value, ticks }) {
    const seen = rows.flatMap((row) => [row, ...(this.#opened.has(row.key) ? row.features : [])]);
    return barLimit(seen.flatMap((row) => [value(row), ...ticks(row)]));
  }

  /** The rows of sums at the end: [{name, cells}]. */
  showSums(sums) {
    this.foot.replaceChildren(...sums.map(({ name, text, cells, test }) => h(
      "tr",
      { role: "row", "data-test": test },
      h("th", { scope: "row", role: "rowheader" }, text ?? this.#texts.t(name)),
      h("td", { class: "bar-cell", role: "cell" }),
      cells.map((cell) => h("td", { class: "number", role: "cell" }, cell)),
    )));
  }

  #bodyOf(key) {
    if (!this.#bodies.has(key)) {
      this.#bodies.set(key, this.#makeBody(key));
    }
    return this.#bodies.get(key);
  }

  #makeBody(key) {
    const body = h("tbody", { role: "rowgroup", "data-term": key });
    const head = this.#makeRow(key, "term-row", {
      "aria-expanded": "false", onclick: () => this.#open(key),
    });
    const about = aboutRow("about-row");
    return { body, head, about, features: new Map() };
  }

  #makeRow(key, kind, buttonAttributes) {
    const name = h("span", { class: "row-name" });
    const button = h("button", { type: "button", class: "row-button", ...buttonAttributes }, name);
    const bar = makeBar();
    const cells = [0, 1, 2].map(() => h("td", { class: "number", role: "cell" }));
    const element = h("tr", { class: kind, role: "row", "data-key": key,
      onpointerenter: () => this.#look(key), onfocusin: () => this.#look(key),
      onfocusout: () => this.#look(null) },
    h("th", { scope: "row", role: "rowheader" }, button), bar.element, cells);
    return { element, button, name, bar, cells };
  }

  #open(key) {
    const opens = !this.#opened.has(key);
    if (opens) {
      this.#opened.add(key);
    } else {
      this.#opened.delete(key);
    }
    this.#kept = opens ? key : null;
    this.show(this.#rows, this.#layout);
  }

  #showOpened(key) {
    const isOpen = this.#opened.has(key);
    const { head, about, features } = this.#bodies.get(key);
    head.button.setAttribute("aria-expanded", String(isOpen));
    toggle(about, isOpen);
    for (const { element, about: text, isUsed } of features.values()) {
      toggle(element, isOpen && isUsed);
      toggle(text, isOpen && isUsed);
    }
  }

  #fill(parts, row) {
    this.#fillRow(parts.head, row);
    this.#fillAbout(parts.about, row);
    for (const feature of parts.features.values()) {
      feature.isUsed = false;
    }
    const order = row.features.flatMap((feature) => {
      const made = this.#featureOf(parts, feature.key);
      made.isUsed = true;
      this.#fillRow(made, feature);
      this.#fillAbout(made.about, feature);
      return [made.element, made.about];
    });
    keepingFocus(() => placeInOrder([parts.head.element, parts.about, ...order], parts.body, null));
    this.#showOpened(row.key);
  }

  #featureOf({ features }, key) {
    if (!features.has(key)) {
      const made = this.#makeRow(key, "feature-row", {
        "aria-pressed": "false", onclick: () => this.#keep(this.#kept === key ? null : key),
      });
      features.set(key, { ...made, about: aboutRow("about-row of-feature") });
    }
    return features.get(key);
  }

  #fillAbout(element, row) {
    const [about, sides] = element.firstChild.children;
    write(about, this.#texts.t(`term.${row.key}.text`));
    const text = this.#layout.note(row);
    write(sides, text);
    toggle(sides, text !== "");
  }

  #fillRow(made, row) {
    const { limit, cells, value, ticks } = this.#layout;
    write(made.name, this.#texts.t(`term.${row.key}`));
    made.bar.show(value(row), ticks(row), limit);
    cells(row).forEach((text, i) => write(made.cells[i], text));
    made.element.dataset.mg = row.mg;
    made.element.dataset.eg = row.eg;
  }

  #find(key) {
    for (const row of this.#rows) {
      const found = row.key === key ? row : row.features.find((feature) => feature.key === key);
      if (found) {
        return found;
      }
    }
    return null;
  }

  #look(key) {
    this.#onLook(key === null ? null : this.#find(key));
  }

  #keep(key) {
    this.#kept = key;
    this.#keepAgain();
  }

  #keepAgain() {
    this.#onKeep(this.#kept === null ? null : this.#find(this.#kept));
    for (const { features } of this.#bodies.values()) {
      for (const [key, { button }] of features) {
        button.setAttribute("aria-pressed", String(key === this.#kept));
      }
    }
  }
}

/**
 * Puts elements in this order among the first children of a parent, before `end`; those in place stay
 * untouched.
 */
function placeInOrder(elements, parent, end) {
  let place = parent.tagName === "TABLE" ? parent.tBodies[0] ?? end : parent.firstChild;
  for (const element of elements) {
    if (element === place) {
      place = place.nextSibling;
    } else {
      parent.insertBefore(element, place);
    }
  }
}

/** An element that moves loses the focus; it gets it back. */
function keepingFocus(change) {
  const focused = document.activeElement;
  change();
  if (focused !== document.activeElement) {
    focused?.focus({ preventScroll: true });
  }
}

function aboutRow(kind) {
  return h("tr", { class: kind, role: "row" },
    h("td", { colspan: "5", role: "cell" }, h("p", { class: "about" }), h("p", { class: "sides" })));
}

function axisHead() {
  return h("td", { class: "bar-cell axis", role: "cell", "aria-hidden": "true" },
    h("span", { text: "why.forBlack" }), h("span", { text: "why.forWhite" }));
}

/** A bar on its axis, with marks for middle game and end game. */
function makeBar() {
  const bar = h("span", { class: "bar" });
  const marks = ["mg", "eg"].map((name) => h("span", { class: `tick tick-${name}` }));
  const element = h("td", { class: "bar-cell", role: "cell", "aria-hidden": "true" },
    h("span", { class: "axis-line" }, bar, marks));
  const show = (value, ticks, limit) => {
    const { left, width, side } = barOf(value, limit);
    bar.style.left = `${left.toFixed(2)}%`;
    bar.style.width = `${width.toFixed(2)}%`;
    bar.dataset.side = side;
    marks.forEach((mark, i) => {
      toggle(mark, i < ticks.length);
      if (i < ticks.length) {
        mark.style.left = `${barPlace(ticks[i], limit).toFixed(2)}%`;
      }
    });
  };
  return { element, show };
}
