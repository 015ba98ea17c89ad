// A board that notes what it is told to show.

export class FakeBoard {
  marks = {};
  arrows = {};
  fen = null;

  show(fen) {
    this.fen = fen;
  }

  mark(kind, squares) {
    this.marks[kind] = [...squares];
  }

  unmark(kind) {
    delete this.marks[kind];
  }

  arrow(kind, from, to) {
    (this.arrows[kind] ??= []).push(from + to);
  }

  clearArrows(kind) {
    delete this.arrows[kind];
  }
}
