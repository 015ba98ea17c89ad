// The page's own engine: one worker, one search at a time, for all views. It starts a worker that died
// again when a search needs it, keeps the settings, and drops the answers to searches that nobody waits
// for any more.

import { queuePerFrame } from "./analysis/frame.js";
import { refusalOf } from "./analysis/refusals.js";

const PATIENCE = 8000;
const TICKS = 4;
const START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

const startFromPackage = async (options) => {
  let Engine;
  try {
    // Not a static import: the page must stand and say so where the engine's files are missing.
    ({ Engine } = await import("morvane"));
  } catch (cause) {
    throw Object.assign(new Error("The engine's files could not be loaded", { cause }), { reason: "load" });
  }
  return Engine.start(options);
};

/**
 * The engine as the views use it.
 *
 * "state" events carry {state, reason, restarted}: state is "loading", "ready", "thinking" or "failed";
 * reason tells of a failure ("webassembly", "memory", "load", "died"); restarted is true when a worker
 * that died runs again.
 * "message" events carry what the engine had to say (an `info string`).
 */
export class PageEngine extends EventTarget {
  #startEngine;
  #patience;
  #engine = null;
  #starting = null;
  #state = "loading";
  #reason = null;
  #died = false;
  #current = null; // the search that runs or waits for its turn
  #queue = Promise.resolve(); // what needs the engine while no search runs
  #wanted = { threads: 1, hash: null };

  /**
   * Starts loading at once. `start` makes an Engine, `threads` and `hash` are the settings to begin with; a
   * worker that does not answer for `patience` milliseconds has ended.
   */
  constructor({ start = startFromPackage, threads = 1, hash = null, patience = PATIENCE } = {}) {
    super();
    this.#startEngine = start;
    this.#patience = patience;
    this.#wanted = { threads, hash };
    /** Resolves, once the first start has succeeded or failed, to whether there is an engine. */
    this.ready = this.#ensure().then(() => true, () => false);
  }

  get state() {
    return this.#state;
  }

  /** Why there is no engine, while the state is "failed". */
  get reason() {
    return this.#reason;
  }

  /** Whether the build with threads runs. */
  get threads() {
    return this.#engine?.threads ?? false;
  }

  get name() {
    return this.#engine?.name ?? "Morvane";
  }

  /** What the engine lets one choose: name to {default, min, max}; empty before it is ready. */
  get options() {
    return this.#engine?.options ?? new Map();
  }

  get threadCount() {
    return this.threads ? this.#wanted.threads : 1;
  }

  get hash() {
    return this.#wanted.hash ?? this.options.get("Hash")?.default ?? null;
  }

  /**
   * One search to its end, for a move: {bestMove, info}, or null if it was cancelled or another move's
   * search took its place. Rejects if the engine cannot be started. An analysis that runs gives way.
   */
  move(position, limits, { onUpdate } = {}) {
    return this.#begin({ position, limits, onUpdate, forMove: true }).result;
  }

  /**
   * Infinite analysis, or one within `limits`, in place of the analysis before; a search for a move comes
   * first. `position` is {fen, moves}. `onUpdate(line)` gets the lines, those of one frame together. Returns
   * {result, stop()}: stop() ends it with the result found so far. The result is null once something else
   * took its place.
   */
  analyse(position, { limits = { infinite: true }, onUpdate } = {}) {
    return this.#begin({ position, limits, onUpdate, forMove: false });
  }

  /** Stops the search whatever it is for; its result becomes null. Resolves when none runs. */
  async cancel() {
    const search = this.#current;
    this.#dropAll();
    await search?.result.catch(() => {});
  }

  /** Stops the search with the result found so far. Resolves when none runs. */
  async stop() {
    const search = this.#current;
    if (search) {
      this.#end(search);
    }
    await search?.result.catch(() => {});
  }

  /** The evaluation of a position, term by term; also while a search runs. Rejects on a refused FEN. */
  async evaluate(fen) {
    const engine = await this.#ensure();
    return this.#answered(engine, engine.evaluate(fen));
  }

  /** Forgets what was learned of the game before. */
  newGame() {
    return this.#between(async (engine) => engine.newGame());
  }

  /** Resolves with the engine's messages, which are refusals. Stops the search. */
  setHash(megabytes) {
    return this.#choose("Hash", "hash", megabytes);
  }

  setThreads(count) {
    return this.#choose("Threads", "threads", count);
  }

  /** Ends the worker; the page goes away. */
  quit() {
    this.#dropAll();
    const engine = this.#engine;
    this.#engine = null;
    engine?.quit();
  }

