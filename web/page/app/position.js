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

/** @param {{game, engine, texts}} page */
export function createPositionDialog(page) {
  new PositionDialog(page);
}

class PositionDialog {
  #dialog = document.getElementById("position-dialog");

  constructor({ game, engine, texts }) {
    Object.assign(this, { game, engine, texts });
    this.#build();
    onClose(this.#dialog);
    document.getElementById("open-position").addEventListener("click", () => this.open());
    texts.addEventListener("change", () => this.#build());
  }

  open() {
    this.text.value = "";
    this.fen.value = this.game.fen;
    this.copy.textContent = this.texts.t("position.copyFen");
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
    const form = this.#form(() => this.#load(this.text.value));
    this.text = element("textarea", {
      rows: "6", spellcheck: "false", autocapitalize: "off", id: "position-text",
    });
    this.text.addEventListener("input", () => this.#fail(""));
    this.fen = element("input", { type: "text", readonly: "", id: "position-fen" });
    this.copy = this.#button("position.copyFen", "quiet", () => this.#copyFen());
    const fenRow = element("div", { class: "row" });
    fenRow.append(this.fen, this.copy);
    const file = this.#fileInput();
    const buttons = element("div", { class: "buttons end" });
    buttons.append(file, this.#button("position.file", "", () => file.click()), this.#cancelButton(),
      this.#submitButton("position.open"));
    form.append(this.#field("position.paste", this.text, this.text),
      this.#field("position.fen", this.fen, fenRow), buttons);
    return form;
  }

  #setUpPage() {
    const form = this.#form(() => this.#reset(this.setUp.fen()));
    this.setUp = new SetUpBoard(this.texts, () => this.#fail(""));
    const presets = element("div", { class: "buttons presets" });
    presets.append(this.#button("position.clear", "quiet", () => this.setUp.clear()),
      this.#button("position.start", "quiet", () => this.setUp.show()),
      this.#button("position.fromBoard", "quiet", () => this.setUp.show(this.game.fen)));
    const buttons = element("div", { class: "buttons end" });
    buttons.append(this.#cancelButton(), this.#submitButton("position.use"));
    form.append(presets, this.setUp.element, buttons);
    return form;
  }

  /** A form that changes the game. */
  #form(change) {
    const form = element("form");
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      this.#take(change);
    });
    return form;
  }

  /** Where the page may not copy, the user can. */
  async #copyFen() {
    if (await copyText(this.fen.value)) {
      this.copy.textContent = this.texts.t("position.copied");
    } else {
      this.fen.select();
    }
  }

  #submitButton(key) {
    return element("button", { type: "submit", class: "primary" }, this.texts.t(key));
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
