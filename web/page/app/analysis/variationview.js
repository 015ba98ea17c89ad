// The engine's line as moves to choose: chosen, a move is looked at on the board without being played.

import { h, toggle, write } from "./dom.js";
import { moveNumberText, variationMoves } from "./variation.js";

const OWNER = "variation";
const STEPS = { ArrowLeft: -1, ArrowUp: -1, ArrowRight: 1, ArrowDown: 1, Home: -Infinity, End: Infinity };

/**
 * The line: {element, show(state)}. While one of its moves is looked at, the line stays as it is, though
 * the engine may have found another.
 */
export class VariationView {
  #preview;
  #texts;
  #moves = [];
  #shownPv = "";
  #state = null;

  constructor({ preview, texts }) {
    this.#preview = preview;
    this.#texts = texts;
    this.list = h("ol", { class: "variation", label: "analyse.variation", "data-test": "variation",
      onkeydown: (event) => this.#onKey(event) });
    this.none = h("p", { class: "hint", text: "analyse.noLine" });
    this.bar = h(
      "div",
      { class: "preview-bar", "data-test": "preview-bar" },
      h("span", { class: "preview-note", text: "analyse.previewed" }),
      this.#button("analyse.stepBack", "\u25c0", () => this.#step(-1), "step-back"),
      this.#button("analyse.stepOn", "\u25b6", () => this.#step(1), "step-on"),
      h("button", { type: "button", text: "analyse.back", "data-test": "preview-back",
        onclick: () => this.#leave(() => preview.back()) }),
      h("button", { type: "button", text: "analyse.add", "data-test": "preview-add",
        onclick: () => this.#leave(() => preview.addToGame()) }),
    );
    this.element = h("div", { class: "line-box", tabindex: "-1" }, this.list, this.none, this.bar);
    preview.addEventListener("change", () => this.#follow());
    texts.addEventListener("change", () => this.#render());
    this.#follow();
  }

  #button(label, sign, onclick, test) {
    return h("button", { type: "button", class: "step", label, onclick, "data-test": test },
      h("span", { "aria-hidden": "true" }, sign));
  }

  /** Shows the line of an analysis. */
  show(state) {
    this.#state = state;
    this.#update();
  }

  get #isOurs() {
    return this.#preview.shown?.owner === OWNER;
  }

  /** How many of its moves are on the board. */
  get #steps() {
    return this.#isOurs ? this.#preview.shown.moves.length : 0;
  }

  #update() {
    if (this.#isOurs || !this.#state) {
      return;
    }
    const { fen, pv } = this.#state;
    const key = `${fen} ${pv.join(" ")}`;
    if (key !== this.#shownPv) {
      this.#shownPv = key;
      this.#moves = variationMoves(fen, pv);
      this.#render();
    }
  }

  /** Writes the moves into the buttons that are there, so that a focus stays and nothing flickers. */
  #render() {
    const moves = this.#moves;
    while (this.list.children.length > moves.length) {
      this.list.lastChild.remove();
    }
    moves.forEach((move, i) => {
      const item = this.list.children[i] ?? this.list.appendChild(this.#item(i));
      write(item.firstChild, moveNumberText(move, i === 0));
      write(item.lastChild, move.san);
    });
    toggle(this.list, moves.length > 0);
    toggle(this.none, moves.length === 0);
    this.#markStep();
  }

  #item(i) {
    return h("li", {}, h("span", { class: "move-number" }), h("button", {
      type: "button",
      tabindex: i === 0 ? "0" : "-1",
      onclick: () => this.#goto(i + 1),
    }));
  }

  #goto(steps) {
    const wanted = Math.max(0, Math.min(this.#moves.length, steps));
    if (wanted === 0) {
      this.#preview.back();
    } else {
      this.#preview.show(this.#moves.slice(0, wanted), OWNER);
    }
  }

  #step(by) {
    this.#goto(this.#steps + by);
  }

  #onKey(event) {
    const by = STEPS[event.key];
    if (event.key === "Escape" && this.#isOurs) {
      this.#preview.back();
    } else if (by !== undefined && !event.ctrlKey && !event.altKey && !event.metaKey) {
      const items = [...this.list.children];
      const at = items.findIndex((item) => item.contains(document.activeElement));
      const to = Math.max(0, Math.min(items.length - 1, at + by));
      this.#goto(to + 1);
      items[to].lastChild.focus();
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  /** Leaves the preview; the focus goes to the line, as the button that had it goes away. */
  #leave(how) {
    how();
    const move = this.#moves.length > 0 ? this.list.querySelector("button[tabindex='0']") : null;
    (move ?? this.element).focus();
  }

  #follow() {
    this.#update();
    this.#markStep();
  }

  #markStep() {
    const steps = this.#steps;
    toggle(this.bar, this.#isOurs);
    [...this.list.children].forEach((item, i) => {
      const button = item.lastChild;
      const isHere = i === steps - 1;
      button.tabIndex = isHere || (steps === 0 && i === 0) ? 0 : -1;
      if (isHere) {
        button.setAttribute("aria-current", "step");
      } else {
        button.removeAttribute("aria-current");
      }
      item.classList.toggle("played", i < steps);
    });
    this.#reveal(this.list.children[steps - 1]);
  }

  /** Scrolls the list, and nothing else, to where a move is seen. */
  #reveal(item) {
    if (item) {
      const top = item.offsetTop - this.list.offsetTop;
      const low = top + item.offsetHeight - this.list.clientHeight;
      this.list.scrollTop = Math.max(low, Math.min(top, this.list.scrollTop));
    }
  }
}
