// Short ways to make elements.

const SVG = "http://www.w3.org/2000/svg";

/**
 * An element with attributes and children. Attributes whose value is false or null are left out, true ones
 * are empty; "on…" ones are listeners; "text" names the text of its content, "label" and "title" those of
 * these attributes.
 */
export function h(tag, attributes = {}, ...children) {
  return fill(document.createElement(tag), attributes, children);
}

/** The same for drawings. */
export function svg(tag, attributes = {}, ...children) {
  return fill(document.createElementNS(SVG, tag), attributes, children);
}

const TEXTS = { text: "data-text", label: "data-text-label", title: "data-text-title" };

function fill(element, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) {
      element.addEventListener(name.slice(2), value);
    } else if (value !== null && value !== undefined && value !== false) {
      element.setAttribute(TEXTS[name] ?? name, value === true ? "" : value);
    }
  }
  element.append(...children.flat().filter((child) => child !== null && child !== undefined));
  return element;
}

/** Writes text into an element if it is not there already. */
export function write(element, text) {
  if (element.textContent !== text) {
    element.textContent = text;
  }
}

/** Shows or hides an element. */
export function toggle(element, isShown) {
  element.hidden = !isShown;
}

/**
 * A choice of one of several values, as radio buttons in a row: `options` is [{value, text}], text the name
 * of its text.
 */
export function choice({ name, label, options, value, onChange, hasLegend = false }) {
  const inputs = options.map((option) => h("input", {
    type: "radio",
    name,
    value: option.value,
    checked: option.value === value,
    onchange: () => onChange(option.value),
  }));
  const labels = options.map((option, i) => h("label", {}, inputs[i], h("span", { text: option.text })));
  const legend = h("legend", { class: hasLegend ? null : "unseen", text: label });
  return h("fieldset", { class: "choice" }, legend, labels);
}

/** A live region that says no more than one thing in a while: the newest when the time has come. */
export class Announcer {
  #timer = null;
  #next = null;

  constructor(milliseconds = 4000) {
    this.milliseconds = milliseconds;
    this.element = h("p", { class: "unseen", role: "status" });
  }

  say(text) {
    this.#next = text;
    if (this.#timer === null) {
      this.#speak();
    }
  }

  #speak() {
    const text = this.#next;
    this.#next = null;
    if (text === null) {
      this.#timer = null;
      return;
    }
    write(this.element, text);
    this.#timer = setTimeout(() => this.#speak(), this.milliseconds);
  }
}
