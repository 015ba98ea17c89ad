// What a player does at the board, with mouse, fingers and keys, and what is seen on it.

import { PATIENCE } from "./browser.js";

// Runs in the page. The pieces as drawn, as the first field of a FEN.
function drawnPlacement() {
  const drawn = new Map();
  for (const piece of document.querySelectorAll("svg .pieces g[data-piece][data-square]")) {
    if (piece.getAttribute("visibility") !== "hidden") drawn.set(piece.dataset.square, piece.dataset.piece);
  }
  return [8, 7, 6, 5, 4, 3, 2, 1]
    .map((rank) => [..."abcdefgh"]
      .map((file) => drawn.get(file + rank))
      .map((piece) => (piece ? (piece[0] === "w" ? piece[1].toUpperCase() : piece[1]) : "1"))
      .join("")
      .replace(/1+/g, (empty) => empty.length))
    .join("/");
}

export function placement(visit) {
  return visit.page.evaluate(drawnPlacement);
}

// Waits until the board shows the position, all pieces at rest.
export async function untilShown(visit, fen) {
  const [wanted] = fen.split(" ");
  try {
    await visit.page.waitForFunction(
      `(${drawnPlacement})() === ${JSON.stringify(wanted)}`, { polling: 30, timeout: PATIENCE });
  } catch (cause) {
    throw new Error(`the board shows ${await placement(visit)}, not ${wanted}`, { cause });
  }
}

export async function centreOf(visit, square) {
  return visit.page.evaluate((name) => {
    const box = document.querySelector(`svg .board [data-square="${name}"]`).getBoundingClientRect();
    return { x: box.x + box.width / 2, y: box.y + box.height / 2 };
  }, square);
}

export async function clickMove(visit, uci) {
  for (const square of [uci.slice(0, 2), uci.slice(2, 4)]) {
    const { x, y } = await centreOf(visit, square);
    await visit.page.mouse.click(x, y);
  }
}

export async function dragMove(visit, uci) {
  const from = await centreOf(visit, uci.slice(0, 2));
  const to = await centreOf(visit, uci.slice(2, 4));
  await visit.page.mouse.move(from.x, from.y);
  await visit.page.mouse.down();
  await visit.page.mouse.move((from.x + to.x) / 2, (from.y + to.y) / 2, { steps: 3 });
  await visit.page.mouse.move(to.x, to.y, { steps: 3 });
  await visit.page.mouse.up();
}

// Waits for the engine's move and makes it in `chess`, which holds the position before it.
export async function untilReply(visit, chess) {
  const replies = new Map();
  for (const move of chess.moves({ verbose: true })) replies.set(move.after.split(" ")[0], move.san);
  let found;
  try {
    const known = JSON.stringify([...replies.keys()]);
    const handle = await visit.page.waitForFunction(
      `${known}.find((one) => one === (${drawnPlacement})())`,
      { polling: 30, timeout: PATIENCE });
    found = await handle.jsonValue();
  } catch (cause) {
    throw new Error(`no move of the engine: the board shows ${await placement(visit)}`, { cause });
  }
  return chess.move(replies.get(found));
}
