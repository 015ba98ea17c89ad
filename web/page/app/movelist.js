// The game's moves as a list: one button each, the arrow keys go through them.

export class MoveList {
  #root;
  #game;
  #texts;
  #list = document.createElement("ol");
  #empty = document.createElement("p");
  #drawn = []; // the moves that have a button, as they were drawn
  #waiting = false;

  /** @param {HTMLElement} root */
  constructor(root, { game, texts }) {
    this.#root = root;
    this.#game = game;
    this.#texts = texts;
    this.#empty.className = "hint";
    root.append(this.#empty, this.#list);
    game.addEventListener("change", () => this.#redraw());
    texts.addEventListener("change", () => this.#redraw());
    root.addEventListener("click", (event) => {
      const button = event.target.closest("button");
      if (button) {
        game.goto(Number(button.dataset.ply));
      }
    });
    root.addEventListener("keydown", (event) => this.#onKey(event));
    this.#redraw();
  }

  #onKey(event) {
    const { ply, moves } = this.#game;
    const to = {
      ArrowLeft: ply - 1, ArrowRight: ply + 1, ArrowUp: ply - 2, ArrowDown: ply + 2,
      Home: 0, End: moves.length,
    }[event.key];
    if (to === undefined || event.ctrlKey || event.altKey || event.metaKey) {
      return;
    }
    this.#game.goto(to);
    this.#draw();
    const at = this.#root.querySelector("[aria-current]") ?? this.#root.querySelector("button");
    at?.focus({ preventScroll: true });
    event.preventDefault();
    event.stopPropagation();
  }

  /** Once for all changes that are made together. */
  #redraw() {
    if (!this.#waiting) {
      this.#waiting = true;
      queueMicrotask(() => this.#waiting && this.#draw());
    }
  }

  #draw() {
    this.#waiting = false;
    const { moves, ply } = this.#game;
    this.#empty.hidden = moves.length > 0;
    this.#empty.textContent = this.#texts.t("moves.none");
    this.#list.hidden = moves.length === 0;
    const same = moves.findIndex((move, i) => this.#drawn[i] !== move);
    this.#cut(same < 0 ? moves.length : same);
    for (const move of moves.slice(this.#drawn.length)) {
      this.#append(move);
    }
    this.#list.querySelectorAll("button").forEach((button, i) => this.#update(button, moves[i], ply));
    this.#scroll();
  }

  /** Takes away what was drawn beyond so many moves. */
  #cut(length) {
    if (this.#drawn.length > length) {
      for (const button of [...this.#list.querySelectorAll("button")].slice(length)) {
        const item = button.parentElement;
        button.remove();
        if (!item.querySelector("button")) {
          item.remove();
        }
      }
      this.#drawn.length = length;
    }
  }

  #append(move) {
    const number = moveNumber(this.#game, move);
    let item = this.#list.lastElementChild;
    if (!item || item.dataset.number !== String(number)) {
      item = document.createElement("li");
      item.dataset.number = number;
      const label = document.createElement("span");
      label.className = "number";
      label.textContent = `${number}.`;
      item.append(label);
      this.#list.append(item);
    }
    const button = document.createElement("button");
    button.type = "button";
    button.className = move.color === "w" ? "white" : "black";
    button.dataset.ply = move.ply;
    item.append(button);
    this.#drawn.push(move);
  }

  #update(button, move, ply) {
    const text = move.san + (move.mark ?? "");
    if (button.textContent !== text) {
      button.textContent = text;
    }
    button.dataset.mark = move.mark ?? "";
    const current = move.ply === ply;
    button.tabIndex = current || (ply === 0 && move.ply === 1) ? 0 : -1;
    if (current) {
      button.setAttribute("aria-current", "true");
    } else {
      button.removeAttribute("aria-current");
    }
  }

  /** Keeps the current move in sight within the list, without moving the page. */
  #scroll() {
    const current = this.#list.querySelector("[aria-current]");
    if (!current) {
      this.#root.scrollTop = 0;
      return;
    }
    const box = this.#root.getBoundingClientRect();
    const move = current.getBoundingClientRect();
    if (move.top < box.top) {
      this.#root.scrollTop += move.top - box.top - 4;
    } else if (move.bottom > box.bottom) {
      this.#root.scrollTop += move.bottom - box.bottom + 4;
    }
  }
}

/** The number that a move has in the game's notation. */
export function moveNumber(game, move) {
  const blackFirst = game.moves[0]?.color === "b" ? 1 : 0;
  return game.firstMoveNumber + Math.floor((move.ply - 1 + blackFirst) / 2);
}
