// A game by the rules of a library: its moves as engines write them, and its end. For the referee of
// tuning/compare and the tests.

import { createRequire } from "node:module";

// The class of games, from FOLDER/node_modules.
export function loadChess(folder) {
  return createRequire(`${folder}/`)("chess.js").Chess;
}

// Plays a move; null if it is illegal or badly written: nothing has changed then.
export function play(chess, text) {
  const [from, to, promotion] = [text.slice(0, 2), text.slice(2, 4), text.slice(4) || undefined];
  try {
    const move = chess.move({ from, to, promotion });
    if (move.lan === text) return move; // the library forgives letters that promote nothing
  } catch {
    return null;
  }
  chess.undo();
  return null;
}

// How the position on the board ends the game; null if it goes on. It knows repetitions of the moves that
// were played on this board.
export function end(chess) {
  if (chess.isCheckmate()) return "mate";
  if (chess.isStalemate()) return "stalemate";
  if (chess.isInsufficientMaterial()) return "insufficient material";
  if (chess.isThreefoldRepetition()) return "repetition";
  return chess.isDrawByFiftyMoves() ? "the fifty-move rule" : null;
}

// The result of a game that has ended so.
export function result(chess, reason) {
  if (reason !== "mate") return "1/2-1/2";
  return chess.turn() === "w" ? "0-1" : "1-0";
}
