// The analysis that follows the game: while it is on and somebody looks, the engine searches the position
// of the game that is on the board.

import { emptyAnalysis, withLine } from "./lines.js";
import { finalScore } from "./score.js";
import { clockOf, endOf } from "./variation.js";

/** Positions whose results are remembered. */
const REMEMBERED = 200;

/** Dispatches "change" when its state does: at most once a frame. */
export class AnalysisSession extends EventTarget {
  #engine;
  #game;
  #watchers = new Set();
  #pauses = new Set();
  #running = null; // {key, stop}
  #failed = false; // the engine could not be had; tried again when somebody asks
  #results = new Map(); // by position

  constructor({ engine, game }) {
    super();
    this.#engine = engine;
    this.#game = game;
    /** Whether it is switched on. */
    this.on = false;
    this.state = this.#recall();
    game.addEventListener("change", () => this.#follow());
  }

  /** Whether the engine searches, or waits to, for this analysis. */
  get running() {
    return this.#running !== null;
  }

  /** Whether the engine could not be had when it was needed last. */
  get failed() {
    return this.#failed;
  }

  /** Switches it on or off. */
  set(on) {
    this.on = on;
    this.#failed = false;
    this.#follow();
    this.#changed();
  }

  /** Somebody begins (`looks`) or ceases to look at the results. */
  watch(who, looks) {
    if (looks) {
      this.#watchers.add(who);
      this.#failed = false;
    } else {
      this.#watchers.delete(who);
    }
    this.#follow();
  }

  /** Somebody needs the engine (`needs`) for something else for a while. */
  pause(who, needs) {
    if (needs) {
      this.#pauses.add(who);
    } else {
      this.#pauses.delete(who);
    }
    this.#follow();
  }

  #key() {
    const { fen, moves } = this.#game.position();
    return [fen, ...moves].join(" ");
  }

  #recall() {
    const { fen } = this.#game;
    const known = this.#results.get(this.#key());
    if (known) {
      return known;
    }
    const { turn } = clockOf(fen);
    const end = endOf(fen);
    return { ...emptyAnalysis(fen, turn), end, score: finalScore(end, turn) };
  }

  #remember(key) {
    this.#results.delete(key);
    this.#results.set(key, this.state);
    if (this.#results.size > REMEMBERED) {
      this.#results.delete(this.#results.keys().next().value);
    }
  }

  #follow() {
    const key = this.#key();
    if (this.key !== key) {
      this.key = key;
      this.state = this.#recall();
      this.#changed();
    }
    const isFree = this.#pauses.size === 0 && !this.#failed;
    const wanted = this.on && this.#watchers.size > 0 && isFree && !this.state.end;
    if (this.#running && (!wanted || this.#running.key !== key)) {
      this.#running.stop();
      this.#running = null;
      this.#changed();
    }
    if (wanted && !this.#running) {
      this.#begin(key);
    }
  }

  #begin(key) {
    const begun = { key, fresh: { ...emptyAnalysis(this.state.fen, this.state.turn), end: null } };
    const onUpdate = (line) => this.#update(begun, line);
    const { result, stop } = this.#engine.analyse(this.#game.position(), { onUpdate });
    begun.stop = stop;
    this.#running = begun;
    this.#changed();
    result.then((found) => this.#ended(begun, found), () => this.#lost(begun));
  }

  /** A search that begins again shows what was known until it has looked as deep. */
  #update(begun, line) {
    begun.fresh = withLine(begun.fresh, line);
    if (begun !== this.#running) {
      return;
    }
    const isDeeper = begun.fresh.depth >= this.state.depth;
    const { nodes, nps, time } = begun.fresh;
    this.state = isDeeper ? begun.fresh : { ...this.state, nodes, nps, time };
    this.#remember(begun.key);
    this.#changed();
  }

  #ended(begun, found) {
    if (begun !== this.#running) {
      return;
    }
    this.#running = null;
    if (found === null) {
      this.#follow(); // something else took its place: it goes on when that is done
    }
    this.#changed();
  }

  #lost(begun) {
    if (begun === this.#running) {
      this.#running = null;
      this.#failed = true;
      this.#changed();
    }
  }

  #changed() {
    this.dispatchEvent(new CustomEvent("change"));
  }
}
