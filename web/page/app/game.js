// The game on the board: a line of moves from a start position, and the place in it that is shown. Without a
// DOM.
import { Chess } from "chess.js";
import { normalFen, PositionError, sideToMove, START_FEN } from "./fen.js";
import { firstGame } from "./pgn.js";

/**
 * One move: `ply` counts from 1, `fen` is the position after it, `mark` a comment sign like "?!" that an
 * analysis gave.
 * @typedef {{ply: number, san: string, uci: string, fen: string, color: "w"|"b", piece: string, from: string,
 *   to: string, captured?: string, promotion?: string, mark?: string}} GameMove
 */

/**
 * Dispatches "change" with `detail.kind`: "moves" (the line changed), "ply" (another place is looked at),
 * "reset" (another game), "end" (someone resigned or lost on time), "marks" (comment signs).
 */
export class Game extends EventTarget {
  #chess = new Chess();
  #outcome = undefined; // undefined: not worked out since the last change
  #ended = null; // resigned or lost on time
  #here = null; // a Chess of the position looked at

  constructor(fen = START_FEN) {
    super();
    this.#start(normalFen(fen), {});
  }

  #start(fen, headers) {
    this.#chess = new Chess(fen);
    this.startFen = fen;
    /** @type {GameMove[]} */
    this.moves = [];
    this.ply = 0;
    this.headers = headers;
    this.#ended = null;
    this.#forget();
  }

  #forget() {
    this.#outcome = undefined;
    this.#here = null;
  }

  #changed(kind) {
    this.#forget();
    this.dispatchEvent(new CustomEvent("change", { detail: { kind } }));
  }

  /** The position looked at. */
  get fen() {
    return this.fenAt(this.ply);
  }

  /** The position after so many plies. */
  fenAt(ply) {
    return ply === 0 ? this.startFen : this.moves[ply - 1].fen;
  }

  /** Who is to move in the position looked at: "w" or "b". */
  get turn() {
    return sideToMove(this.fen);
  }

  /** Whether the position looked at is the game's last one. */
  get atEnd() {
    return this.ply === this.moves.length;
  }

  /** The move that led to the position looked at, or null. */
  get lastMove() {
    return this.ply === 0 ? null : this.moves[this.ply - 1];
  }

  /** The number of the first move, and whether Black makes it. */
  get firstMoveNumber() {
    return Number(this.startFen.split(" ")[5]);
  }

  #position() {
    this.#here ??= new Chess(this.fen);
    return this.#here;
  }

  /** Whether the side to move is in check in the position looked at. */
  get inCheck() {
    return this.#position().isCheck();
  }

  /** Where the king of the side to move stands in the position looked at. */
  get kingSquare() {
    return this.#position().findPiece({ type: "k", color: this.turn })[0];
  }

  /** All legal moves of the position looked at: {san, uci, from, to, piece, captured, promotion}. */
  legalMoves() {
    return this.#position().moves({ verbose: true }).map((move) => record(move));
  }

  /** The squares that the piece on a square can go to. */
  legalTargets(square) {
    const moves = this.#position().moves({ verbose: true, square });
    return [...new Set(moves.map(({ to }) => to))];
  }

  /** A move typed as "Nf3", "e4", "e2e4" or "e7e8q" in the form of the last two; null: not a legal one. */
  parseMove(text) {
    const word = text.trim().replace(/^\d+\.+\s*/, "");
    const legal = this.legalMoves();
    const bare = (san) => san.replaceAll("0", "O").replace(/[+#=!?x]/g, "");
    const squares = word.toLowerCase().replace(/[-=]/g, "");
    const uci = legal.find((move) => move.uci === squares)
      ?? legal.find((move) => move.uci === `${squares}q`);
    const found = uci ?? legal.find(({ san }) => bare(san) === bare(word))
      ?? legal.find(({ san }) => bare(san).toLowerCase() === bare(word).toLowerCase());
    return found?.uci ?? null;
  }

  /** Plays a legal move from the position looked at; what followed is dropped. Returns the move, or null. */
  play(uci) {
    const move = this.legalMoves().find((legal) => legal.uci === uci);
    if (!move) {
      return null;
    }
    this.#cut(this.ply);
    this.#append(uci);
    this.#changed("moves");
    return this.moves.at(-1);
  }

  #cut(ply) {
    while (this.moves.length > ply) {
      this.#chess.undo();
      this.moves.pop();
    }
    this.#ended = null;
    this.ply = ply;
  }

  #append(move) {
    const made = this.#chess.move(typeof move === "string" && /^[a-h][1-8][a-h][1-8][qrbn]?$/.test(move)
      ? { from: move.slice(0, 2), to: move.slice(2, 4), promotion: move[4] } : move);
    this.moves.push({ ply: this.moves.length + 1, ...record(made), fen: made.after });
    this.ply = this.moves.length;
  }

  /** Looks at the position after so many plies. */
  goto(ply) {
    const to = Math.max(0, Math.min(ply, this.moves.length));
    if (to !== this.ply) {
      this.ply = to;
      this.#here = null;
      this.dispatchEvent(new CustomEvent("change", { detail: { kind: "ply" } }));
    }
  }

  /** Takes the last plies off the game. */
  takeBack(plies = 1) {
    if (plies > 0 && this.moves.length > 0) {
      this.#cut(Math.max(0, this.moves.length - plies));
      this.#changed("moves");
    }
  }

  /** Begins another game. Throws a PositionError on a bad FEN and then keeps the game. */
  reset(fen = START_FEN, headers = {}) {
    this.#start(normalFen(fen), headers);
    this.#changed("reset");
  }

  /** Another game from start position and moves; throws a PositionError and then keeps the game. */
  load({ fen = START_FEN, moves = [], ply = moves.length, headers = {}, ended = null }) {
    const other = new Game(fen);
    for (const move of moves) {
      try {
        other.#append(move);
      } catch {
        throw new PositionError("pgn.move", { move: typeof move === "string" ? move : "?" });
      }
    }
    this.#start(other.startFen, headers);
    this.#chess = other.#chess;
    this.moves = other.moves;
    this.ply = Math.max(0, Math.min(ply, this.moves.length));
    this.#ended = ended;
    this.#changed("reset");
  }

  /** Loads the first game of PGN text, its main line. Throws a PositionError and then keeps the game. */
  loadPgn(text) {
    this.load(firstGame(text));
  }

  /** The game as PGN text. */
  toPgn(headers = {}) {
    const chess = new Chess(this.startFen);
    const outcome = this.outcome();
    const result = outcome?.result ?? this.headers.Result ?? "*";
    for (const [key, value] of Object.entries({ ...this.headers, ...headers, Result: result })) {
      chess.setHeader(key, String(value).replaceAll(/["\\\n]/g, "'"));
    }
    for (const { san } of this.moves) {
      chess.move(san);
    }
    return `${chess.pgn({ maxWidth: 80, newline: "\n" }).trimEnd()}\n`;
  }

  /** The moves up to a ply as the engine takes them. */
  uciMoves(upToPly = this.moves.length) {
    return this.moves.slice(0, upToPly).map(({ uci }) => uci);
  }

  /** A position of the game as the engine takes it: with its moves, for draws by repetition. */
  position(ply = this.ply) {
    return { fen: this.startFen, moves: this.uciMoves(ply) };
  }

  /** Ends the game before the rules do: {result, reason: "resigned" | "time"}. */
  end(result, reason) {
    this.#ended = { result, reason };
    this.#changed("end");
  }

  /** What the game was ended by before the rules did, or null. */
  get ended() {
    return this.#ended;
  }

  /** How the game ended at its last move, or null: {result, reason}. */
  outcome() {
    this.#outcome ??= { value: this.#ended ?? outcomeByRule(this.#chess) };
    return this.#outcome.value;
  }

  /** Gives moves their comment signs: {ply: "?!"}; all others lose theirs. */
  annotate(marks) {
    for (const move of this.moves) {
      move.mark = marks[move.ply];
    }
    this.dispatchEvent(new CustomEvent("change", { detail: { kind: "marks" } }));
  }
}

function record(move) {
  const { san, from, to, color, piece, captured, promotion } = move;
  return { san, uci: from + to + (promotion ?? ""), color, piece, from, to, captured, promotion };
}

function outcomeByRule(chess) {
  if (chess.isCheckmate()) {
    return { result: chess.turn() === "w" ? "0-1" : "1-0", reason: "mate" };
  }
  const draws = [["stalemate", chess.isStalemate()], ["material", chess.isInsufficientMaterial()],
    ["repetition", chess.isThreefoldRepetition()], ["fifty", chess.isDrawByFiftyMoves()]];
  const [reason] = draws.find(([, holds]) => holds) ?? [];
  return reason ? { result: "1/2-1/2", reason } : null;
}
