// The texts of the page in its languages.
import en from "../text/en.js";
import uk from "../text/uk.js";

export const LANGUAGES = { en, uk };
const FALLBACK = "en";

/** The first of the wanted languages (like "uk-UA") that the page has. */
export function chooseLanguage(wanted) {
  const codes = wanted.map((tag) => String(tag).toLowerCase().split("-")[0]);
  return codes.find((code) => Object.hasOwn(LANGUAGES, code)) ?? FALLBACK;
}

/** Dispatches "change" when the language does. */
export class Texts extends EventTarget {
  #plurals;

  constructor(language = FALLBACK) {
    super();
    this.#use(language);
  }

  #use(language) {
    this.language = Object.hasOwn(LANGUAGES, language) ? language : FALLBACK;
    this.#plurals = new Intl.PluralRules(this.language);
  }

  set(language) {
    if (language !== this.language) {
      this.#use(language);
      this.dispatchEvent(new CustomEvent("change"));
    }
  }

  has(key) {
    return Object.hasOwn(LANGUAGES[this.language], key);
  }

  /**
   * A text, with `{name}` replaced by values. A text with plural forms is {one, few, many, other}, chosen by
   * values.n. Numbers are written as the language writes them.
   */
  t(key, values = {}) {
    const entry = LANGUAGES[this.language][key] ?? LANGUAGES[FALLBACK][key];
    if (entry === undefined) {
      return key;
    }
    const text = typeof entry === "string" ? entry : entry[this.#plurals.select(values.n)] ?? entry.other;
    return text.replace(/\{(\w+)\}/g, (all, name) => (name in values ? this.#written(values[name]) : all));
  }

  #written(value) {
    return typeof value === "number" ? this.number(value) : String(value);
  }

  number(value, options = {}) {
    return new Intl.NumberFormat(this.language, options).format(value);
  }

  /**
   * Puts texts into the elements that name them: data-text (content), data-text-label (aria-label),
   * data-text-title, data-text-placeholder.
   * @param {ParentNode} root
   */
  apply(root) {
    const put = (name, write) => {
      for (const element of root.querySelectorAll(`[data-${name}]`)) {
        write(element, this.t(element.getAttribute(`data-${name}`)));
      }
    };
    put("text", (element, text) => { element.textContent = text; });
    put("text-label", (element, text) => element.setAttribute("aria-label", text));
    put("text-title", (element, text) => element.setAttribute("title", text));
    put("text-placeholder", (element, text) => element.setAttribute("placeholder", text));
  }
}
