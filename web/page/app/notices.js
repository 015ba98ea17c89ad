// Messages above the views, and what screen readers are told of what happens on the board.

/** Shows messages by key; each key at most once. */
export class Notices {
  #root;
  #spoken;
  #texts;
  #shown = new Map(); // key -> {element, options}

  constructor(root, spoken, texts) {
    this.#root = root;
    this.#spoken = spoken;
    this.#texts = texts;
    texts.addEventListener("change", () => this.#writeAll());
  }

  /**
   * Shows the message of a text's key until it is dismissed.
   * @param {string} key
   * @param {{kind?: "info"|"error", values?: object, text?: string, seconds?: number,
   *   action?: {key: string, run: () => void}}} options `text` instead of the key's text; `seconds`: gone by
   * itself; `action`: a button with its text's key
   */
  show(key, options = {}) {
    this.dismiss(key);
    const element = document.createElement("div");
    element.className = `notice ${options.kind ?? "info"}`;
    element.setAttribute("role", options.kind === "error" ? "alert" : "status");
    element.dataset.notice = key;
    this.#shown.set(key, { element, options });
    this.#root.append(element);
    this.#write(key);
    if (options.seconds) {
      setTimeout(() => element.isConnected && this.dismiss(key), 1000 * options.seconds);
    }
  }

  dismiss(key) {
    this.#shown.get(key)?.element.remove();
    this.#shown.delete(key);
  }

  /** Tells screen readers something, when they have finished what they say. */
  say(text) {
    const line = document.createElement("p");
    line.textContent = text;
    this.#spoken.append(line);
    while (this.#spoken.children.length > 3) {
      this.#spoken.firstChild.remove();
    }
  }

  #writeAll() {
    [...this.#shown.keys()].forEach((key) => this.#write(key));
  }

  #write(key) {
    const { element, options } = this.#shown.get(key);
    const text = document.createElement("p");
    text.textContent = options.text ?? this.#texts.t(key, options.values);
    const buttons = [];
    if (options.action) {
      buttons.push(this.#button(options.action.key, () => {
        this.dismiss(key);
        options.action.run();
      }));
    }
    buttons.push(this.#button("notice.dismiss", () => this.dismiss(key)));
    element.replaceChildren(text, ...buttons);
  }

  #button(key, run) {
    const button = document.createElement("button");
    button.type = "button";
    button.className = "quiet";
    button.textContent = this.#texts.t(key);
    button.addEventListener("click", run);
    return button;
  }
}
