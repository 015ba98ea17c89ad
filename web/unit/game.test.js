// The game model: moves, places in the game, FEN and PGN in and out, ends by rule.
import assert from "node:assert/strict";
import { test } from "node:test";
import { normalFen, pieceAt, START_FEN } from "../page/app/fen.js";
import { Game } from "../page/app/game.js";
import { moveNumber } from "../page/app/movelist.js";

function played(...moves) {
  const game = new Game();
  for (const move of moves) {
    assert.ok(game.play(game.parseMove(move)), move);
  }
  return game;
}

function keyOf(run) {
  try {
    run();
  } catch (error) {
    return error.key;
  }
  return null;
}

function kindsOf(game) {
  const kinds = [];
  game.addEventListener("change", (event) => kinds.push(event.detail.kind));
  return kinds;
}

test("moves are played from the position looked at, and drop what followed", () => {
  const game = played("e4", "e5", "Nf3");
  const kinds = kindsOf(game);
  game.goto(1);
  assert.equal(game.turn, "b");
  assert.equal(game.atEnd, false);
  assert.equal(game.play("c7c5").san, "c5");
  assert.deepEqual(game.moves.map(({ san }) => san), ["e4", "c5"]);
  assert.deepEqual(kinds, ["ply", "moves"]);
  assert.equal(game.fen, "rnbqkbnr/pp1ppppp/8/2p5/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - 0 2");
});

test("illegal moves change nothing", () => {
  const game = played("e4");
  const kinds = kindsOf(game);
  assert.equal(game.play("e2e4"), null);
  assert.equal(game.play("nonsense"), null);
  assert.equal(game.parseMove("Ke2"), null);
  assert.equal(game.moves.length, 1);
  assert.deepEqual(kinds, []);
});

test("typed moves are read as SAN and as squares", () => {
  const game = new Game("4k3/P6r/8/8/8/2N3N1/8/R3K3 w Q - 0 1");
  const read = {
    "O-O-O": "e1c1", "0-0-0": "e1c1", "Nce4": "c3e4", "nge4": "g3e4", "a8=N": "a7a8n", "a7a8": "a7a8q",
    "a7-a8=R": "a7a8r", "1. Ke2!": "e1e2", "c3d5": "c3d5", "Ne4": null, "": null,
  };
  for (const [text, uci] of Object.entries(read)) {
    assert.equal(game.parseMove(text), uci, text);
  }
});

test("a pawn's capture and a bishop's are told apart by case", () => {
  const game = new Game("4k3/8/8/8/2p5/1P6/8/4KB2 w - - 0 1");
  assert.equal(game.parseMove("bxc4"), "b3c4");
  assert.equal(game.parseMove("Bxc4"), "f1c4");
});

test("legal targets, check and the king's square are those of the position looked at", () => {
  const game = played("f4", "e5", "g4", "Qh4");
  assert.equal(game.inCheck, true);
  assert.equal(game.kingSquare, "e1");
  game.goto(0);
  assert.equal(game.inCheck, false);
  assert.deepEqual(game.legalTargets("e2").sort(), ["e3", "e4"]);
  assert.deepEqual(game.legalTargets("e7"), []);
  assert.equal(game.legalMoves().length, 20);
});

test("taking back", () => {
  const game = played("e4", "e5", "Nf3");
  game.goto(1);
  game.takeBack(2);
  assert.equal(game.moves.length, 1);
  assert.equal(game.ply, 1);
  game.takeBack(9);
  assert.equal(game.fen, START_FEN);
  const kinds = kindsOf(game);
  game.takeBack();
  assert.deepEqual(kinds, []);
});

