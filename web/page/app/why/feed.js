// The evaluations that the views show, asked of the engine once for each position.

const REMEMBERED = 400;

/** Evaluations by FEN; what was asked before is remembered. */
export class EvaluationFeed {
  #engine;
  #known = new Map();

  constructor(engine) {
    this.#engine = engine;
  }

  /** Resolves to the evaluation of a position; rejects where the engine has none to give. */
  of(fen) {
    if (!this.#known.has(fen)) {
      this.#forgetOldest();
      const asked = this.#engine.evaluate(fen);
      this.#known.set(fen, asked);
      asked.catch(() => this.#known.delete(fen));
    }
    return this.#known.get(fen);
  }

  #forgetOldest() {
    if (this.#known.size >= REMEMBERED) {
      this.#known.delete(this.#known.keys().next().value);
    }
  }
}

const feeds = new WeakMap();

/** The feed that all views of an engine have in common. */
export function feedOf(engine) {
  if (!feeds.has(engine)) {
    feeds.set(engine, new EvaluationFeed(engine));
  }
  return feeds.get(engine);
}

/**
 * Keeps the newest of several answers: a function that asks `ask(...)` and gives the answer to
 * `deliver(answer, ...)`, unless it has been called again meanwhile. An answer that does not come is null.
 */
export function newestOnly(ask, deliver) {
  let newest = 0;
  return async (...args) => {
    const mine = ++newest;
    const answer = await ask(...args).catch(() => null);
    if (mine === newest) {
      deliver(answer, ...args);
    }
  };
}
