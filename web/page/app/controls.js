// The controls beside the board that all views share: steps through the game, turning the board, the text
// field for moves, and the game as PGN.
import { keepFocus } from "./dialogs.js";

const byId = (id) => document.getElementById(id);

/** The buttons below the board. */
export function createBoardBar({ game, board }) {
  const steps = {
    "go-first": () => 0, "go-previous": () => game.ply - 1, "go-next": () => game.ply + 1,
    "go-last": () => game.moves.length,
  };
  for (const [id, to] of Object.entries(steps)) {
    byId(id).addEventListener("click", () => game.goto(to()));
  }
  byId("flip").addEventListener("click", () => board.flip());
  document.querySelector(".skip").addEventListener("click", (event) => {
    event.preventDefault();
    board.focus();
  });
  const update = () => {
    byId("go-first").disabled = byId("go-previous").disabled = game.ply === 0;
    byId("go-last").disabled = byId("go-next").disabled = game.atEnd;
    keepFocus(byId(game.ply === 0 ? "go-next" : "go-previous"));
  };
  game.addEventListener("change", update);
  update();
  document.addEventListener("keydown", (event) => stepByKey(event, game));
}

/** The arrow keys step through the game where nothing else wants them. */
function stepByKey(event, game) {
  const to = { ArrowLeft: game.ply - 1, ArrowRight: game.ply + 1 }[event.key];
  const free = event.target === document.body || event.target.closest?.(".board-bar, #board") !== null;
  if (to === undefined || !free || event.defaultPrevented || event.ctrlKey || event.altKey || event.metaKey) {
    return;
  }
  game.goto(to);
  event.preventDefault();
}

/** The field for a typed move. `play(uci)` says whether the move was taken. */
export function createMoveForm({ game, texts, play }) {
  const form = byId("move-form");
  const field = byId("move-text");
  const error = byId("move-error");
  const fail = (text) => {
    error.textContent = text;
    if (text) {
      field.setAttribute("aria-invalid", "true");
    } else {
      field.removeAttribute("aria-invalid");
    }
  };
  field.addEventListener("input", () => fail(""));
  game.addEventListener("change", () => fail(""));
  form.addEventListener("submit", (event) => {
    event.preventDefault();
    const text = field.value.trim();
    if (text === "") {
      return;
    }
    const uci = game.parseMove(text);
    if (uci === null) {
      fail(texts.t("moves.illegal", { move: text }));
    } else if (play(uci)) {
      field.value = "";
    } else {
      fail(texts.t("moves.notNow"));
    }
  });
}

/** Copies a text; resolves to whether the browser let the page. */
export async function copyText(text) {
  try {
    await navigator.clipboard.writeText(text);
    return true;
  } catch {
    return false;
  }
}

function pgnHeaders(names) {
  const today = new Date();
  const two = (n) => String(n).padStart(2, "0");
  const date = `${today.getFullYear()}.${two(today.getMonth() + 1)}.${two(today.getDate())}`;
  return names ? { Date: date, White: names.w, Black: names.b } : {};
}

/** Copying and saving the game. `names()` gives the players of a game played here, or null. */
export function createPgnButtons({ game, notices, names }) {
  const pgn = () => game.toPgn(pgnHeaders(names()));
  byId("copy-pgn").addEventListener("click", async () => {
    notices.dismiss("moves.notCopied");
    if (await copyText(pgn())) {
      notices.show("moves.copied", { seconds: 4 });
    } else {
      notices.show("moves.notCopied", { kind: "error" });
    }
  });
  byId("save-pgn").addEventListener("click", () => {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(new Blob([pgn()], { type: "application/x-chess-pgn" }));
    link.download = "morvane.pgn";
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 1000);
  });
}
