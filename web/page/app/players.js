// The lines above and below the board: who plays, and the clocks.
import { clockText } from "./clock.js";

export class Players {
  #texts;
  #lines = {};

  /** @param {HTMLElement} top @param {HTMLElement} bottom */
  constructor(top, bottom, texts) {
    this.#texts = texts;
    this.#lines = { top: line(top), bottom: line(bottom) };
  }

  /** The names that a game's headers give, or the sides. */
  namesOf(game) {
    const { White, Black } = game.headers;
    return { w: White ?? this.#texts.t("say.side.w"), b: Black ?? this.#texts.t("say.side.b") };
  }

  /**
   * @param {{orientation: "w"|"b", names: {w: string, b: string}, clock: import("./clock.js").Clock | null,
   *   busy?: "w"|"b"|null, turn: "w"|"b"|null}} state busy: who is thinking
   */
  show({ orientation, names, clock, busy = null, turn }) {
    for (const [place, color] of [["bottom", orientation], ["top", orientation === "w" ? "b" : "w"]]) {
      const parts = this.#lines[place];
      setText(parts.name, names[color]);
      parts.root.dataset.color = color;
      setLabel(parts.root, `${this.#texts.t(`say.side.${color}`)}: ${names[color]}`);
      parts.root.classList.toggle("turn", turn === color);
      parts.root.classList.toggle("busy", busy === color);
      parts.clock.hidden = clock === null;
      if (clock !== null) {
        const ms = clock.remaining(color);
        setText(parts.clock, clockText(ms));
        parts.clock.classList.toggle("low", ms < 20000);
        setLabel(parts.clock, this.#texts.t("play.clock", { name: names[color] }));
      }
    }
  }
}

function line(root) {
  const part = (className, tag = "span") => {
    const element = document.createElement(tag);
    element.className = className;
    return element;
  };
  const parts = { root, dot: part("dot"), name: part("name"), dots: part("dots"), clock: part("clock") };
  parts.clock.setAttribute("role", "timer");
  parts.clock.hidden = true;
  parts.dots.setAttribute("aria-hidden", "true");
  parts.dots.append(part(""), part(""), part(""));
  root.append(parts.dot, parts.name, parts.dots, parts.clock);
  return parts;
}

function setLabel(element, label) {
  if (element.getAttribute("aria-label") !== label) {
    element.setAttribute("aria-label", label);
  }
}

function setText(element, text) {
  if (element.textContent !== text) {
    element.textContent = text;
  }
}
