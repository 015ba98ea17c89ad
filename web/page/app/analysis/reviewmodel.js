// The review of the game: scores of its positions, as far as they are known, and what follows of its moves.
// It is remembered, and goes with the moves that it was made for.

import { countMarks, judgeMoves, marksByPly } from "./review.js";
import { reviewPositions } from "./reviewer.js";

const SETTING = "review";
const isReview = (value) => typeof value?.fen === "string" && Array.isArray(value.moves)
  && Array.isArray(value.scores);

/** Dispatches "change" when scores or progress do. */
export class GameReview extends EventTarget {
  #game;
  #engine;
  #session;
  #settings;
  #abort = null;
  #known; // {fen, moves, scores} of the game that was reviewed

  constructor({ game, engine, session, settings }) {
    super();
    this.#game = game;
    this.#engine = engine;
    this.#session = session;
    this.#settings = settings;
    this.#known = settings.get(SETTING, null, isReview);
    /** While it runs {done, total}, else null. */
    this.progress = null;
    /** scores[ply]: {score, best, depth} or undefined. */
    this.scores = [];
    this.judgements = [];
    game.addEventListener("change", ({ detail }) => this.#follow(detail?.kind));
    this.#fit();
  }

  /** Whether any position of this game has a score. */
  get isEmpty() {
    return this.scores.every((score) => !score);
  }

  get counts() {
    return countMarks(this.judgements);
  }

  /** Reviews the whole game, each position within the limits. Resolves when it ends or is cancelled. */
  async start(limits) {
    this.cancel();
    const game = this.#game;
    const moves = game.uciMoves();
    const abort = new AbortController();
    this.#abort = abort;
    this.#known = { fen: game.startFen, moves, scores: [] };
    this.progress = { done: 0, total: moves.length + 1 };
    this.#fit();
    this.#session.pause(this, true);
    const positions = [game.startFen, ...game.moves.map(({ fen }) => fen)]
      .map((fen, ply) => ({ fen, position: game.position(ply) }));
    const onScore = (ply, found) => this.#add(ply, found);
    try {
      await reviewPositions(positions, limits, { engine: this.#engine, onScore, signal: abort.signal });
    } finally {
      this.#finish(abort);
    }
  }

  /** Ends a review that runs; what it found so far stays. */
  cancel() {
    if (this.#abort) {
      this.#abort.abort();
      this.#finish(this.#abort);
    }
  }

  #finish(abort) {
    if (this.#abort !== abort) {
      return;
    }
    this.#abort = null;
    this.progress = null;
    this.#settings.set(SETTING, this.#known);
    this.#session.pause(this, false);
    this.#changed();
  }

  #add(ply, found) {
    if (!this.progress) {
      return;
    }
    this.#known.scores[ply] = found;
    this.progress = { ...this.progress, done: this.progress.done + 1 };
    this.#fit();
  }

  #follow(kind) {
    if (kind === "marks" || kind === "ply" || kind === "end") {
      return;
    }
    this.cancel();
    this.#fit();
  }

  /** Takes what is known of this game's positions: those whose moves are the same from the start. */
  #fit() {
    this.scores = knownScores(this.#known, this.#game.startFen, this.#game.uciMoves());
    this.judgements = judgeMoves(this.#game.moves, this.scores);
    const marks = marksByPly(this.judgements);
    const isSame = this.#game.moves.every(({ ply, mark }) => mark === marks[ply]);
    if (!isSame) {
      this.#game.annotate(marks);
    }
    this.#changed();
  }

  #changed() {
    this.dispatchEvent(new CustomEvent("change"));
  }
}

/** The scores of a review that hold for a game: by ply, as far as both have the same moves. */
export function knownScores(review, fen, moves) {
  if (review?.fen !== fen) {
    return [];
  }
  const differs = moves.findIndex((uci, i) => uci !== review.moves[i]);
  const same = differs < 0 ? moves.length : differs;
  return Array.from({ length: same + 1 }, (_, ply) => review.scores[ply] ?? undefined);
}
