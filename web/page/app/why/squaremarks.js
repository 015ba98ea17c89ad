// The squares that a row of the evaluation is about, shown on the board: those of the row looked at, else
// those of the row that was chosen to stay.

const KINDS = { white: "term-white", black: "term-black", both: "term" };

export class SquareMarks {
  #board;
  #looked = null;
  #kept = null;

  constructor(board) {
    this.#board = board;
  }

  /** A row is looked at ({white, black, both}), or none (null). */
  look(squares) {
    this.#looked = squares;
    this.#draw();
  }

  /** A row's squares stay, or none. */
  keep(squares) {
    this.#kept = squares;
    this.#draw();
  }

  clear() {
    this.#looked = null;
    this.#kept = null;
    this.#draw();
  }

  #draw() {
    const squares = this.#looked ?? this.#kept;
    for (const [side, kind] of Object.entries(KINDS)) {
      if (squares) {
        this.#board.mark(kind, squares[side]);
      } else {
        this.#board.unmark(kind);
      }
    }
  }
}
