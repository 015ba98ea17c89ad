// The view Play: a game against the engine.
import { confirmed, element, keepFocus } from "./dialogs.js";
import { sideToMove } from "./fen.js";
import { createNewGameDialog } from "./newgame.js";
import {
  clockFor, DEFAULT_CHOICE, engineLimits, flagOutcome, isChoice, pliesToTakeBack,
} from "./session.js";
import { outcomeInWords } from "./words.js";

const SAVE_KEY = "play.session";
const CLOCK_MS = 100;

const byId = (id) => document.getElementById(id);

/** @returns {{show(): void, hide(): void}} */
export function create(page) {
  return new Play(page);
}

class Play {
  #visible = false;
  #begun = false; // the user has played since the page was opened
  #attached = true; // false: the game on the board is not the one that is played
  #own = false; // this view itself changes the game
  #thinking = null; // a token for the move that the engine works out
  #failed = false;
  #human = "w";
  #choice = DEFAULT_CHOICE;
  #clock = null;
  #ticker = null;

  constructor({ game, board, engine, texts, settings, notices, players }) {
    Object.assign(this, { game, board, engine, texts, settings, notices, players });
    this.#choice = { ...DEFAULT_CHOICE, ...settings.get("play.choice", DEFAULT_CHOICE, isChoice) };
    this.#restore();
    game.addEventListener("change", (event) => this.#onGame(event.detail.kind));
    engine.addEventListener("state", () => this.#update());
    texts.addEventListener("change", () => this.#update());
    board.addEventListener("orientation", () => this.#showPlayers());
    this.#buttons();
    addEventListener("pagehide", () => this.#clock?.running && this.#save());
  }

  show() {
    this.#visible = true;
    this.#failed = false;
    this.#update();
  }

  /** Elsewhere the engine has other work: the game waits, clocks stand. */
  hide() {
    this.#visible = false;
    this.#stopThinking();
    this.#clock?.stop();
    this.#save();
    this.#tick();
  }

  /** Whether the user is in the middle of a game since the page was opened. */
  get busy() {
    return this.#begun && this.underWay;
  }

  /** Whether a game has begun in which a move is still to come. */
  get underWay() {
    return this.#attached && this.game.moves.length > 0 && this.game.outcome() === null;
  }

  /** The players' names while the game on the board is the one that is played, else null. */
  names() {
    if (!this.#attached) {
      return null;
    }
    const you = this.texts.t("play.you");
    const engine = this.texts.t("play.engine");
    return this.#human === "w" ? { w: you, b: engine } : { w: engine, b: you };
  }

  #buttons() {
    createNewGameDialog({
      choice: () => this.#choice,
      here: () => !this.#attached,
      onStart: (choice, here) => this.#newGame(choice, here ? this.game.fen : undefined),
    });
    byId("take-back").addEventListener("click", () => this.#takeBack());
    byId("resign").addEventListener("click", () => this.#resign());
    byId("back-to-game").addEventListener("click", () => this.game.goto(this.game.moves.length));
    byId("play-on").addEventListener("click", () => this.#playOn(this.#human));
  }

  // The game -----------------------------------------------------------------------------------------------

  /** Changes the game so that it stays the one that is played. */
  #change(change) {
    this.#own = true;
    this.#begun = true;
    this.#failed = false; // the engine is asked again
    try {
      change();
    } finally {
      this.#own = false;
    }
    this.#save();
    this.#update();
  }

  /** The game was changed by another view, by a dialog or by looking around. */
  #onGame(kind) {
    if (this.#own) {
      return;
    }
    if (kind !== "ply" && kind !== "marks") {
      this.#stopThinking();
      this.#attached = false;
      this.#clock?.stop();
      this.#save();
    }
    this.#update();
  }

  /** Begins to play from the position looked at; what follows it in the game is dropped. */
  #playOn(human) {
    this.#human = human;
    this.#attached = true;
    this.#newClock();
    this.#change(() => this.game.takeBack(this.game.moves.length - this.game.ply));
  }

  #newGame(choice, fen) {
    this.#choice = choice;
    this.settings.set("play.choice", choice);
    this.#human = choice.side === "random" ? (Math.random() < 0.5 ? "w" : "b") : choice.side;
    this.#attached = true;
    this.#stopThinking();
    this.#newClock();
    this.board.orientation = this.#human;
    this.engine.newGame().catch(() => {}); // a failure shows itself when a move is asked for
    this.#change(() => this.game.reset(fen));
  }

  #takeBack() {
    const plies = pliesToTakeBack(this.game.moves, this.#human);
    this.#stopThinking();
    this.#clock?.stop();
    this.#change(() => this.game.takeBack(plies));
    this.notices.say(this.texts.t("play.tookBack"));
  }

  async #resign() {
    if (await confirmed(this.texts, "play.resignSure", "play.resign")) {
      if (this.underWay) {
        this.#stopThinking();
        this.#change(() => this.game.end(this.#human === "w" ? "0-1" : "1-0", "resigned"));
      }
    }
  }

  #onMove(from, to, promotion) {
    if (!this.#attached) {
      this.#playOn(this.game.turn);
    }
    this.#change(() => {
      this.game.play(from + to + (promotion ?? ""));
      this.#clock?.press();
    });
  }

  // The engine ---------------------------------------------------------------------------------------------

  #engineToMove() {
    const last = this.game.fenAt(this.game.moves.length);
    return this.#attached && this.game.outcome() === null && sideToMove(last) !== this.#human;
  }

  async #think() {
    const token = {};
    this.#thinking = token;
    const { game } = this;
    try {
      const limits = engineLimits(this.#choice, this.#clock);
      const answer = await this.engine.move(game.position(game.moves.length), limits);
      if (this.#thinking !== token) {
        return;
      }
      this.#thinking = null;
      if (answer?.bestMove) {
        this.#answer(answer.bestMove);
      }
    } catch {
      if (this.#thinking === token) { // the page tells why
        this.#thinking = null;
        this.#failed = true;
        this.#clock?.stop();
      }
    }
    this.#update();
  }

  /** The engine's move goes to the game's end; who looks at an earlier position stays there. */
  #answer(uci) {
    const { game } = this;
    if (this.#clock?.check()) {
      return;
    }
    const lookedAt = game.atEnd ? null : game.ply;
    this.#change(() => {
      game.goto(game.moves.length);
      game.play(uci);
      if (lookedAt !== null) {
        game.goto(lookedAt);
      }
      this.#clock?.press();
    });
  }

  #stopThinking() {
    if (this.#thinking) {
      this.#thinking = null;
      this.engine.cancel();
    }
  }

  // The clock ----------------------------------------------------------------------------------------------

  #newClock(times) {
    this.#clock?.stop();
    this.#clock = clockFor(this.#choice, times);
    this.#clock?.addEventListener("flag", ({ detail: { color } }) => {
      const { game } = this;
      if (this.#attached && game.outcome() === null) {
        this.#stopThinking();
        this.#change(() => game.end(flagOutcome(color, game.fenAt(game.moves.length)), "time"));
      }
    });
  }

  #runClock() {
    const runs = this.#visible && this.#attached && !this.#failed && this.game.outcome() === null;
    if (this.#clock && runs) {
      this.#clock.start(sideToMove(this.game.fenAt(this.game.moves.length)));
    } else {
      this.#clock?.stop();
    }
    this.#tick();
  }

  /** Shows the clocks ten times a second while one runs. */
  #tick() {
    const runs = this.#visible && this.#clock !== null && this.#clock.running !== null;
    if (runs && this.#ticker === null) {
      this.#ticker = setInterval(() => this.#showPlayers(), CLOCK_MS);
    } else if (!runs && this.#ticker !== null) {
      clearInterval(this.#ticker);
      this.#ticker = null;
    }
  }

  // What is seen -------------------------------------------------------------------------------------------

  #update() {
    if (this.#visible && !this.#thinking && !this.#failed && this.#engineToMove()) {
      this.#think();
    }
    this.#runClock();
    if (this.#visible) {
      this.#allowMoves();
      this.#showPlayers();
      this.#showStatus();
      this.#showButtons();
    }
  }

  #allowMoves() {
    const { game, board } = this;
    const over = game.atEnd && game.outcome() !== null;
    const colors = this.#attached ? (game.atEnd && !over && game.turn === this.#human ? this.#human : "")
      : (over ? "" : game.turn);
    board.setMoveInput({
      colors,
      legalTargets: (square) => game.legalTargets(square),
      onMove: (from, to, promotion) => this.#onMove(from, to, promotion),
    });
  }

  #showPlayers() {
    if (!this.#visible) {
      return;
    }
    this.players.show({
      orientation: this.board.orientation, names: this.names() ?? this.players.namesOf(this.game),
      clock: this.#attached ? this.#clock : null, turn: this.game.outcome() ? null : this.game.turn,
      busy: this.#thinking ? (this.#human === "w" ? "b" : "w") : null,
    });
  }

  #status() {
    const { game, texts } = this;
    const outcome = game.outcome();
    if (this.#attached && !game.atEnd) {
      return { text: texts.t("play.status.earlier") };
    }
    if (outcome !== null && game.atEnd) {
      return { ...outcomeInWords(outcome, this.#attached ? this.#human : null, texts), over: true };
    }
    if (!this.#attached) {
      return { text: texts.t("play.status.changed") };
    }
    if (this.#failed) {
      return { text: texts.t("play.status.noEngine") };
    }
    if (game.turn !== this.#human) {
      const loading = this.engine.state === "loading";
      return { text: texts.t(loading ? "play.status.loading" : "play.status.thinking") };
    }
    return { text: texts.t(game.inCheck ? "play.status.check" : "play.status.yours") };
  }

  #showStatus() {
    const { title, text, over = false } = this.#status();
    const status = byId("play-status");
    const shown = title ? `${title}\n${text}` : text;
    if (status.dataset.shown === shown) {
      return;
    }
    status.dataset.shown = shown;
    status.classList.toggle("over", over);
    status.replaceChildren(...(title ? [element("strong", {}, title), " "] : []), text);
    if (over) {
      this.notices.say(`${title}. ${text}`);
    }
  }

  #showButtons() {
    const { game } = this;
    const outcome = game.outcome();
    byId("take-back").disabled = !this.#attached || !game.atEnd || outcome?.reason === "time"
      || pliesToTakeBack(game.moves, this.#human) === 0;
    byId("resign").disabled = !this.underWay;
    byId("back-to-game").hidden = !this.#attached || game.atEnd;
    byId("play-on").hidden = this.#attached || (game.atEnd && outcome !== null);
    byId("play-limits").textContent = this.#limitsInWords();
    keepFocus(byId("new-game"));
  }

  #limitsInWords() {
    const { limit, base, increment } = this.#choice;
    const values = limit === "clock" ? { base, increment } : { n: this.#choice[limit] };
    return this.texts.t(`play.told.${limit}`, values);
  }

  // What outlives the page ---------------------------------------------------------------------------------

  /** Whether the same game has gone on in another page, so that this one's is out of date. */
  get isStale() {
    return this.settings.isStale(SAVE_KEY);
  }

  #save() {
    const { game } = this;
    this.settings.set(SAVE_KEY, {
      fen: game.startFen, moves: game.uciMoves(), headers: game.headers, ended: game.ended,
      human: this.#human, attached: this.#attached, times: this.#clock?.times() ?? null,
    });
  }

  #restore() {
    const saved = this.settings.get(SAVE_KEY, null, (value) => value !== null && typeof value === "object");
    try {
      if (saved) {
        this.game.load(saved);
        this.#human = saved.human === "b" ? "b" : "w";
        this.#attached = saved.attached !== false;
      }
    } catch {
      this.settings.set(SAVE_KEY, undefined); // of another version or damaged: a new game
    }
    const { w, b } = saved?.times ?? {};
    this.#newClock(Number.isFinite(w) && Number.isFinite(b) ? { w, b } : undefined);
    this.board.orientation = this.#human;
  }
}
