// Puts the page together: one board, one game and one engine, shared by the views.
import { createSettingsDialog, createTexts, writeTexts } from "./appearance.js";
import { Board, loadPieces } from "./board.js";
import { createBoardBar, createMoveForm, createPgnButtons } from "./controls.js";
import { PageEngine } from "./engine.js";
import { Game } from "./game.js";
import { installWorker } from "./install.js";
import { MoveList } from "./movelist.js";
import { Notices } from "./notices.js";
import { Players } from "./players.js";
import * as play from "./play.js";
import { createPositionDialog } from "./position.js";
import { browserStorage, Settings } from "./settings.js";
import { createTabs } from "./tabs.js";
import { moveInWords } from "./words.js";

const byId = (id) => document.getElementById(id);
const isCount = (value) => Number.isInteger(value) && value > 0;

const settings = new Settings(browserStorage());
const texts = createTexts(settings);
const notices = new Notices(byId("notices"), byId("spoken"), texts);
const game = new Game();
const board = new Board(byId("board"), { fen: game.fen, texts });
const players = new Players(byId("player-top"), byId("player-bottom"), texts);
const engine = new PageEngine({
  threads: settings.get("engine.threads", 1, isCount), hash: settings.get("engine.hash", null, isCount),
});
const piecesLoaded = loadPieces("pieces.svg")
  .catch(() => notices.show("notice.pieces", { kind: "error" }));
const page = { game, board, engine, texts, settings, notices, players };
const views = {}; // by name, as they are opened
let current = null;

const openers = {
  play: async () => play,
  analyse: () => import("./analyse.js"),
  why: () => import("./why.js"),
};

/** Outside of Play both sides can be moved by hand, and the players' names are the game's. */
function showFreely() {
  board.setMoveInput({
    colors: "wb",
    legalTargets: (square) => (board.fen === game.fen ? game.legalTargets(square) : []),
    onMove: (from, to, promotion) => game.play(from + to + (promotion ?? "")),
  });
  showNames();
}

function showNames() {
  if (current !== "play") {
    players.show({
      orientation: board.orientation, names: players.namesOf(game), clock: null, turn: game.turn,
    });
  }
}

async function openView(name) {
  try {
    const { create } = await openers[name]();
    views[name] ??= create(page);
    return true;
  } catch (error) {
    notices.show("notice.view", { kind: "error" });
    reportError(error);
    return false;
  }
}

async function onTab(name, before) {
  views[before]?.hide();
  current = name;
  document.title = texts.t(`title.${name}`);
  if (name !== "play") {
    showFreely();
  }
  if (await openView(name) && current === name) {
    views[name].show();
  }
}

/** Shows the game's position with its marks. */
function showGame(animated) {
  board.show(game.fen, animated);
  const { lastMove } = game;
  board.mark("last", lastMove ? [lastMove.from, lastMove.to] : []);
  board.mark("check", game.inCheck ? [game.kingSquare] : []);
}

let known = 0; // moves that were announced

game.addEventListener("change", ({ detail: { kind } }) => {
  if (kind === "marks") {
    return;
  }
  showGame(kind !== "reset");
  showNames();
  if (kind === "moves" && game.moves.length > known) {
    notices.say(moveInWords(game.moves.at(-1), texts));
  }
  known = game.moves.length;
});

board.addEventListener("orientation", showNames);
texts.addEventListener("change", showNames);

/** A typed move goes the way of one made on the board. */
function playTyped(uci) {
  return board.move(uci.slice(0, 2), uci.slice(2, 4), uci[4]);
}

engine.addEventListener("state", ({ detail: { state, reason, restarted } }) => {
  byId("about").textContent = about();
  const failures = ["notice.webassembly", "notice.memory", "notice.load", "notice.died"];
  if (state === "failed") {
    const action = reason === "webassembly" ? undefined : { key: "notice.retry", run: retry };
    notices.show(`notice.${reason}`, { kind: "error", action });
  } else { // what starts again by itself at once needs no button for it
    failures.forEach((key) => notices.dismiss(key));
    if (restarted) {
      notices.show("notice.restarted", { seconds: 10 });
    }
  }
});

/** Starts the engine again, and then what the view wanted of it. */
async function retry() {
  views[current]?.hide();
  await engine.evaluate(game.fen).catch(() => {}); // its failure is told by the next "state"
  views[current]?.show();
}

/** Whether a reload that nobody asked for takes nothing from the user. */
function mayReload() {
  return !views.play.busy && engine.state !== "thinking" && document.querySelector("dialog[open]") === null;
}

function about() {
  if (engine.state === "failed") {
    return texts.t("about.none");
  }
  if (engine.state === "loading") {
    return texts.t("play.status.loading");
  }
  return texts.t(engine.threads ? "about.threads" : "about.single", { name: engine.name });
}

const tabs = createTabs({ onChange: onTab });
writeTexts(texts, () => texts.t(`title.${current ?? "play"}`));
createSettingsDialog({ texts, settings, about });
views.play = play.create(page);
await piecesLoaded; // so that all comes into sight at once
new MoveList(byId("move-list"), { game, texts });
createBoardBar({ game, board });
createMoveForm({ game, texts, play: playTyped });
createPgnButtons({ game, notices, names: () => views.play.names() });
createPositionDialog({ game, engine, texts });
known = game.moves.length;
showGame(false);
tabs.show(tabs.fromAddress() ?? "play");
document.documentElement.dataset.ready = "";
installWorker({ notices, mayReload, isStale: () => views.play.isStale });
