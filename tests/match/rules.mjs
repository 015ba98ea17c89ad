// The rules of chess from a library, for tests in other languages: a request a line in, an answer a
// line out, both JSON.
//
//   {"fen": FEN, "moves": ["e2e4", ...]}
//
// plays the moves up to the first one that is illegal or badly written. The answer tells how many
// were played ("legal"), and of the position reached its "fen", the number of its legal "moves" and
// how it ends the game, if it does ("end"). The FEN names an en-passant square only where a pawn
// may capture there: positions with equal moves have equal first fields.
//
// Usage: node rules.mjs FOLDER, where the library lies in FOLDER/node_modules.

import { createRequire } from "node:module";
import { createInterface } from "node:readline";

const { Chess } = createRequire(`${process.argv[2]}/`)("chess.js");

function play(chess, text) {
  try {
    const move = chess.move({
      from: text.slice(0, 2),
      to: text.slice(2, 4),
      promotion: text.slice(4) || undefined,
    });
    if (move.lan === text) return true; // the library forgives letters that promote nothing
  } catch {
    return false;
  }
  chess.undo();
  return false;
}

function end(chess) {
  if (chess.isCheckmate()) return "mate";
  if (chess.isStalemate()) return "stalemate";
  if (chess.isInsufficientMaterial()) return "insufficient material";
  return chess.isDrawByFiftyMoves() ? "the fifty-move rule" : null;
}

for await (const line of createInterface({ input: process.stdin })) {
  const { fen, moves } = JSON.parse(line);
  const chess = new Chess(fen);
  let legal = 0;
  while (legal < moves.length && play(chess, moves[legal])) legal += 1;
  const answer = { legal, fen: chess.fen(), moves: chess.perft(1), end: end(chess) };
  process.stdout.write(JSON.stringify(answer) + "\n");
}
