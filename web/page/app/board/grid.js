// The board for the keyboard and for screen readers: a grid of 64 cells over the drawing, each named by its
// square and what stands there. The arrow keys move the focus, Enter or the space bar chooses a square.
import { pieceAt } from "../fen.js";

const STEPS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

export class SquareGrid {
  #texts;
  #cells = []; // by row and column as they are seen
  #focused = [4, 6];
  #fen = "";
  #orientation = "w";
  #chosen = null;
  #targets = [];

  /**
   * @param {HTMLElement} root
   * @param {{texts: import("../i18n.js").Texts, onChoose: (square: string) => void,
   *   onCancel: () => void}} options
   */
  constructor(root, { texts, onChoose, onCancel }) {
    this.#texts = texts;
    this.element = document.createElement("div");
    this.element.className = "square-grid";
    this.element.setAttribute("role", "grid");
    for (let row = 0; row < 8; ++row) {
      this.#addRow(row);
    }
    root.append(this.element);
    this.element.addEventListener("keydown", (event) => this.#onKey(event, onChoose, onCancel));
    this.element.addEventListener("click", (event) => {
      const cell = event.target.closest("[role=gridcell]");
      if (cell) {
        onChoose(cell.dataset.square);
      }
    });
    texts.addEventListener("change", () => this.#name());
    this.#cells[6][4].tabIndex = 0;
  }

  #addRow(row) {
    const line = document.createElement("div");
    line.setAttribute("role", "row");
    this.#cells.push([]);
    for (let column = 0; column < 8; ++column) {
      const cell = document.createElement("div");
      cell.setAttribute("role", "gridcell");
      cell.tabIndex = -1;
      cell.addEventListener("focus", () => this.#moveTabStop(column, row));
      line.append(cell);
      this.#cells[row].push(cell);
    }
    this.element.append(line);
  }

  #moveTabStop(column, row) {
    const [oldColumn, oldRow] = this.#focused;
    this.#cells[oldRow][oldColumn].tabIndex = -1;
    this.#cells[row][column].tabIndex = 0;
    this.#focused = [column, row];
  }

  #onKey(event, onChoose, onCancel) {
    if (event.ctrlKey || event.altKey || event.metaKey) {
      return;
    }
    const step = STEPS[event.key];
    const [column, row] = this.#focused;
    if (step) {
      const inside = (n) => Math.max(0, Math.min(7, n));
      this.#cells[inside(row + step[1])][inside(column + step[0])].focus();
    } else if (event.key === "Enter" || event.key === " ") {
      onChoose(this.#cells[row][column].dataset.square);
    } else if (event.key === "Escape" && this.#chosen) {
      onCancel();
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  focus() {
    const [column, row] = this.#focused;
    this.#cells[row][column].focus();
  }

  /** Names the cells for a position and its orientation. */
  show(fen, orientation) {
    this.#fen = fen;
    this.#orientation = orientation;
    this.#name();
  }

  /** Tells which square is picked up and where its piece can go. */
  choose(square, targets) {
    this.#chosen = square;
    this.#targets = targets;
    this.#name();
  }

  #squareOf(row, column) {
    const [file, rank] = this.#orientation === "w" ? [column, 8 - row] : [7 - column, row + 1];
    return String.fromCharCode(97 + file) + rank;
  }

  #stateOf(square) {
    if (square === this.#chosen) {
      return [this.#texts.t("board.chosen")];
    }
    return this.#targets.includes(square) ? [this.#texts.t("board.target")] : [];
  }

  #name() {
    if (this.#fen === "") {
      return;
    }
    this.element.setAttribute("aria-label", this.#texts.t("board.name"));
    this.#cells.forEach((cells, row) => cells.forEach((cell, column) => {
      const square = this.#squareOf(row, column);
      const piece = pieceAt(this.#fen, square);
      const label = [square, this.#texts.t(pieceKey(piece)), ...this.#stateOf(square)].join(", ");
      if (cell.getAttribute("aria-label") !== label) {
        cell.setAttribute("aria-label", label);
      }
      cell.dataset.square = square;
      cell.setAttribute("aria-selected", String(square === this.#chosen));
    }));
  }
}

/** The key of the name of a piece, which FEN writes as `letter`; "": none. */
export function pieceKey(letter) {
  if (letter === "") {
    return "board.empty";
  }
  return `board.piece.${letter === letter.toUpperCase() ? "w" : "b"}${letter.toLowerCase()}`;
}
