// What can be measured of the page's looks: nothing beyond the edges, the board in full, no finding of axe.

import assert from "node:assert/strict";
import { mkdirSync, readFileSync } from "node:fs";
import { createRequire } from "node:module";
import path from "node:path";

import { ROOT } from "./site.js";

const SCREENSHOTS = path.join(ROOT, "build/web/screenshots");
const axeSource = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

// Keeps a picture of the page for a person to look at.
export async function keepPicture(visit, name) {
  mkdirSync(SCREENSHOTS, { recursive: true });
  await visit.page.screenshot({ path: path.join(SCREENSHOTS, `${name}.png`) });
}

// Nothing that is seen may reach beyond the left or right edge, unless it scrolls within a box of its own.
export async function assertFits(visit, what) {
  const beyond = await visit.page.evaluate(() => {
    const scrolls = (element) => {
      for (let box = element.parentElement; box && box !== document.body; box = box.parentElement) {
        if (getComputedStyle(box).overflowX !== "visible") return true;
      }
      return false;
    };
    const width = document.documentElement.clientWidth;
    const found = [...document.body.querySelectorAll("*")]
      .filter((element) => element.checkVisibility({ visibilityProperty: true, opacityProperty: true }))
      .filter((element) => {
        const { left, right, width: own, height } = element.getBoundingClientRect();
        return own > 1 && height > 1 && (left < -1 || right > width + 1) && !scrolls(element);
      })
      .map((element) => `<${element.localName} class="${element.getAttribute("class") ?? ""}">`);
    const whole = document.scrollingElement.scrollWidth;
    return whole > width + 1 ? [...found, `${whole} px wide`] : found;
  });
  assert.deepEqual(beyond, [], `${what}: beyond the edge`);
}

// The whole board is on the screen, and is a square.
export async function assertBoardSeen(visit, what) {
  const seen = await visit.page.evaluate(() => {
    const squares = [...document.querySelectorAll("svg .board [data-square]")]
      .map((square) => square.getBoundingClientRect());
    const left = Math.min(...squares.map((box) => box.left));
    const right = Math.max(...squares.map((box) => box.right));
    const top = Math.min(...squares.map((box) => box.top));
    const bottom = Math.max(...squares.map((box) => box.bottom));
    return { count: squares.length, left, right, top, bottom, width: innerWidth, height: innerHeight };
  });
  const { left, right, top, bottom, width, height } = seen;
  const said = `${what}: ${JSON.stringify(seen)}`;
  assert.equal(seen.count, 64, said);
  const inside = left >= -1 && top >= -1 && right <= width + 1 && bottom <= height + 1;
  assert.ok(inside, `not all is seen, ${said}`);
  assert.ok(Math.abs(right - left - (bottom - top)) <= 2, `not a square, ${said}`);
  assert.ok(right - left >= Math.min(width, height) * 0.4, `small, ${said}`);
}

// Rules for accessibility.
export async function assertAccessible(visit, what) {
  if (!(await visit.page.evaluate(() => "axe" in window))) await visit.page.evaluate(axeSource);
  const found = await visit.page.evaluate(async () => {
    const { violations } = await window.axe.run(document, { resultTypes: ["violations"] });
    return violations.map(({ id, help, nodes }) => ({
      id,
      help,
      nodes: nodes.slice(0, 4).map(({ html, failureSummary }) => `${html.slice(0, 160)} ${failureSummary}`),
    }));
  });
  assert.deepEqual(found, [], `${what}: axe`);
}