test("the ends by rule", () => {
  const outcome = (fen) => new Game(fen).outcome();
  assert.equal(new Game().outcome(), null);
  assert.deepEqual(played("f3", "e5", "g4", "Qh4").outcome(), { result: "0-1", reason: "mate" });
  assert.deepEqual(outcome("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"), { result: "1/2-1/2", reason: "stalemate" });
  assert.deepEqual(outcome("8/8/4k3/8/8/4KB2/8/8 w - - 0 1"), { result: "1/2-1/2", reason: "material" });
  assert.deepEqual(outcome("8/8/4k3/8/8/4KR2/8/8 w - - 100 90"), { result: "1/2-1/2", reason: "fifty" });
  assert.equal(outcome("8/8/4k3/8/8/4KR2/8/8 w - - 99 90"), null);
});

test("mate on the hundredth half-move is mate", () => {
  const game = new Game("7k/8/6K1/8/8/8/8/R7 w - - 99 80");
  game.play("a1a8");
  assert.equal(game.outcome().reason, "mate");
});

test("a position that occurs three times ends the game, and not before", () => {
  const game = played("Nf3", "Nf6", "Ng1", "Ng8", "Nf3", "Nf6", "Ng1");
  assert.equal(game.outcome(), null);
  game.play("f6g8");
  assert.deepEqual(game.outcome(), { result: "1/2-1/2", reason: "repetition" });
  game.takeBack();
  assert.equal(game.outcome(), null);
});

test("resigning ends the game until it goes on", () => {
  const game = played("e4");
  game.end("1-0", "resigned");
  assert.deepEqual(game.outcome(), { result: "1-0", reason: "resigned" });
  game.takeBack();
  assert.equal(game.outcome(), null);
});

test("FENs are brought into one form", () => {
  const forms = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR": "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - - 0 1",
    "  rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR   W KQkq -  ": START_FEN,
    "4k3/8/8/8/8/8/8/4K2R w KQkq e3 250 0": "4k3/8/8/8/8/8/8/4K2R w K - 100 1",
    "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 5": "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 5",
    "4k3/8/3n4/3pP3/8/8/8/4K3 w - d6 0 5": "4k3/8/3n4/3pP3/8/8/8/4K3 w - - 0 5",
  };
  for (const [text, fen] of Object.entries(forms)) {
    assert.equal(normalFen(text), fen);
  }
});

test("bad FENs are refused with a text's key, and the game stays", () => {
  const game = played("e4");
  const kinds = kindsOf(game);
  const bad = {
    "": "fen.empty",
    "8/8/8/8 w - - 0 1": "fen.rows",
    "4k3/8/8/8/8/8/8/4K2X w - - 0 1": "fen.piece",
    "4k3/9/8/8/8/8/8/4K3 w - - 0 1": "fen.piece",
    "4k3/8/8/8/8/8/8/4K4 w - - 0 1": "fen.width",
    "8/8/8/8/8/8/8/4K3 w - - 0 1": "fen.blackKing",
    "4k3/8/8/8/8/8/8/3KK3 w - - 0 1": "fen.whiteKing",
    "4k2P/8/8/8/8/8/8/4K3 w - - 0 1": "fen.pawn",
    "4k3/8/8/8/8/8/8/4K3 x - - 0 1": "fen.side",
    "4k3/8/8/8/8/8/8/4K3 w KK - 0 1": "fen.castling",
    "4k3/8/8/8/8/8/8/4K3 w - e9 0 1": "fen.enPassant",
    "4k3/8/8/8/8/8/8/4K3 w - - -1 1": "fen.counter",
    "4k3/8/8/8/8/8/8/4K3 w - - 0 1 2": "fen.fields",
    "4k3/4R3/8/8/8/8/8/4K3 w - - 0 1": "fen.blackInCheck",
    "4k3/8/8/8/8/8/4r3/4K3 b - - 0 1": "fen.whiteInCheck",
    "3kK3/8/8/8/8/8/8/8 w - - 0 1": "fen.blackInCheck",
  };
  for (const [fen, key] of Object.entries(bad)) {
    assert.equal(keyOf(() => game.reset(fen)), key, fen);
  }
  assert.equal(game.moves.length, 1);
  assert.deepEqual(kinds, []);
});

