// Why of a move: which terms a legal move changes, and by how much. The moves stand in a list, best first
// by their evaluation alone; a move that is hovered or focused is compared, one that is chosen is also
// tried on the board.

import { h, toggle, write } from "../analysis/dom.js";
import { legalMoves, moveParts } from "../analysis/variation.js";
import { amountText } from "./amounts.js";
import { rankMoves } from "./difference.js";
import { makeDifferenceView } from "./differenceview.js";
import { newestOnly } from "./feed.js";

const OWNER = "why-move";
const ARROW = "tried";
const STEPS = { ArrowLeft: -1, ArrowUp: -1, ArrowRight: 1, ArrowDown: 1, Home: -Infinity, End: Infinity };

/** The part: {element, show(unit), leave()}. */
export class MovePart {
  #game;
  #board;
  #texts;
  #preview;
  #feed;
  #unit = "pawns";
  #fen = "";
  #before = null;
  #moves = []; // ranked, with their evaluations
  #compared = null; // uci

  constructor({ game, board, texts, marks, preview, feed }) {
    this.#game = game;
    this.#board = board;
    this.#texts = texts;
    this.#preview = preview;
    this.#feed = feed;
    this.list = h("ul", { class: "why-moves", label: "why.moves", "data-test": "why-moves",
      onkeydown: (event) => this.#onKey(event),
      onpointerleave: () => this.#compare(this.#tried) });
    this.none = h("p", { class: "hint", text: "why.noMoves" });
    this.heading = h("h2", { "data-test": "why-compared" });
    this.buttons = h("p", { class: "buttons" },
      this.#button("analyse.back", () => preview.back()),
      this.#button("analyse.add", () => preview.addToGame()));
    this.difference = makeDifferenceView({ texts, marks, prefix: "why-move" });
    const hint = h("p", { class: "hint", text: "why.movesHint" });
    this.element = h("div", { class: "why-part", tabindex: "-1" },
      hint, this.list, this.none, this.heading, this.buttons, this.difference.element);
    this.load = newestOnly((fen) => this.#evaluateAll(fen), (found, fen) => this.#loaded(found, fen));
  }

  /** A button that goes away with what it does; the focus goes to the moves. */
  #button(text, act) {
    return h("button", { type: "button", text, onclick: () => {
      act();
      (this.list.querySelector("button[tabindex='0']") ?? this.element).focus();
    } });
  }

  get #tried() {
    const { shown } = this.#preview;
    return shown?.owner === OWNER ? shown.moves[0].uci : null;
  }

  show(unit) {
    this.#unit = unit;
    if (this.#fen !== this.#game.fen) {
      this.#fen = this.#game.fen;
      this.#compared = null;
      this.#moves = [];
      this.#before = null;
      this.load(this.#fen);
    }
    if (this.#tried) {
      this.#compared = this.#tried;
    }
    this.#render();
  }

  leave() {
    this.#board.clearArrows(ARROW);
    if (this.#tried) {
      this.#preview.back();
    }
  }

  /** Tries a move on the board that was made there. */
  tryMove(from, to, promotion = "") {
    const uci = from + to + promotion;
    const move = legalMoves(this.#game.fen).find((legal) => legal.uci === uci);
    if (move) {
      this.#try(move);
    }
  }

  async #evaluateAll(fen) {
    const moves = legalMoves(fen);
    const before = await this.#feed.of(fen);
    const evaluations = await Promise.all(moves.map((move) => this.#feed.of(move.fen)));
    const evaluated = moves.map((move, i) => ({ ...move, evaluation: evaluations[i] }));
    return { before, moves: rankMoves(before, evaluated) };
  }

  #loaded(found, fen) {
    if (found && fen === this.#fen) {
      this.#before = found.before;
      this.#moves = found.moves;
      this.#compared = this.#tried ?? found.moves[0]?.uci ?? null;
      this.#render();
    }
  }

  #render() {
    while (this.list.children.length > this.#moves.length) {
      this.list.lastChild.remove();
    }
    const limit = this.#moves.reduce((max, { gain }) => Math.max(max, Math.abs(gain)), 1);
    this.#moves.forEach((move, i) => this.#renderMove(this.list.children[i] ?? this.#addItem(), move, limit));
    toggle(this.none, this.#moves.length === 0 && this.#before !== null);
    this.#renderDifference();
  }

  #addItem() {
    const button = h(
      "button",
      {
        type: "button",
        class: "why-move",
        onpointerenter: () => this.#compare(button.dataset.uci),
        onfocus: () => this.#compare(button.dataset.uci),
        onclick: () => this.#choose(button.dataset.uci),
      },
      h("span", { class: "san" }),
      h("span", { class: "gain" }),
    );
    const item = h("li", {}, button);
    this.list.append(item);
    return item;
  }

  #renderMove(item, { uci, san, gain }, limit) {
    const button = item.firstChild;
    const isCompared = uci === this.#compared;
    button.dataset.uci = uci;
    button.style.setProperty("--share", `${((Math.abs(gain) / limit) * 100).toFixed(1)}%`);
    button.dataset.gain = gain < 0 ? "less" : "more";
    button.tabIndex = isCompared ? 0 : -1;
    button.setAttribute("aria-pressed", String(uci === this.#tried));
    button.classList.toggle("compared", isCompared);
    write(button.firstChild, san);
    write(button.lastChild, amountText(gain, this.#unit, this.#texts));
  }

  #renderDifference() {
    const move = this.#moves.find(({ uci }) => uci === this.#compared);
    toggle(this.difference.element, Boolean(move));
    toggle(this.heading, Boolean(move));
    toggle(this.buttons, this.#tried !== null);
    this.#board.clearArrows(ARROW);
    if (!move) {
      return;
    }
    if (!this.#tried) {
      const { from, to } = moveParts(move.uci);
      this.#board.arrow(ARROW, from, to);
    }
    write(this.heading, this.#texts.t("why.moveChanges", { move: move.san }));
    const onBoard = this.#tried ? "after" : "before";
    this.difference.show({ before: this.#before, after: move.evaluation, unit: this.#unit, onBoard });
  }

  #compare(uci) {
    if (uci !== null && uci !== this.#compared) {
      this.#compared = uci;
      this.#render();
    }
  }

  #choose(uci) {
    if (uci === this.#tried) {
      this.#preview.back();
    } else {
      this.#try(this.#moves.find((move) => move.uci === uci));
    }
  }

  #try({ uci, fen }) {
    this.#preview.show([{ uci, fen }], OWNER);
  }

  #onKey(event) {
    const by = STEPS[event.key];
    if (event.key === "Escape" && this.#tried) {
      this.#preview.back();
    } else if (by !== undefined && !event.ctrlKey && !event.altKey && !event.metaKey) {
      const items = [...this.list.children];
      const at = items.findIndex((item) => item.contains(document.activeElement));
      items[Math.max(0, Math.min(items.length - 1, at + by))]?.firstChild.focus();
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }
}
