// A position that is looked at without being in the game: a step of a variation, or a move tried.

import { moveParts } from "./variation.js";

/** Dispatches "change" when another position is looked at, and when the game is back. */
export class Preview extends EventTarget {
  #game;
  #board;
  #shown = null;

  constructor({ game, board }) {
    super();
    this.#game = game;
    this.#board = board;
    game.addEventListener("change", ({ detail }) => {
      if (detail?.kind !== "marks") {
        this.#forget();
      }
    });
  }

  /** Whether something other than the game is on the board. */
  get active() {
    return this.#shown !== null;
  }

  /** The position on the board. */
  get fen() {
    return this.#shown?.fen ?? this.#game.fen;
  }

  /** What `show` was told. */
  get shown() {
    return this.#shown;
  }

  /**
   * Shows moves from the game's position: [{uci, fen}] each; the last one's position is on the board.
   * `owner` tells who shows it.
   */
  show(moves, owner) {
    const { uci, fen } = moves.at(-1);
    const { from, to } = moveParts(uci);
    this.#shown = { moves, fen, owner };
    this.#board.show(fen);
    this.#board.mark("last", [from, to]);
    this.#board.unmark("check");
    this.#changed();
  }

  /** Back to the game. */
  back() {
    if (!this.active) {
      return;
    }
    this.#shown = null;
    this.#board.show(this.#game.fen);
    const last = this.#game.lastMove;
    this.#board.mark("last", last ? [last.from, last.to] : []);
    this.#board.mark("check", this.#game.inCheck ? [this.#game.kingSquare] : []);
    this.#changed();
  }

  /** Plays the moves that are shown in the game. */
  addToGame() {
    const moves = this.#shown?.moves ?? [];
    this.#shown = null;
    for (const { uci } of moves) {
      this.#game.play(uci);
    }
    this.#changed();
  }

  #forget() {
    if (this.active) {
      this.#shown = null;
      this.#changed();
    }
  }

  #changed() {
    this.dispatchEvent(new CustomEvent("change"));
  }
}