test("the piece on a square of a FEN", () => {
  assert.equal(pieceAt(START_FEN, "a8"), "r");
  assert.equal(pieceAt(START_FEN, "e1"), "K");
  assert.equal(pieceAt(START_FEN, "e4"), "");
  assert.equal(pieceAt("8/1p3Q2/8/8/8/8/8/8 w - - 0 1", "f7"), "Q");
  assert.equal(pieceAt("8/1p3Q2/8/8/8/8/8/8 w - - 0 1", "g7"), "");
});

const PGN = `[Event "Casual"]
[White "A"]
[Black "B"]
[Result "1-0"]

1. e4 {best by test (or so) [%clk 1:00]} e5 $1 2. Nf3 (2. f4 exf4 (2... d5 3. exd5) 3. Nf3)
2... Nc6 ; to the end
3. Bb5 a6 4. O-O 1-0

[Event "Another"]

1. d4 d5 *
`;

test("PGN with comments, variations and a second game gives the first game's main line", () => {
  const game = new Game();
  game.loadPgn(PGN);
  assert.deepEqual(game.moves.map(({ san }) => san), ["e4", "e5", "Nf3", "Nc6", "Bb5", "a6", "O-O"]);
  assert.equal(game.headers.White, "A");
  assert.equal(game.headers.Event, "Casual");
  assert.equal(game.ply, 7);
  assert.deepEqual(game.uciMoves(2), ["e2e4", "e7e5"]);
});

test("PGN of another start position, Black to move", () => {
  const game = new Game();
  game.loadPgn('[SetUp "1"]\n[FEN "4k3/8/8/8/8/8/4p3/K7 b - - 3 40"]\n\n40... e1=N 41. Ka2 *');
  assert.equal(game.moves[0].uci, "e2e1n");
  assert.deepEqual(game.moves.map((move) => moveNumber(game, move)), [40, 41]);
  const other = new Game();
  other.loadPgn(game.toPgn());
  assert.equal(other.fen, game.fen);
  assert.equal(other.startFen, game.startFen);
});

test("what is written as PGN is read back", () => {
  const game = played("f3", "e5", "g4", "Qh4");
  const text = game.toPgn({ White: 'A "quoted" name', Date: "2026.01.02" });
  assert.match(text, /\[Result "0-1"\]/);
  assert.match(text, /1\. f3 e5 2\. g4 Qh4# 0-1/);
  const other = new Game();
  other.loadPgn(text);
  assert.deepEqual(other.uciMoves(), game.uciMoves());
  assert.equal(other.headers.White, "A 'quoted' name");
});

test("bad PGN is refused with a text's key, and the game stays", () => {
  const game = played("e4");
  const kinds = kindsOf(game);
  const bad = {
    "": "pgn.empty",
    " \n ": "pgn.empty",
    "1. e4 e5 2. Ke3": "pgn.move",
    "1. e4 -- 2. d4": "pgn.syntax",
    "1. e4 (": "pgn.syntax",
    "*": "pgn.noMoves",
    '[FEN "8/8/8/8/8/8/8/8 w - - 0 1"]\n\n*': "fen.whiteKing",
  };
  for (const [text, key] of Object.entries(bad)) {
    assert.equal(keyOf(() => game.loadPgn(text)), key, text);
  }
  assert.equal(game.moves.length, 1);
  assert.deepEqual(kinds, []);
});

test("a saved game is loaded with its place and end; a damaged one leaves the game", () => {
  const game = new Game();
  game.load({ moves: ["e2e4", "e7e5"], ply: 1, ended: { result: "1-0", reason: "time" } });
  assert.equal(game.ply, 1);
  assert.equal(game.outcome().reason, "time");
  assert.equal(keyOf(() => game.load({ moves: ["e2e5"] })), "pgn.move");
  assert.equal(game.moves.length, 2);
});

test("marks are given and taken away", () => {
  const game = played("e4", "e5");
  game.annotate({ 2: "?!" });
  assert.deepEqual(game.moves.map(({ mark }) => mark), [undefined, "?!"]);
  game.annotate({});
  assert.deepEqual(game.moves.map(({ mark }) => mark), [undefined, undefined]);
});
