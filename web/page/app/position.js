// The dialog for another position: pasted as FEN or PGN, read from a file, or set up by hand.
import { copyText } from "./controls.js";
import { element, onClose } from "./dialogs.js";
import { normalFen, PositionError } from "./fen.js";
import { SetUpBoard } from "./setup.js";

const MAX_FILE_BYTES = 4 << 20;

/** Whether a text is meant to be a FEN, right or wrong, rather than a game. */
export function looksLikeFen(text) {
  return !text.includes("[") && !/\d\.\s*\S/.test(text) && /^\s*\S*\/\S*(\s|$)/.test(text);
}

/** @param {{game, board, engine, texts, notices}} page */
export function createPositionDialog(page) {
  new PositionDialog(page);
}

class PositionDialog {
  #dialog = document.getElementById("position-dialog");

  constructor({ game, board, engine, texts, notices }) {
    Object.assign(this, { game, board, engine, texts, notices });
    this.#build();
    onClose(this.#dialog);
    document.getElementById("open-position").addEventListener("click", () => this.open());
    texts.addEventListener("change", () => this.#build());
  }

  open() {
    this.text.value = "";
    this.fen.value = this.game.fen;
    this.setUp.show(this.game.fen);
    this.#fail("");
    this.#dialog.showModal();
    if (!this.pages[0].hidden) {
      this.text.focus();
    }
  }

  #build() {
    const title = element("h2", { id: "position-title" }, this.texts.t("position.title"));
    this.pages = [this.#pastePage(), this.#setUpPage()];
    const choice = this.#choice(["position.text", "position.setUp"]);
    this.error = element("p", { class: "error", role: "alert", id: "position-error" });
    this.#dialog.replaceChildren(title, choice, ...this.pages);
    this.#showPage(0);
  }

  #choice(keys) {
    const group = element("fieldset", { class: "choice" });
    group.append(element("legend", { class: "unseen" }, this.texts.t("position.title")));
    keys.forEach((key, i) => {
      const label = element("label");
      const input = element("input", { type: "radio", name: "position-page", value: String(i) });
      input.checked = i === 0;
      input.addEventListener("change", () => this.#showPage(i));
      label.append(input, element("span", {}, this.texts.t(key)));
      group.append(label);
    });
    return group;
  }

  #showPage(shown) {
    this.pages.forEach((page, i) => { page.hidden = i !== shown; });
    this.pages[shown].insertBefore(this.error, this.pages[shown].lastElementChild);
    this.#fail("");
  }

  #pastePage() {
    const form = element("form");
    this.text = element("textarea", {
      rows: "6", spellcheck: "false", autocapitalize: "off", id: "position-text",
    });
    this.text.addEventListener("input", () => this.#fail(""));
    this.fen = element("input", { type: "text", readonly: "", id: "position-fen" });
    const copy = this.#button("position.copyFen", "quiet", () =>
      copyText(this.fen.value, { notices: this.notices, doneKey: "position.copied" }));
    const fenRow = element("div", { class: "row" });
    fenRow.append(this.fen, copy);
    const file = this.#fileInput();
    const buttons = element("div", { class: "buttons end" });
    buttons.append(file, this.#button("position.file", "", () => file.click()), this.#cancelButton(),
      element("button", { type: "submit", class: "primary" }, this.texts.t("position.open")));
    form.append(this.#field("position.paste", this.text, this.text),
      this.#field("position.fen", this.fen, fenRow), buttons);
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      this.#take(() => this.#load(this.text.value));
    });
    return form;
  }

  #setUpPage() {
    const form = element("form");
    this.setUp = new SetUpBoard(this.texts, () => this.#fail(""));
    const buttons = element("div", { class: "buttons end" });
    buttons.append(this.#button("position.clear", "", () => this.setUp.clear()),
      this.#button("position.start", "", () => this.setUp.show()),
      this.#button("position.fromBoard", "", () => this.setUp.show(this.game.fen)), this.#cancelButton(),
      element("button", { type: "submit", class: "primary" }, this.texts.t("position.use")));
    form.append(this.setUp.element, buttons);
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      this.#take(() => this.#reset(this.setUp.fen()));
    });
    return form;
  }

  #cancelButton() {
    return element("button", { type: "button", "data-close": "" }, this.texts.t("cancel"));
  }

  #button(key, className, run) {
    const button = element("button", { type: "button", class: className }, this.texts.t(key));
    button.addEventListener("click", run);
    return button;
  }

  #fileInput() {
    const file = element("input", {
      type: "file", accept: ".pgn,.fen,.txt,text/plain", class: "unseen", tabindex: "-1",
      "aria-label": this.texts.t("position.file"),
    });
    file.addEventListener("change", () => this.#readFile(file));
    return file;
  }

  #field(key, input, content) {
    const field = element("div", { class: "labelled" });
    field.append(element("label", { for: input.id }, this.texts.t(key)), content);
    return field;
  }

  #fail(text) {
    this.error.textContent = text;
  }

  /** Runs what changes the game; on an error says it and leaves game and dialog as they are. */
  async #take(change) {
    try {
      await change();
      this.#dialog.close();
    } catch (error) {
      if (!(error instanceof PositionError)) {
        throw error;
      }
      this.#fail(this.texts.t(error.key, error.values));
    }
  }

  async #load(text) {
    if (looksLikeFen(text)) {
      await this.#reset(text);
    } else {
      this.game.loadPgn(text);
    }
  }

  async #reset(text) {
    const fen = normalFen(text);
    await this.#askEngine(fen);
    this.game.reset(fen);
  }

  /** The engine has the last word on a position, where one runs. */
  async #askEngine(fen) {
    if (this.engine.state !== "ready" && this.engine.state !== "thinking") {
      return;
    }
    try {
      await this.engine.evaluate(fen);
    } catch {
      if (this.engine.state !== "failed") {
        throw new PositionError("fen.refused");
      }
    }
  }

  async #readFile(input) {
    const [file] = input.files;
    input.value = "";
    if (!file) {
      return;
    }
    if (file.size > MAX_FILE_BYTES) {
      this.#fail(this.texts.t("position.tooLarge"));
      return;
    }
    this.text.value = await file.text();
    this.#fail("");
  }
}
