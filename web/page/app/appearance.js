// Language and colours: what the user chose, or what the system has.
import { chooseLanguage, LANGUAGES, Texts } from "./i18n.js";
import { onClose } from "./dialogs.js";

const THEMES = ["auto", "light", "dark"];

/** The texts in the language chosen before, or in one that the browser wants. */
export function createTexts(settings) {
  const chosen = settings.get("language", null, (language) => Object.hasOwn(LANGUAGES, language ?? ""));
  return new Texts(chosen ?? chooseLanguage(navigator.languages ?? [navigator.language]));
}

/** Writes all texts of the page, now and when the language changes. */
export function writeTexts(texts, title) {
  const write = () => {
    document.documentElement.lang = texts.language;
    document.title = title();
    texts.apply(document);
  };
  texts.addEventListener("change", write);
  write();
}

const BARS = { light: "#f6f4ef", dark: "#181b1f" }; // the browser's own bars, as --back has it

function applyTheme(theme) {
  for (const meta of document.querySelectorAll("meta[name=theme-color]")) {
    meta.content = BARS[theme] ?? BARS[meta.media.includes("dark") ? "dark" : "light"];
  }
  if (theme === "auto") {
    delete document.documentElement.dataset.theme;
  } else {
    document.documentElement.dataset.theme = theme;
  }
}

/** The dialog of language and colours. `about()` is the line on the engine. */
export function createSettingsDialog({ texts, settings, about }) {
  const dialog = document.getElementById("settings-dialog");
  const fields = dialog.querySelector("form").elements;
  const theme = () => settings.get("theme", "auto", (value) => THEMES.includes(value));
  applyTheme(theme());
  onClose(dialog);
  document.getElementById("open-settings").addEventListener("click", () => {
    fields.language.value = texts.language;
    fields.theme.value = theme();
    document.getElementById("about").textContent = about();
    dialog.showModal();
  });
  dialog.addEventListener("change", ({ target }) => {
    if (target.name === "language") {
      settings.set("language", target.value);
      texts.set(target.value);
      document.getElementById("about").textContent = about();
    } else if (target.name === "theme") {
      settings.set("theme", target.value);
      applyTheme(target.value);
    }
  });
}
