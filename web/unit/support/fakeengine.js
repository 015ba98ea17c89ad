// An engine that does what a test tells it: the interface of the package's Engine without a worker.

/** One search of the fake: `tell(line)` is an info line, `answer(bestMove)` its end. */
class FakeSearch {
  constructor(limits, onInfo) {
    this.limits = limits;
    this.onInfo = onInfo;
    this.info = null;
    this.stopped = false;
    this.result = new Promise((resolve, reject) => {
      this.resolve = resolve;
      this.reject = reject;
    });
  }

  tell(line) {
    this.info = line;
    this.onInfo?.(line);
  }

  answer(bestMove = this.info?.pv?.[0] ?? "a2a3") {
    this.resolve({ bestMove, info: this.info });
  }

  stop() {
    this.stopped = true;
    this.answer();
  }
}

/** Engine under control of a test; `calls` lists what it was asked, in order. */
export class FakeEngine extends EventTarget {
  constructor({ threads = true, refuse = [] } = {}) {
    super();
    this.threads = threads;
    this.name = "Fake 1.0";
    this.options = new Map([
      ["Hash", { default: 16, min: 1, max: 1024 }],
      ["Threads", { default: 1, min: 1, max: 64 }],
    ]);
    this.refuse = refuse;
    this.calls = [];
    this.searches = [];
    this.dead = false;
    this.mute = false; // no answers any more
  }

  get search() {
    return this.searches.at(-1);
  }

  async setOption(name, value) {
    this.#called("setOption", name, value);
    return this.refuse;
  }

  async newGame() {
    this.#called("newGame");
  }

  async setPosition(position) {
    this.#called("setPosition", position);
    if (position.fen === "bad")
      throw new Error("bad FEN");
  }

  go(limits, onInfo) {
    this.#called("go", limits);
    const search = new FakeSearch(limits, onInfo);
    this.searches.push(search);
    return search;
  }

  async evaluate(fen) {
    this.#called("evaluate", fen);
    if (this.mute) {
      await new Promise(() => {});
    }
    return { fen };
  }

  quit() {
    this.dead = true;
    this.search?.reject(new Error("the engine was told to quit"));
  }

  /** The worker ends without a word. */
  die() {
    this.dead = true;
    const error = new Error("the worker ended");
    this.search?.reject(error);
    this.dispatchEvent(new CustomEvent("error", { detail: error }));
  }

  #called(...call) {
    if (this.dead)
      throw new Error("the worker ended");
    this.calls.push(call);
  }
}

/** Resolves when `condition` holds, looking again and again; fails after two seconds. */
export async function until(condition, what = "the condition") {
  const end = Date.now() + 2000;
  while (!condition()) {
    if (Date.now() > end)
      throw new Error(`${what} did not come`);
    await new Promise((resolve) => setTimeout(resolve, 1));
  }
}
