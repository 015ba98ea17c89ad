// The rules of chess from a library, for tests in other languages: a request a line in, an answer a
// line out, both JSON.
//
//   {"fen": FEN, "moves": ["e2e4", ...], "trace": true}
//
// plays the moves up to the first one that is illegal or badly written. The answer tells how many
// were played ("legal"), and of the position reached its "fen", the number of its legal "moves" and
// how it ends the game, if it does ("end"). This FEN names an en-passant square only where a pawn may
// capture there: positions with equal moves have equal first fields. "exact" is the FEN with that
// square after every double step; with "trace" there are such FENs after each move ("fens").
//
//   {"fen": FEN, "san": "Nf3"}
//
// translates a move, written in either way: "move" is "g1f3" and "san" is "Nf3"; both are null if
// the move is illegal.
//
//   {"pgn": TEXT}
//
// plays a game that is written down: its "headers", its "moves" in the engine's notation and the
// last "fen". If a move is illegal, "error" says which.
//
// Usage: node rules.mjs FOLDER, where the library lies in FOLDER/node_modules.

import { createInterface } from "node:readline";

import { end, loadChess, play } from "../../tuning/game.mjs";

const Chess = loadChess(process.argv[2]);

function exactFen(chess, move) {
  const fields = chess.fen().split(" ");
  if (move.isBigPawn()) fields[3] = move.to[0] + (move.color === "w" ? "3" : "6");
  return fields.join(" ");
}

function playMoves({ fen, moves, trace }) {
  const chess = new Chess(fen);
  const fens = [];
  let exact = fen;
  let legal = 0;
  for (let move; legal < moves.length && (move = play(chess, moves[legal])); legal += 1) {
    exact = exactFen(chess, move);
    if (trace) fens.push(exact);
  }
  return { legal, fen: chess.fen(), exact, moves: chess.perft(1), end: end(chess), fens };
}

function translate({ fen, san }) {
  try {
    const move = new Chess(fen).move(san);
    return { move: move.lan, san: move.san };
  } catch {
    return { move: null, san: null };
  }
}

function playGame({ pgn }) {
  const chess = new Chess();
  try {
    chess.loadPgn(pgn);
  } catch (error) {
    return { error: error.message };
  }
  const moves = chess.history({ verbose: true }).map((move) => move.lan);
  return { headers: chess.getHeaders(), moves, fen: chess.fen(), error: null };
}

for await (const line of createInterface({ input: process.stdin })) {
  const request = JSON.parse(line);
  const serve = "pgn" in request ? playGame : "san" in request ? translate : playMoves;
  process.stdout.write(JSON.stringify(serve(request)) + "\n");
}
