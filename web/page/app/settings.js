// What the user chose, remembered in the browser's storage; in memory alone where there is none.
const PREFIX = "morvane.";

/** Dispatches "change" with `detail: {key, value}`. Values are JSON. */
export class Settings extends EventTarget {
  #storage;
  #values = new Map();

  /** @param {Storage | null} storage null: nothing outlives the page */
  constructor(storage) {
    super();
    this.#storage = storage;
  }

  /**
   * The value, or `fallback` where there is none or `isValid` refuses it.
   * @param {(value: any) => boolean} isValid
   */
  get(key, fallback = null, isValid = () => true) {
    if (!this.#values.has(key)) {
      this.#values.set(key, this.#read(key));
    }
    const value = this.#values.get(key);
    return value === undefined || !isValid(value) ? fallback : value;
  }

  /** Whether another page has stored another value since this one got or set it. */
  isStale(key) {
    const known = JSON.stringify(this.#values.get(key));
    return this.#storage !== null && JSON.stringify(this.#read(key)) !== known;
  }

  #read(key) {
    try {
      const text = this.#storage?.getItem(PREFIX + key) ?? null;
      return text === null ? undefined : JSON.parse(text);
    } catch {
      return undefined;
    }
  }

  /** Remembers a value; undefined forgets it. */
  set(key, value) {
    this.#values.set(key, value);
    try {
      if (value === undefined) {
        this.#storage?.removeItem(PREFIX + key);
      } else {
        this.#storage?.setItem(PREFIX + key, JSON.stringify(value));
      }
    } catch {
      // The storage is full or forbidden: the value holds until the page goes.
    }
    this.dispatchEvent(new CustomEvent("change", { detail: { key, value } }));
  }
}

/** The browser's storage, or null where it is forbidden. */
export function browserStorage() {
  try {
    return globalThis.localStorage ?? null;
  } catch {
    return null;
  }
}
