// A chess clock: two times, one of which runs down. Without a DOM; the time of day is passed in for tests.

/** Dispatches "flag" with `detail: {color}` when a time is used up. Times are in milliseconds. */
export class Clock extends EventTarget {
  #times;
  #increment;
  #running = null;
  #since = 0;
  #now;
  #timer = null;

  /** @param {{base: number, increment: number, times?: {w: number, b: number}}} setting */
  constructor({ base, increment, times = { w: base, b: base } }, now = () => performance.now()) {
    super();
    this.#times = { ...times };
    this.#increment = increment;
    this.#now = now;
  }

  /** The colour whose time runs, or null. */
  get running() {
    return this.#running;
  }

  remaining(color) {
    const used = color === this.#running ? this.#now() - this.#since : 0;
    return Math.max(0, this.#times[color] - used);
  }

  /** Lets a colour's time run and the other's stand. */
  start(color) {
    if (this.#running === color) {
      return;
    }
    this.stop();
    this.#running = color;
    this.#since = this.#now();
    this.#timer = setTimeout(() => this.check(), this.#times[color] + 1);
  }

  /** Both stand. */
  stop() {
    if (this.#running !== null) {
      this.#times[this.#running] = this.remaining(this.#running);
      this.#running = null;
    }
    clearTimeout(this.#timer);
  }

  /** The running colour has moved: it gets the increment and the other's time runs. */
  press() {
    const moved = this.#running;
    if (moved !== null) {
      this.stop();
      this.#times[moved] += this.#increment;
      this.start(moved === "w" ? "b" : "w");
    }
  }

  /** Notices a fallen flag, also where the timer comes late; true if one fell. */
  check() {
    const color = this.#running;
    if (color === null || this.remaining(color) > 0) {
      if (color !== null) {
        clearTimeout(this.#timer);
        this.#timer = setTimeout(() => this.check(), this.remaining(color) + 1);
      }
      return false;
    }
    this.stop();
    this.dispatchEvent(new CustomEvent("flag", { detail: { color } }));
    return true;
  }

  /** The times as they stand now, to be kept. */
  times() {
    return { w: this.remaining("w"), b: this.remaining("b") };
  }

  /** What the engine is told. */
  limits() {
    const whole = (ms) => Math.max(1, Math.floor(ms));
    return {
      wtime: whole(this.remaining("w")), btime: whole(this.remaining("b")),
      winc: this.#increment, binc: this.#increment,
    };
  }
}

/** "1:05:09", "5:09", and with tenths below ten seconds: "0:09.4". */
export function clockText(ms) {
  if (ms < 10000) {
    return `0:0${(Math.floor(ms / 100) / 10).toFixed(1)}`;
  }
  const seconds = Math.ceil(ms / 1000);
  const two = (n) => String(n).padStart(2, "0");
  const [h, m, s] = [Math.floor(seconds / 3600), Math.floor(seconds / 60) % 60, seconds % 60];
  return h > 0 ? `${h}:${two(m)}:${two(s)}` : `${m}:${two(s)}`;
}
