// Draws the page's icons, page/icons/, from the white knight of its pieces: node web/draw-icons.mjs
// Needs Chromium, which the tests in a browser need, too.

import { readFileSync, writeFileSync } from "node:fs";
import { fileURLToPath } from "node:url";
import puppeteer from "puppeteer-core";

const page = fileURLToPath(new URL("page/", import.meta.url));
const LIGHT = "#ecd9b9"; // the squares of packaging/windows/morvane.ico
const DARK = "#ae7e58";
const SIZE = 64;
const SQUARES = 4;

// What stands in the group of this name in the sprite.
function pieceGroup(name) {
  const lines = readFileSync(`${page}pieces.svg`, "utf8").split("\n");
  const first = lines.findIndex((line) => line.includes(`<g id="${name}"`));
  const last = lines.findIndex((line, i) => i > first && line === "    </g>");
  return lines.slice(first, last + 1).map((line) => line.trim()).join("").replace(` id="${name}"`, "");
}

function board(radius) {
  const side = SIZE / SQUARES;
  let dark = "";
  for (let i = 0; i < SQUARES * SQUARES; i += 1) {
    const [x, y] = [i % SQUARES, Math.floor(i / SQUARES)];
    if ((x + y) % 2 === 1) dark += `M${x * side} ${y * side}h${side}v${side}h-${side}z`;
  }
  const clip = `<clipPath id="a"><rect width="${SIZE}" height="${SIZE}" rx="${radius}"/></clipPath>`;
  return `${clip}<g clip-path="url(#a)"><path fill="${LIGHT}" d="M0 0h${SIZE}v${SIZE}H0z"/>`
    + `<path fill="${DARK}" d="${dark}"/></g>`;
}

// `scale` of the piece, which is drawn 40 by 40; its middle stands in the icon's.
function icon({ radius, scale, pixels = SIZE }) {
  const corner = ((SIZE - 40 * scale) / 2).toFixed(2);
  const size = `width="${pixels}" height="${pixels}" viewBox="0 0 ${SIZE} ${SIZE}"`;
  const piece = `<g transform="translate(${corner} ${corner}) scale(${scale})">${pieceGroup("wn")}</g>`;
  return `<svg xmlns="http://www.w3.org/2000/svg" ${size}>${board(radius)}${piece}</svg>\n`;
}

const round = { radius: 12, scale: 1.475 };
const pictures = [
  ["morvane-192.png", 192, round],
  ["morvane-512.png", 512, round],
  ["morvane-180.png", 180, { ...round, radius: 0 }], // Apple's systems cut the corners themselves
  ["morvane-maskable-512.png", 512, { radius: 0, scale: 1.05 }], // may be cut to a circle
];

writeFileSync(`${page}icons/morvane.svg`, icon(round));
const browser = await puppeteer.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium", args: ["--no-sandbox", "--disable-gpu"],
});
try {
  const tab = await browser.newPage();
  for (const [name, pixels, shape] of pictures) {
    await tab.setViewport({ width: pixels, height: pixels });
    const style = "<style>html, body { margin: 0 } svg { display: block }</style>";
    await tab.setContent(style + icon({ ...shape, pixels }));
    await tab.screenshot({ path: `${page}icons/${name}`, omitBackground: true });
  }
} finally {
  await browser.close();
}
