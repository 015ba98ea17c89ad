// The engine's moves made readable: notation, numbers, and the positions that they lead to.

import { Chess } from "chess.js";

/** The parts of a move like "e7e8q". */
export function moveParts(uci) {
  return { from: uci.slice(0, 2), to: uci.slice(2, 4), promotion: uci[4] };
}

/** Who is to move in a position, and the number of the move. */
export function clockOf(fen) {
  const [, turn = "w", , , halfmoves = "0", number = "1"] = fen.split(" ");
  return { turn, halfmoves: Number(halfmoves), number: Number(number) };
}

/**
 * The moves of a variation from a position: {uci, san, number, color, fen} each, `fen` after the move. It
 * ends before a move that is not legal.
 */
export function variationMoves(fen, ucis) {
  const chess = new Chess(fen);
  const moves = [];
  for (const uci of ucis) {
    const { number } = clockOf(chess.fen());
    try {
      const { san, color, after } = chess.move(moveParts(uci));
      moves.push({ uci, san, color, number, fen: after });
    } catch {
      break;
    }
  }
  return moves;
}

/**
 * What stands before a move in a line: "12." for White, "12…" for Black's at the line's start, else
 * nothing.
 */
export function moveNumberText({ number, color }, isFirst) {
  if (color === "w") {
    return `${number}.`;
  }
  return isFirst ? `${number}\u2026` : "";
}

/** A variation in one line of text. */
export function variationText(moves) {
  const numbered = (move, i) => [moveNumberText(move, i === 0), move.san].filter(Boolean).join("\u00a0");
  return moves.map(numbered).join(" ");
}

/** Why no move can be played in a position: "mate", "stalemate", or null when one can. */
export function endOf(fen) {
  const chess = new Chess(fen);
  if (chess.isCheckmate()) {
    return "mate";
  }
  return chess.isStalemate() ? "stalemate" : null;
}

/** All legal moves of a position: {uci, san, color, number, fen}, `fen` after the move. */
export function legalMoves(fen) {
  const { number } = clockOf(fen);
  return new Chess(fen).moves({ verbose: true }).map(({ from, to, promotion = "", san, color, after }) => (
    { uci: from + to + promotion, san, color, number, fen: after }
  ));
}
