// The board: cm-chessboard with marks, arrows, a grid for keyboard and screen readers, and the choice of
// promotion.
import { Chessboard, BORDER_TYPE, INPUT_EVENT_TYPE } from "cm-chessboard/Chessboard.js";
import { pieceAt } from "./fen.js";
import { SquareGrid } from "./board/grid.js";
import { Marks } from "./board/marks.js";
import { askPromotion } from "./board/promotion.js";

const SPRITE_ID = "cm-chessboard-sprite"; // cm-chessboard takes its pieces from the element of this name
const ANIMATION_MS = 180;
const MOVE_DONE = "moveDone"; // cm-chessboard's state of input between a move and the end of its animation
const NO_INPUT = { colors: "", legalTargets: () => [], onMove: () => {} };

/** Loads the drawings of the pieces into the page; rejects when they are not to be had. */
export async function loadPieces(url) {
  const response = await fetch(url);
  if (!response.ok) {
    throw new Error(`${response.status}`);
  }
  const drawing = new DOMParser().parseFromString(await response.text(), "image/svg+xml").documentElement;
  document.getElementById(SPRITE_ID).replaceChildren(document.importNode(drawing, true));
}

function prepareSprite() {
  const holder = document.createElement("div");
  holder.id = SPRITE_ID;
  holder.className = "sprite";
  holder.setAttribute("aria-hidden", "true");
  document.body.append(holder);
}

/** Dispatches "orientation" when the board is turned. */
export class Board extends EventTarget {
  #input = NO_INPUT;
  #picked = null; // the square picked up by keyboard
  #wanted = null; // {fen, animated} to be shown in the next frame
  #fen;
  #calm = matchMedia("(prefers-reduced-motion: reduce)");

  /**
   * @param {HTMLElement} root
   * @param {{fen: string, texts: import("./i18n.js").Texts}} options
   */
  constructor(root, { fen, texts }) {
    super();
    this.root = root;
    this.texts = texts;
    this.#fen = fen;
    prepareSprite();
    this.chessboard = new Chessboard(root, {
      position: fen,
      assetsUrl: "./",
      style: {
        cssClass: "morvane", borderType: BORDER_TYPE.none, showCoordinates: true,
        animationDuration: ANIMATION_MS,
        pieces: { file: "pieces.svg", tileSize: 40 },
      },
      extensions: [{ class: Marks }],
    });
    const { svg, coordinatesGroup, piecesLayer } = this.chessboard.view;
    svg.removeAttribute("role");
    svg.setAttribute("aria-hidden", "true");
    svg.insertBefore(coordinatesGroup, piecesLayer); // above the marks
    this.marks = this.chessboard.getExtension(Marks);
    this.grid = new SquareGrid(root, {
      texts, onChoose: (square) => this.#choose(square), onCancel: () => this.#pick(null),
    });
    this.grid.show(fen, "w");
  }

  /** The position shown. */
  get fen() {
    return this.#fen;
  }

  /** Shows a position, in the next frame; of several in one frame the last. */
  show(fen, animated = true) {
    if (this.#wanted === null) {
      requestAnimationFrame(() => this.#showWanted());
    }
    this.#fen = fen;
    this.#wanted = { fen, animated: animated && !this.#calm.matches && !document.hidden };
  }

  #showWanted() {
    const { fen, animated } = this.#wanted;
    this.#wanted = null;
    this.#pick(null);
    this.chessboard.setPosition(fen, animated);
    this.grid.show(fen, this.orientation);
  }

  /** "w" or "b": the side that sits below. */
  get orientation() {
    return this.chessboard.state.orientation;
  }

