// FEN text: what the engine takes is taken here, and put into the one form that the rest of the page uses.
import { Chess, validateFen } from "chess.js";

export const START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

const MAX_HALFMOVE_CLOCK = 100;
const CASTLING = [
  { letter: "K", king: "e1", rook: "h1", color: "w" },
  { letter: "Q", king: "e1", rook: "a1", color: "w" },
  { letter: "k", king: "e8", rook: "h8", color: "b" },
  { letter: "q", king: "e8", rook: "a8", color: "b" },
];

/** An error with the key of its message text. */
export class PositionError extends Error {
  constructor(key, values = {}) {
    super(key);
    this.name = "PositionError";
    this.key = key;
    this.values = values;
  }
}

/** The piece of a placement field on a square: a letter as FEN has it, or "". */
export function pieceAt(fen, square) {
  const row = fen.split(" ")[0].split("/")[8 - Number(square[1])];
  let file = square.charCodeAt(0) - 97;
  for (const c of row) {
    if (c >= "1" && c <= "8") {
      file -= Number(c);
      if (file < 0) {
        return "";
      }
    } else if (file-- === 0) {
      return c;
    }
  }
  return "";
}

/** "w" or "b". */
export function sideToMove(fen) {
  return fen.split(" ")[1];
}

function checkPlacement(placement) {
  const rows = placement.split("/");
  if (rows.length !== 8) {
    throw new PositionError("fen.rows", { n: rows.length });
  }
  for (const [i, row] of rows.entries()) {
    if (/[^1-8pnbrqkPNBRQK]/.test(row)) {
      throw new PositionError("fen.piece", { piece: row.match(/[^1-8pnbrqkPNBRQK]/u)[0] });
    }
    const width = [...row].reduce((sum, c) => sum + (c >= "1" && c <= "8" ? Number(c) : 1), 0);
    if (width !== 8) {
      throw new PositionError("fen.width", { row: 8 - i, n: width });
    }
  }
  for (const [king, key] of [["K", "fen.whiteKing"], ["k", "fen.blackKing"]]) {
    const kings = placement.split(king).length - 1;
    if (kings !== 1) {
      throw new PositionError(key, { n: kings });
    }
  }
  if (/p/i.test(rows[0] + rows[7])) {
    throw new PositionError("fen.pawn");
  }
}

function possibleCastling(placement, claimed) {
  const letters = CASTLING.filter(({ letter, king, rook, color }) => claimed.includes(letter)
    && pieceAt(placement, king) === (color === "w" ? "K" : "k")
    && pieceAt(placement, rook) === (color === "w" ? "R" : "r"));
  return letters.map(({ letter }) => letter).join("") || "-";
}

/** The en passant square if a pawn may just have passed over it, or "-". */
function possibleEnPassant(placement, side, square) {
  const [rank, from, pawnRank, pawn] = side === "w" ? ["6", "7", "5", "p"] : ["3", "2", "4", "P"];
  const file = square[0];
  const possible = square[1] === rank && pieceAt(placement, square) === ""
    && pieceAt(placement, file + from) === "" && pieceAt(placement, file + pawnRank) === pawn;
  return possible ? square : "-";
}

/** Writes the counters as numbers; missing ones as in a game's start. */
function counters(clock, number) {
  for (const field of [clock, number]) {
    if (field !== undefined && !/^\d{1,9}$/.test(field)) {
      throw new PositionError("fen.counter", { text: field });
    }
  }
  return `${Math.min(Number(clock ?? 0), MAX_HALFMOVE_CLOCK)} ${Math.max(Number(number ?? 1), 1)}`;
}

/**
 * Checks a FEN and returns it in its normal form; throws a PositionError. Counters, castling and en passant
 * may be left out. Rights that no king and rook at home bear out are dropped, as the engine drops them.
 */
export function normalFen(text) {
  const [placement, side = "w", castling = "-", enPassant = "-", clock, number, ...rest]
    = text.trim().split(/\s+/);
  if (!placement) {
    throw new PositionError("fen.empty");
  }
  checkPlacement(placement);
  if (!/^[wb]$/i.test(side)) {
    throw new PositionError("fen.side", { text: side });
  }
  if (!/^(-|(?!.*(.).*\2)[KQkq]{1,4})$/.test(castling)) {
    throw new PositionError("fen.castling", { text: castling });
  }
  if (!/^(-|[a-h][1-8])$/.test(enPassant)) {
    throw new PositionError("fen.enPassant", { text: enPassant });
  }
  if (rest.length > 0) {
    throw new PositionError("fen.fields");
  }
  const color = side.toLowerCase();
  const passed = enPassant === "-" ? "-" : possibleEnPassant(placement, color, enPassant);
  const rights = possibleCastling(placement, castling);
  const fen = [placement, color, rights, passed, counters(clock, number)].join(" ");
  if (!validateFen(fen).ok) {
    throw new PositionError("fen.other");
  }
  const chess = new Chess(fen);
  const waiting = color === "w" ? "b" : "w";
  const [king] = chess.findPiece({ type: "k", color: waiting });
  if (chess.isAttacked(king, color)) {
    throw new PositionError(waiting === "w" ? "fen.whiteInCheck" : "fen.blackInCheck");
  }
  return chess.fen();
}
