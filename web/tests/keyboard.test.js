// Everything by the keyboard alone.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Chess } from "chess.js";

import { Visit } from "./support/browser.js";
import { find, listedMoves, newGame, untilSaid, untilStatus, words } from "./support/page.js";
import { untilReply, untilShown } from "./support/play.js";

const START = new Chess().fen();

// What has the focus, as assistive software would say it.
const focused = (visit) => visit.page.evaluate(() => {
  const { activeElement: element } = document;
  return {
    role: element.getAttribute("role") ?? element.localName,
    name: element.getAttribute("aria-label") ?? element.innerText.trim(),
    id: element.id,
  };
});

// Presses Tab until the wanted thing has the focus.
async function tabTo(visit, what, wanted) {
  for (let steps = 0; steps < 60; steps += 1) {
    if (wanted(await focused(visit))) return;
    await visit.page.keyboard.press("Tab");
  }
  throw new Error(`Tab does not reach ${what}: ${JSON.stringify(await focused(visit))}`);
}

async function tabToButton(visit, key) {
  await tabTo(visit, words(key), ({ role, name }) => role === "button" && name === words(key));
}

// Goes over the board by arrow keys from the square that has the focus.
async function goToSquare(visit, square) {
  const at = (await focused(visit)).name.slice(0, 2);
  const right = square.charCodeAt(0) - at.charCodeAt(0);
  const up = Number(square[1]) - Number(at[1]);
  for (let i = 0; i < Math.abs(right); i += 1) {
    await visit.page.keyboard.press(right > 0 ? "ArrowRight" : "ArrowLeft");
  }
  for (let i = 0; i < Math.abs(up); i += 1) await visit.page.keyboard.press(up > 0 ? "ArrowUp" : "ArrowDown");
  assert.equal((await focused(visit)).name.slice(0, 2), square);
}

test("a game by the keyboard: dialog, board, typed moves", async (t) => {
  const visit = await Visit.start(t);
  const { keyboard } = visit.page;
  await untilStatus(visit, "play.status.yours");
  await tabToButton(visit, "play.newGame");
  await keyboard.press("Enter");
  await tabTo(visit, "the side", ({ role }) => role === "input");
  // The limits are one group of choices; its arrow keys go through it.
  await keyboard.press("Tab");
  await keyboard.press("ArrowDown");
  await keyboard.press("ArrowDown");
  assert.equal(await visit.page.evaluate(() => document.activeElement.value), "depth");
  await keyboard.press("Tab");
  await keyboard.down("Control");
  await keyboard.press("a");
  await keyboard.up("Control");
  await keyboard.type("1");
  await tabToButton(visit, "play.start");
  await keyboard.press("Enter");
  await visit.until("the dialog is closed", () => document.querySelector("dialog[open]") === null);

  const chess = new Chess();
  await untilShown(visit, START);
  await tabTo(visit, "the board", ({ role }) => role === "gridcell");
  for (const uci of ["e2e4", "g1f3"]) {
    await untilStatus(visit, "play.status.yours");
    await goToSquare(visit, uci.slice(0, 2));
    await keyboard.press("Enter");
    assert.ok((await focused(visit)).name.includes(words("board.chosen")));
    await goToSquare(visit, uci.slice(2, 4));
    assert.ok((await focused(visit)).name.includes(words("board.target")));
    await keyboard.press("Space");
    chess.move(uci);
    await untilReply(visit, chess);
  }
  // Escape puts a piece down again.
  await untilStatus(visit, "play.status.yours");
  await goToSquare(visit, "d2");
  await keyboard.press("Enter");
  await keyboard.press("Escape");
  assert.ok(!(await focused(visit)).name.includes(words("board.chosen")));

  await tabTo(visit, "the text field", ({ id }) => id === "move-text");
  for (const text of ["Nc3", "a2a3"]) {
    await untilStatus(visit, "play.status.yours");
    await keyboard.type(text);
    await keyboard.press("Enter");
    chess.move(text);
    await untilReply(visit, chess);
    assert.equal((await focused(visit)).id, "move-text");
  }
  assert.deepEqual(await listedMoves(visit), chess.history());
});

test("moves are told in words to screen readers", async (t) => {
  const visit = await Visit.start(t);
  await newGame(visit);
  await untilShown(visit, START);
  const chess = new Chess();
  await find(visit, "textbox", words("moves.type")).fill("Nf3");
  await visit.page.keyboard.press("Enter");
  chess.move("Nf3");
  const { piece, to, captured } = await untilReply(visit, chess);
  assert.equal(captured, undefined);
  const told = words("say.move", {
    side: words("say.side.b"), piece: words(`say.piece.${piece}`), to,
  });
  await visit.until(`“${told}” is told`, (text) =>
    document.querySelector("[aria-live=polite]").textContent.includes(text), told);
});

test("tabs by arrow keys, dialogs by Escape, the focus comes back", async (t) => {
  const visit = await Visit.start(t);
  const { keyboard } = visit.page;
  await untilStatus(visit, "play.status.yours");
  await tabTo(visit, "the tabs", ({ role }) => role === "tab");
  for (const view of ["analyse", "why", "play"]) {
    await keyboard.press("ArrowRight");
    assert.equal((await focused(visit)).name, words(`tab.${view}`));
    await visit.until(`${view} is shown`, (name) => {
      const panel = document.getElementById(`view-${name}`);
      return !panel.hidden && panel.checkVisibility();
    }, view);
  }
  for (const key of ["settings.title", "bar.position", "play.newGame"]) {
    await tabToButton(visit, key);
    await keyboard.press("Enter");
    await visit.until("a dialog is open", () => document.querySelector("dialog[open]") !== null);
    await visit.until("the focus is in it", () =>
      document.querySelector("dialog[open]").contains(document.activeElement));
    await keyboard.press("Escape");
    await visit.until("it is closed", () => document.querySelector("dialog[open]") === null);
    assert.equal((await focused(visit)).name, words(key));
  }
});

test("the focus is always seen", async (t) => {
  const visit = await Visit.start(t);
  await untilStatus(visit, "play.status.yours");
  const unseen = [];
  for (let i = 0; i < 25; i += 1) {
    await visit.page.keyboard.press("Tab");
    const found = await visit.page.evaluate(() => {
      const { activeElement: element } = document;
      if (element === document.body) return null;
      const style = getComputedStyle(element);
      const outlined = style.outlineStyle !== "none" && parseFloat(style.outlineWidth) > 0;
      return outlined || style.boxShadow !== "none" ? null : element.outerHTML.slice(0, 100);
    });
    if (found) unseen.push(found);
  }
  assert.deepEqual(unseen, []);
});