  set orientation(color) {
    if (color === this.orientation) {
      return;
    }
    const turn = () => {
      const { state, view } = this.chessboard;
      state.orientation = color;
      view.redrawBoard();
      view.redrawPieces();
      this.grid.show(this.#fen, color);
      this.dispatchEvent(new CustomEvent("orientation"));
    };
    if (this.chessboard.positionAnimationsQueue.workingOnPromise) {
      this.chessboard.positionAnimationsQueue.enqueue(async () => turn());
    } else {
      turn();
    }
  }

  /** Puts the keyboard's focus on the board. */
  focus() {
    this.grid.focus();
  }

  flip() {
    this.orientation = this.orientation === "w" ? "b" : "w";
  }

  /**
   * Who may move, and what happens then: `colors` "w", "b", "wb" or ""; `legalTargets(square)` squares;
   * `onMove(from, to, promotion)` is called with legal moves only.
   */
  setMoveInput(input) {
    const colors = input?.colors ?? "";
    const same = colors === this.#input.colors;
    this.#input = { ...NO_INPUT, ...input };
    if (same) {
      return;
    }
    this.#pick(null);
    if (!this.#isMoving) {
      this.chessboard.cancelMoveInput(); // a move that was made ends its input itself, after its animation
    }
    this.chessboard.disableMoveInput();
    if (colors !== "") {
      const only = colors === "wb" ? undefined : colors;
      this.chessboard.enableMoveInput((event) => this.#onPointer(event), only);
    }
  }

  /** Whether a piece that was moved by hand is still on its way. */
  get #isMoving() {
    return this.chessboard.view.visualMoveInput.moveInputState === MOVE_DONE;
  }

  /** A dialog that opened earlier would take the end of the pointer's movement away from the board. */
  async #moveDone() {
    while (this.#isMoving) {
      await new Promise(requestAnimationFrame);
    }
  }

  /** Makes a move as if by hand; false where it may not be made. A promotion not given is asked for. */
  move(from, to, promotion) {
    if (!this.#targets(from).includes(to)) {
      return false;
    }
    if (promotion) {
      this.#pick(null);
      this.#input.onMove(from, to, promotion);
      return true;
    }
    return this.#attempt(from, to);
  }

  /** Marks these squares with a kind, and no others: "last", "check", "hint", "term-white" … */
  mark(kind, squares) {
    this.marks.mark(kind, squares);
  }

  unmark(kind) {
    this.marks.unmark(kind);
  }

  arrow(kind, from, to) {
    this.marks.arrow(kind, from, to);
  }

  clearArrows(kind) {
    this.marks.clearArrows(kind);
  }

  #onPointer(event) {
    switch (event.type) {
      case INPUT_EVENT_TYPE.moveInputStarted:
        this.#pick(event.squareFrom);
        return this.#picked !== null;
      case INPUT_EVENT_TYPE.validateMoveInput:
        event.animate = !this.#calm.matches;
        return this.#attempt(event.squareFrom, event.squareTo);
      case INPUT_EVENT_TYPE.movingOverSquare:
        this.marks.mark("over", event.squareTo && this.#targets(event.squareFrom).includes(event.squareTo)
          ? [event.squareTo] : []);
        return undefined;
      case INPUT_EVENT_TYPE.moveInputCanceled:
        this.#pick(null);
        return undefined;
      default:
        return undefined;
    }
  }

  #targets(square) {
    const piece = pieceAt(this.#fen, square);
    const color = piece === piece.toUpperCase() ? "w" : "b";
    return piece !== "" && this.#input.colors.includes(color) ? this.#input.legalTargets(square) : [];
  }

  /** Picks up the piece on a square if it can move, and shows where; null puts it down. */
  #pick(square) {
    const targets = square === null ? [] : this.#targets(square);
    const picked = targets.length > 0 ? square : null;
    if (picked === null && this.#picked === null) {
      return;
    }
    this.#picked = picked;
    const taken = (target) => pieceAt(this.#fen, target) !== "";
    this.marks.mark("picked", picked ? [picked] : []);
    this.marks.mark("target", targets.filter((target) => !taken(target)));
    this.marks.mark("capture", targets.filter(taken));
    this.marks.unmark("over");
    this.grid.choose(picked, targets);
  }

  /** A square chosen by keyboard or screen reader. */
  #choose(square) {
    if (this.#picked !== null && this.#picked !== square && this.#targets(this.#picked).includes(square)) {
      this.#attempt(this.#picked, square);
    } else {
      this.#pick(this.#picked === square ? null : square);
    }
  }

  /** Makes a move if it is legal. True: the piece may stay where it was put. */
  #attempt(from, to) {
    if (!this.#targets(from).includes(to)) {
      this.#pick(null);
      return false;
    }
    const piece = pieceAt(this.#fen, from);
    this.#pick(null);
    if (piece.toLowerCase() === "p" && (to[1] === "8" || to[1] === "1")) {
      this.#promote(from, to, piece === "P" ? "w" : "b");
    } else {
      this.#input.onMove(from, to, undefined);
    }
    return true;
  }

  async #promote(from, to, color) {
    const fen = this.#fen;
    await this.#moveDone();
    const promotion = await askPromotion(this.root, color, this.texts);
    if (promotion !== null && this.#fen === fen) {
      this.#input.onMove(from, to, promotion);
    } else {
      this.show(this.#fen, false);
    }
  }
}