  async #choose(option, key, value) {
    const before = this.#wanted[key];
    this.#wanted[key] = value;
    const messages = await this.#between((engine) => (
      this.#takes(engine, option) ? engine.setOption(option, value) : []
    ));
    const refusal = messages.map(refusalOf).findLast(Boolean); // of several the last one holds
    if (refusal) {
      this.#wanted[key] = refusal.values.used ?? before;
    }
    return messages;
  }

  #takes(engine, option) {
    return engine.options.has(option) && (option !== "Threads" || engine.threads);
  }

  /** What needs the engine while no search runs: in order, and before every search that begins later. */
  #between(task) {
    const search = this.#current;
    this.#dropAll();
    const turn = Promise.allSettled([this.#queue, search?.result]);
    const done = turn.then(() => this.#ensure()).then(task);
    this.#queue = done.catch(() => {});
    return done;
  }

  #begin(search) {
    const before = this.#current;
    if (search.forMove) {
      this.#dropAll();
    } else if (before && !before.forMove) {
      this.#drop(before);
    }
    Object.assign(search, { before, dropped: false, stopped: false, running: null });
    this.#current = search;
    const turn = Promise.allSettled([before?.result, this.#queue]);
    search.result = turn.then(() => this.#run(search)).finally(() => this.#finish(search));
    search.result.catch(() => {}); // whoever waits for it is told; nobody need wait
    return { result: search.result, stop: () => this.#end(search) };
  }

  #dropAll() {
    for (let search = this.#current; search; search = search.before) {
      this.#drop(search);
    }
  }

  #drop(search) {
    search.dropped = true;
    this.#end(search);
  }

  #end(search) {
    search.stopped = true;
    try {
      search.running?.stop();
    } catch {
      // The worker has just ended; the search hears of it, too.
    }
  }

  /** A search that loses its worker is begun once more by the next one. */
  async #run(search) {
    search.before = null;
    for (let mayRetry = true; !search.dropped; mayRetry = false) {
      const engine = await this.#ensure();
      try {
        return await this.#searchOn(engine, search);
      } catch (error) {
        if (await this.#lives(engine) || !mayRetry) {
          throw error;
        }
      }
    }
    return null;
  }

  async #searchOn(engine, search) {
    if (search.dropped) {
      return null;
    }
    await this.#answered(engine, engine.setPosition(search.position));
    if (search.dropped) {
      return null;
    }
    const deliver = queuePerFrame((line) => {
      if (!search.dropped) {
        search.onUpdate?.(line);
      }
    });
    search.running = engine.go(search.limits, search.onUpdate ? deliver : undefined);
    this.#tell("thinking");
    if (search.stopped) {
      this.#end(search);
    }
    const watch = this.#watch(engine);
    try {
      const result = await search.running.result;
      deliver.flush();
      return search.dropped ? null : result;
    } finally {
      clearInterval(watch);
      search.running = null;
    }
  }

  /** A worker can end without a word: while it searches, it has to answer something now and then. */
  #watch(engine) {
    return setInterval(() => {
      this.#answered(engine, engine.evaluate(START_FEN)).catch(() => {});
    }, this.#patience / TICKS);
  }

  /** The answer of an engine; one that does not come in time is that of a worker that has ended. */
  async #answered(engine, answer) {
    let ticks = 0; // several, as a computer that slept comes back with one timer run out
    const timer = setInterval(() => {
      if (++ticks === TICKS) {
        clearInterval(timer);
        this.#lose(engine);
      }
    }, this.#patience / TICKS);
    try {
      return await answer;
    } finally {
      clearInterval(timer);
    }
  }

  #lose(engine) {
    if (this.#engine !== engine) {
      return;
    }
    this.#engine = null;
    this.#died = true;
    engine.quit(); // which rejects what is still asked of it
    this.#tell("failed", { reason: "died" });
  }

  /** Whether an engine still runs, once the news of its end has had time to arrive. */
  async #lives(engine) {
    await new Promise((resolve) => setTimeout(resolve));
    return this.#engine === engine;
  }

  #finish(search) {
    if (this.#current === search) {
      this.#current = null;
    }
    if (this.#state === "thinking" && !this.#current) {
      this.#tell("ready");
    }
  }

  #ensure() {
    if (this.#engine) {
      return Promise.resolve(this.#engine);
    }
    this.#starting ??= this.#startOnce().finally(() => {
      this.#starting = null;
    });
    return this.#starting;
  }

  async #startOnce() {
    const restarted = this.#died;
    this.#tell("loading");
    try {
      const engine = await this.#startEngine();
      await this.#applySettings(engine);
      this.#listen(engine);
      this.#engine = engine;
      this.#died = false;
      performance.mark("engine ready"); // for web/measure.js
      this.#tell("ready", { restarted });
      return engine;
    } catch (error) {
      this.#tell("failed", { reason: error.reason ?? "load" });
      throw error;
    }
  }

  async #applySettings(engine) {
    const { hash, threads } = this.#wanted;
    if (hash !== null && this.#takes(engine, "Hash")) {
      await engine.setOption("Hash", hash);
    }
    if (threads !== 1 && this.#takes(engine, "Threads")) {
      await engine.setOption("Threads", threads);
    }
  }

  #listen(engine) {
    engine.addEventListener("message", (event) => {
      this.dispatchEvent(new CustomEvent("message", { detail: event.detail }));
    });
    engine.addEventListener("error", () => this.#lose(engine));
  }

  #tell(state, { reason = null, restarted = false } = {}) {
    this.#state = state;
    this.#reason = reason;
    this.dispatchEvent(new CustomEvent("state", { detail: { state, reason, restarted } }));
  }
}
