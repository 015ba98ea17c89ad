// Marked squares and arrows on the board: an extension of cm-chessboard with two drawings of its own, one
// below the pieces and one above. Both are as wide as the board and count ten units a square, so they need no
// redraw on resize.
import { Extension, EXTENSION_POINT } from "cm-chessboard/model/Extension.js";
import { Svg } from "cm-chessboard/lib/Svg.js";

const UNIT = 10;
const SHAFT = 0.9; // half of an arrow's shaft
const HEAD = { length: 3.6, half: 2.5 };

function layer(parent, name) {
  return Svg.addElement(parent, "svg", {
    class: name, viewBox: `0 0 ${8 * UNIT} ${8 * UNIT}`, width: "100%", height: "100%",
  });
}

/** The outline of an arrow between two points, its tip in the middle of the second. */
export function arrowPath([x1, y1], [x2, y2]) {
  const length = Math.hypot(x2 - x1, y2 - y1);
  const [ux, uy] = [(x2 - x1) / length, (y2 - y1) / length];
  const at = (along, across) =>
    `${(x1 + ux * along - uy * across).toFixed(2)} ${(y1 + uy * along + ux * across).toFixed(2)}`;
  const start = 0.3 * UNIT;
  const neck = length - HEAD.length;
  return `M${at(start, -SHAFT)}L${at(neck, -SHAFT)}L${at(neck, -HEAD.half)}L${at(length, 0)}`
    + `L${at(neck, HEAD.half)}L${at(neck, SHAFT)}L${at(start, SHAFT)}Z`;
}

export class Marks extends Extension {
  #marks = new Map(); // kind -> squares
  #arrows = new Map(); // kind -> [[from, to]]

  constructor(chessboard) {
    super(chessboard);
    this.below = layer(chessboard.view.markersLayer, "marks");
    this.above = layer(chessboard.view.markersTopLayer, "arrows");
    this.registerExtensionPoint(EXTENSION_POINT.afterRedrawBoard, () => this.redraw());
    this.drawnFor = null;
  }

  /** Marks these squares with this kind and no others. */
  mark(kind, squares) {
    this.#marks.set(kind, [...squares]);
    this.#drawMarks(kind);
  }

  unmark(kind) {
    this.#marks.delete(kind);
    this.#drawMarks(kind);
  }

  arrow(kind, from, to) {
    const arrows = this.#arrows.get(kind) ?? [];
    this.#arrows.set(kind, [...arrows.filter(([f, t]) => f !== from || t !== to), [from, to]]);
    this.#drawArrows(kind);
  }

  clearArrows(kind) {
    if (this.#arrows.delete(kind)) {
      this.#drawArrows(kind);
    }
  }

  /** Draws all again when the board was turned. */
  redraw() {
    const orientation = this.chessboard.state.orientation;
    if (this.drawnFor !== orientation) {
      this.drawnFor = orientation;
      [...this.#marks.keys()].forEach((kind) => this.#drawMarks(kind));
      [...this.#arrows.keys()].forEach((kind) => this.#drawArrows(kind));
    }
  }

  #corner(square) {
    const file = square.charCodeAt(0) - 97;
    const rank = square.charCodeAt(1) - 49;
    const turned = this.chessboard.state.orientation === "b";
    return [UNIT * (turned ? 7 - file : file), UNIT * (turned ? rank : 7 - rank)];
  }

  #center(square) {
    return this.#corner(square).map((c) => c + UNIT / 2);
  }

  #group(parent, kind) {
    const name = `kind-${kind}`;
    const group = parent.querySelector(`:scope > .${name}`) ?? Svg.addElement(parent, "g", { class: name });
    group.replaceChildren();
    return group;
  }

  #drawMarks(kind) {
    const group = this.#group(this.below, kind);
    for (const square of this.#marks.get(kind) ?? []) {
      const [x, y] = this.#corner(square);
      const at = { class: `mark mark-${kind}`, "data-mark": square };
      if (kind === "target" || kind === "capture") {
        const [cx, cy] = this.#center(square);
        Svg.addElement(group, "circle", { ...at, cx, cy, r: kind === "target" ? 1.55 : 4.4 });
      } else {
        Svg.addElement(group, "rect", { ...at, x, y, width: UNIT, height: UNIT });
      }
    }
  }

  #drawArrows(kind) {
    const group = this.#group(this.above, kind);
    for (const [from, to] of this.#arrows.get(kind) ?? []) {
      Svg.addElement(group, "path", {
        class: `arrow arrow-${kind}`, "data-arrow": from + to,
        d: arrowPath(this.#center(from), this.#center(to)),
      });
    }
  }
}
