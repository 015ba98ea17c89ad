// How the page looks on small and large screens, light and dark; pictures for a person are kept.

import { test } from "node:test";

import { Visit } from "./support/browser.js";
import { assertAccessible, assertBoardSeen, assertFits, keepPicture } from "./support/look.js";
import { openPosition, openView } from "./support/page.js";
import { untilShown } from "./support/play.js";

const SCREENS = [
  { name: "phone-320", width: 320, height: 568, touch: true },
  { name: "phone-320-uk", width: 320, height: 568, touch: true, language: "uk" },
  { name: "phone-390", width: 390, height: 844, touch: true },
  { name: "landscape", width: 844, height: 390, touch: true },
  { name: "tablet", width: 820, height: 1180, touch: true },
  { name: "desktop", width: 1280, height: 800 },
  { name: "uhd", width: 3840, height: 2160 },
];

const GAME = "1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7 6. Re1 b5 7. Bb3 d6 8. c3 O-O 9. h3 Na5"
  + " 10. Bc2 c5 11. d4 Qc7 12. Nbd2 cxd4 13. cxd4 Nc6 14. Nb3 a5 15. Be3 a4 *";
const POSITION = "r1b2rk1/2q1bppp/2np1n2/1p2p3/p2PP3/1N2BN1P/PPB2PP1/R2QR1K1 w - - 0 16";

async function inEveryView(visit, check) {
  await check("play");
  await openView(visit, "analyse");
  await visit.page.evaluate(() => document.querySelector("[data-test=analysis-switch]").click());
  await visit.until("an analysis", () =>
    parseInt(document.querySelector("[data-test=depth]").innerText, 10) >= 6);
  await visit.page.evaluate(() => document.querySelector("[data-test=analysis-switch]").click());
  await check("analyse");
  await openView(visit, "why");
  await visit.until("an evaluation", () =>
    document.querySelectorAll("[data-test=why-table] .term-row").length === 7);
  await check("why");
}

async function inEveryDialog(visit, check) {
  await openView(visit, "play");
  for (const name of ["open-settings", "new-game", "open-position"]) {
    await visit.page.evaluate((id) => document.getElementById(id).click(), name);
    await visit.until("the dialog is open", () => document.querySelector("dialog[open]") !== null);
    await check(name);
    if (name === "open-position") {
      await visit.page.evaluate(() => document.querySelector("[name=position-page][value='1']").click());
      await check("set-up");
    }
    await visit.page.keyboard.press("Escape");
    await visit.until("the dialog is closed", () => document.querySelector("dialog[open]") === null);
  }
}

for (const { name, ...screen } of SCREENS) {
  test(`${name}, ${screen.width} by ${screen.height}: all fits, the board is seen in full`, async (t) => {
    const visit = await Visit.start(t, screen);
    await openPosition(visit, GAME);
    await untilShown(visit, POSITION);
    await inEveryView(visit, async (view) => {
      await visit.page.evaluate(() => window.scrollTo(0, 0));
      await assertFits(visit, view);
      await assertBoardSeen(visit, view);
      await keepPicture(visit, `${name}-${view}`);
    });
    await inEveryDialog(visit, async (dialog) => {
      await assertFits(visit, dialog);
      await keepPicture(visit, `${name}-${dialog}`);
    });
  });
}

for (const [scheme, language] of [["light", "en"], ["dark", "en"], ["light", "uk"], ["dark", "uk"]]) {
  test(`axe finds nothing in any view or dialog: ${scheme}, ${language}`, async (t) => {
    const visit = await Visit.start(t, { scheme, language });
    await openPosition(visit, GAME);
    await untilShown(visit, POSITION);
    const check = async (name) => {
      await assertAccessible(visit, name);
      await keepPicture(visit, `${scheme}-${language}-${name}`);
    };
    await inEveryView(visit, check);
    await inEveryDialog(visit, check);
  });
}
