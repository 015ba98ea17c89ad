// The texts: both languages have the same, none is empty, plural forms are complete, and the page asks for
// none else.
import assert from "node:assert/strict";
import { readdirSync, readFileSync } from "node:fs";
import { test } from "node:test";
import { fileURLToPath } from "node:url";
import path from "node:path";
import { chooseLanguage, LANGUAGES, Texts } from "../page/app/i18n.js";

const page = fileURLToPath(new URL("../page", import.meta.url));
const sources = readdirSync(path.join(page, "app"), { recursive: true })
  .filter((name) => name.endsWith(".js"))
  .map((name) => readFileSync(path.join(page, "app", name), "utf8"));
const html = readFileSync(path.join(page, "index.html"), "utf8");

/** All forms of an entry. */
function formsOf(entry) {
  return typeof entry === "string" ? [entry] : Object.values(entry);
}

function placesOf(entry) {
  return [...new Set(formsOf(entry).flatMap((text) => text.match(/\{\w+\}/g) ?? []))].sort();
}

test("both languages have the same keys", () => {
  const [en, uk] = [LANGUAGES.en, LANGUAGES.uk].map((texts) => Object.keys(texts).sort());
  assert.deepEqual(uk, en);
});

test("no text is empty, and each has the same places for values", () => {
  for (const [key, entry] of Object.entries(LANGUAGES.en)) {
    for (const texts of Object.values(LANGUAGES)) {
      assert.ok(formsOf(texts[key]).every((text) => text.trim() !== ""), key);
    }
    assert.deepEqual(placesOf(LANGUAGES.uk[key]), placesOf(entry), key);
  }
});

test("what has plural forms has all that its language has", () => {
  for (const [language, texts] of Object.entries(LANGUAGES)) {
    const wanted = new Intl.PluralRules(language).resolvedOptions().pluralCategories.toSorted();
    for (const [key, entry] of Object.entries(texts)) {
      if (typeof entry !== "string") {
        assert.deepEqual(Object.keys(entry).sort(), wanted, `${language} ${key}`);
      }
    }
  }
});

test("the texts that the page and its modules name are there", () => {
  const named = [...html.matchAll(/data-text(?:-\w+)?="([^"]+)"/g)].map(([, key]) => key);
  const inCode = sources.flatMap((code) => [...code.matchAll(/\bt\("([^"]+)"/g)].map(([, key]) => key));
  assert.ok(named.length > 30 && inCode.length > 30);
  for (const key of [...named, ...inCode]) {
    assert.ok(Object.hasOwn(LANGUAGES.en, key), key);
  }
});

test("the language is the first wanted one that the page has", () => {
  assert.equal(chooseLanguage(["uk-UA", "en"]), "uk");
  assert.equal(chooseLanguage(["de-DE", "uk", "en"]), "uk");
  assert.equal(chooseLanguage(["EN-gb"]), "en");
  assert.equal(chooseLanguage(["de"]), "en");
  assert.equal(chooseLanguage([]), "en");
});

test("values, plural forms and numbers are put in as the language has them", () => {
  const texts = new Texts("uk");
  const told = (n) => texts.t("play.told.nodes", { n });
  assert.match(told(1), /1 позицію/);
  assert.match(told(3), /3 позиції/);
  assert.match(told(11), /11 позицій/);
  assert.equal(texts.t("moves.illegal", { move: "Zz9" }).includes("Zz9"), true);
  assert.equal(new Texts("en").number(1234.5), "1,234.5");
  assert.equal(texts.t("there.is.no.such"), "there.is.no.such");
});

test("a change of language is told once", () => {
  const texts = new Texts("en");
  let told = 0;
  texts.addEventListener("change", () => ++told);
  texts.set("en");
  texts.set("uk");
  texts.set("uk");
  assert.equal(told, 1);
  assert.equal(texts.language, "uk");
  assert.equal(texts.t("tab.play"), "Гра");
});
