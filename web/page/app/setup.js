// A board to set up a position by hand: a palette of pieces, 64 squares, the side to move, castling rights.
import { pieceImage } from "./board/promotion.js";
import { element } from "./dialogs.js";
import { pieceAt, START_FEN } from "./fen.js";

const PALETTE = ["wk", "wq", "wr", "wb", "wn", "wp", "bk", "bq", "br", "bb", "bn", "bp"];
const ERASER = "eraser";
const FILES = "abcdefgh";
const STEPS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

export class SetUpBoard {
  #texts;
  #onChange;
  #pieces = {}; // square -> "wk"
  #cells = {}; // square -> element
  #rest = "- 0 1"; // en passant and counters of the position shown, while nothing was changed

  constructor(texts, onChange) {
    this.#texts = texts;
    this.#onChange = onChange;
    this.element = element("div", { class: "set-up" });
    this.element.append(this.#board(), this.#palette(), this.#sideToMove(), this.#castling());
  }

  /** Shows a position. */
  show(fen = START_FEN) {
    const [, side, castling, ...rest] = fen.split(" ");
    this.#pieces = {};
    for (const square of Object.keys(this.#cells)) {
      const letter = pieceAt(fen, square);
      if (letter) {
        this.#pieces[square] = (letter === letter.toUpperCase() ? "w" : "b") + letter.toLowerCase();
      }
    }
    this.#input(`[value="${side}"]`).checked = true;
    for (const right of "KQkq") {
      this.#input(`[value="${right}"]`).checked = castling.includes(right);
    }
    this.#draw();
    this.#onChange();
    this.#rest = rest.join(" ");
  }

  clear() {
    this.show("8/8/8/8/8/8/8/8 w - - 0 1");
  }

  /** The position as FEN text, right or wrong. */
  fen() {
    const rows = [8, 7, 6, 5, 4, 3, 2, 1].map((rank) => [...FILES].map((file) => {
      const piece = this.#pieces[file + rank];
      return piece ? (piece[0] === "w" ? piece[1].toUpperCase() : piece[1]) : "1";
    }).join("").replace(/1+/g, (empty) => String(empty.length)));
    const castling = [..."KQkq"].filter((right) => this.#input(`[value="${right}"]`).checked).join("") || "-";
    const side = this.#input('[name="set-up-side"]:checked').value;
    return `${rows.join("/")} ${side} ${castling} ${this.#rest}`;
  }

  #input(selector) {
    return this.element.querySelector(`input${selector}`);
  }

  #changed() {
    this.#rest = "- 0 1";
    this.#onChange();
  }

  #board() {
    const grid = element("div", {
      class: "set-up-board", role: "grid", "aria-label": this.#texts.t("board.name"),
    });
    for (let rank = 8; rank >= 1; --rank) {
      const row = element("div", { role: "row" });
      for (const file of FILES) {
        const square = file + rank;
        const shade = (FILES.indexOf(file) + rank) % 2 === 0 ? "light" : "dark";
        const cell = element("div", {
          role: "gridcell", tabindex: square === "e4" ? "0" : "-1", class: shade, "data-set-up": square,
        });
        this.#cells[square] = cell;
        row.append(cell);
      }
      grid.append(row);
    }
    grid.addEventListener("click", ({ target }) =>
      this.#put(target.closest("[role=gridcell]")?.dataset.setUp));
    grid.addEventListener("keydown", (event) => this.#onKey(event));
    grid.addEventListener("focusin", (event) => {
      Object.values(this.#cells).forEach((cell) => { cell.tabIndex = cell === event.target ? 0 : -1; });
    });
    return grid;
  }

  #onKey(event) {
    const square = event.target.dataset.setUp;
    const step = STEPS[event.key];
    if (step) {
      const inside = (n) => Math.max(0, Math.min(7, n));
      const file = FILES[inside(FILES.indexOf(square[0]) + step[0])];
      this.#cells[file + (8 - inside(8 - Number(square[1]) + step[1]))].focus();
    } else if (event.key === "Enter" || event.key === " ") {
      this.#put(square);
    } else {
      return;
    }
    event.preventDefault();
  }

  #put(square) {
    if (!square) {
      return;
    }
    const piece = this.#input('[name="set-up-piece"]:checked').value;
    if (piece === ERASER || this.#pieces[square] === piece) {
      delete this.#pieces[square];
    } else {
      this.#pieces[square] = piece;
    }
    this.#draw();
    this.#changed();
  }

  #draw() {
    for (const [square, cell] of Object.entries(this.#cells)) {
      const piece = this.#pieces[square] ?? "";
      if (cell.dataset.piece !== piece) {
        cell.dataset.piece = piece;
        cell.replaceChildren(...(piece ? [pieceImage(piece)] : []));
        const name = this.#texts.t(piece ? `board.piece.${piece}` : "board.empty");
        cell.setAttribute("aria-label", `${square}, ${name}`);
      }
    }
  }

  #palette() {
    const group = this.#group("position.palette", "palette");
    for (const piece of [...PALETTE, ERASER]) {
      const input = element("input", { type: "radio", name: "set-up-piece", value: piece });
      input.checked = piece === "wk";
      const name = this.#texts.t(piece === ERASER ? "position.eraser" : `board.piece.${piece}`);
      input.setAttribute("aria-label", name);
      const face = element("span", { title: name });
      face.append(piece === ERASER ? "×" : pieceImage(piece));
      group.append(label(input, face));
    }
    group.append(element("p", { class: "hint" }, this.#texts.t("position.palette.hint")));
    return group;
  }

  #sideToMove() {
    const group = this.#group("position.toMove", "");
    for (const side of ["w", "b"]) {
      const input = element("input", { type: "radio", name: "set-up-side", value: side });
      input.checked = side === "w";
      group.append(label(input, element("span", {}, this.#texts.t(`say.side.${side}`))));
    }
    return group;
  }

  #castling() {
    const group = this.#group("position.castling", "");
    for (const right of "KQkq") {
      const input = element("input", { type: "checkbox", value: right });
      group.append(label(input, element("span", {}, this.#texts.t(`position.castling.${right}`))));
    }
    return group;
  }

  #group(key, className) {
    const group = element("fieldset", { class: `choice ${className}`.trim() });
    group.append(element("legend", {}, this.#texts.t(key)));
    group.addEventListener("change", ({ target }) => target.name !== "set-up-piece" && this.#changed());
    return group;
  }
}

function label(input, face) {
  const made = element("label");
  made.append(input, face);
  return made;
}
