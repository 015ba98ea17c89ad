// The page as a user knows it: by roles and by the words on it.

import { Puppeteer } from "puppeteer-core";

import { Texts } from "../../page/app/i18n.js";
import { PATIENCE } from "./browser.js";

const english = new Texts("en");

// The page's English words for a key.
export function words(key, values = {}) {
  return english.t(key, values);
}

// The same in the language of a visit.
function said(visit, key, values) {
  return visit.texts.t(key, values);
}

// Firefox tells nothing of its accessibility tree here: roles and names are taken from the elements.
const ELEMENTS = {
  button: "button:not([role])",
  checkbox: "input[type=checkbox]",
  radio: "input[type=radio]",
  spinbutton: "input[type=number]",
  textbox: "textarea, input[type=text]",
};

Puppeteer.registerCustomQueryHandler("named", {
  queryAll: (root, selector) => {
    const { elements, name } = JSON.parse(selector);
    const nameOf = (element) =>
      element.getAttribute("aria-label") ?? element.labels?.[0]?.innerText ?? element.innerText;
    const scope = document.querySelector("dialog[open]") ?? root;
    return [...scope.querySelectorAll(elements)]
      .filter((element) => element.checkVisibility() && nameOf(element).trim() === name);
  },
});

// A locator of what has this role and this name; it waits until it can be used.
export function find(visit, role, name) {
  const elements = ELEMENTS[role] ?? `[role=${role}]`;
  const selector = visit.kind === "firefox"
    ? `::-p-named(${JSON.stringify({ elements, name })})`
    : `::-p-aria([name="${name}"][role="${role}"])`;
  return visit.page.locator(selector).setTimeout(PATIENCE);
}

export function press(visit, key, role = "button") {
  return find(visit, role, said(visit, key)).click();
}

export async function openView(visit, view) {
  await press(visit, `tab.${view}`, "tab");
  await visit.until(`the view ${view} is there`, (name) =>
    document.getElementById(`view-${name}`).innerText.trim().length > 20, view);
}

// Waits until the words are seen somewhere on the page.
export async function untilSaid(visit, text, within = "body") {
  await visit.until(`“${text}” is said`, (wanted, selector) => {
    const plain = (string) => string.replaceAll(/\s+/g, " ");
    const boxes = [...document.querySelectorAll(selector)];
    return boxes.some((box) => plain(box.innerText).includes(plain(wanted)));
  }, text, within);
}

export function isSaid(visit, text) {
  return visit.page.evaluate((wanted) => document.body.innerText.includes(wanted), text);
}

// Waits for the status line of Play.
export function untilStatus(visit, key, values) {
  return untilSaid(visit, said(visit, key, values), "#play-status");
}

// The words beside the numbers of a limit.
const FIELDS = {
  depth: "play.plies", nodes: "play.positions", movetime: "play.seconds",
  base: "play.minutes", increment: "play.increment",
};

// Starts a game: side "white" | "black" | "random"; limit {depth} | {nodes} | {movetime} | {base, increment}.
export async function newGame(visit, { side = "white", limit = { depth: 1 }, here = false } = {}) {
  await press(visit, "play.newGame");
  await press(visit, `play.${side}`, "radio");
  const [kind] = Object.keys(limit);
  await press(visit, `play.limit.${kind === "base" ? "clock" : kind}`, "radio");
  for (const [name, value] of Object.entries(limit)) {
    await find(visit, "spinbutton", said(visit, FIELDS[name])).fill(String(value));
  }
  const box = await find(visit, "checkbox", said(visit, "play.fromHere")).waitHandle();
  if ((await box.evaluate((element) => element.checked)) !== here) await box.click();
  await press(visit, "play.start");
  await visit.until("the dialog is closed", () => document.querySelector("dialog[open]") === null);
}

// Puts a FEN or a PGN onto the board by the dialog; it stays open where the page refuses the text.
export async function paste(visit, text) {
  await press(visit, "bar.position");
  await submitText(visit, text);
}

export async function submitText(visit, text) {
  await find(visit, "textbox", said(visit, "position.paste")).fill(text);
  await press(visit, "position.open");
}

export async function openPosition(visit, text) {
  await paste(visit, text);
  await visit.until("the dialog is closed", () => document.querySelector("dialog[open]") === null);
}

// The moves in the list, as they are written there.
export function listedMoves(visit) {
  return visit.page.evaluate(() =>
    [...document.querySelectorAll("#move-list [data-ply]")].map((move) => move.innerText.trim()));
}
