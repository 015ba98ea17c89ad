// English and Ukrainian.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Texts } from "../page/app/i18n.js";
import { Visit } from "./support/browser.js";
import { find, words } from "./support/page.js";

const ukrainian = new Texts("uk");

const languageOf = (visit) => visit.page.evaluate(() => document.documentElement.lang);

// All words that are seen or told in a view, without what is the same in every language.
const allWords = (visit) => visit.page.evaluate(() => {
  const found = new Set();
  const add = (text) => {
    for (const part of (text ?? "").split(/\n/)) if (/\p{L}{3}/u.test(part)) found.add(part.trim());
  };
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_ELEMENT);
  for (let element = walker.currentNode; element; element = walker.nextNode()) {
    if (!element.checkVisibility() || element.closest("[lang]:not(html), noscript")) continue;
    for (const name of ["aria-label", "title", "placeholder", "aria-valuetext"]) {
      add(element.getAttribute(name));
    }
    for (const node of element.childNodes) if (node.nodeType === Node.TEXT_NODE) add(node.data);
  }
  return [...found];
});

async function openDialogAndReturn(visit, id) {
  await visit.page.evaluate((button) => document.getElementById(button).click(), id);
  await visit.until("the dialog is open", () => document.querySelector("dialog[open]") !== null);
  const found = await allWords(visit);
  await visit.page.keyboard.press("Escape");
  return found;
}

async function wordsOfAllViews(visit) {
  const found = new Set();
  for (const view of ["play", "analyse", "why"]) {
    await visit.page.evaluate((name) => document.getElementById(`tab-${name}`).click(), view);
    await visit.until(`${view} is shown`, (name) =>
      document.getElementById(`view-${name}`).innerText.trim().length > 40, view);
    await visit.page.evaluate(nextFrame); // a view that is shown writes its texts with the next frame
    for (const text of await allWords(visit)) found.add(text);
  }
  for (const id of ["open-settings", "new-game", "open-position"]) {
    if (id === "new-game") await visit.page.evaluate(() => document.getElementById("tab-play").click());
    for (const text of await openDialogAndReturn(visit, id)) found.add(text);
  }
  return found;
}

const nextFrame = () => new Promise((go) => requestAnimationFrame(() => requestAnimationFrame(go)));

test("the browser's language is taken", async (t) => {
  for (const [wanted, lang] of [["uk-UA", "uk"], ["de-DE", "en"], ["fr-FR,uk,en", "uk"]]) {
    const visit = await Visit.start(t, { language: wanted });
    assert.equal(await languageOf(visit), lang, wanted);
  }
});

test("in Ukrainian no English is left, and in English no Ukrainian", async (t) => {
  const visit = await Visit.start(t, { language: "uk" });
  const inUkrainian = await wordsOfAllViews(visit);
  // Names, units, and moves stay as they are.
  const stays = /^(Morvane.*|FEN|PGN|UCI|[A-Za-z0-9+#=\-/ .…]*\d[A-Za-z0-9+#=\-/ .…]*)$/;
  const left = [...inUkrainian].filter((text) => !/\p{Script=Cyrillic}/u.test(text) && !stays.test(text));
  assert.deepEqual(left, []);

  await find(visit, "button", ukrainian.t("settings.title")).click();
  await find(visit, "radio", "English").click();
  await find(visit, "button", words("close")).click();
  await visit.until("the page is English", () => document.documentElement.lang === "en");
  const inEnglish = await wordsOfAllViews(visit);
  assert.deepEqual([...inEnglish].filter((text) => /\p{Script=Cyrillic}/u.test(text)), []);
  assert.equal(inEnglish.size > 60, true, `${inEnglish.size} texts`);

  // The choice is remembered.
  await visit.page.reload({ waitUntil: "load" });
  assert.equal(await languageOf(visit), "en");
  await find(visit, "button", words("play.newGame")).wait();
});
