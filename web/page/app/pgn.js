// Reads PGN text: the first game of it, its main line. Comments, variations and signs are passed over.
import { Chess } from "chess.js";
import { normalFen, PositionError, START_FEN } from "./fen.js";

const NULL_MOVE = "--";

/** Cuts the text before its second game. */
function firstGameText(text) {
  const lines = text.replace(/^\uFEFF/, "").split(/\r\n?|\n/).filter((line) => !line.startsWith("%"));
  let depth = 0; // inside a comment in braces
  let movesSeen = false;
  for (const [i, line] of lines.entries()) {
    const isTag = depth === 0 && /^\s*\[\s*\w+\s+"/.test(line);
    if (isTag && movesSeen) {
      return lines.slice(0, i).join("\n");
    }
    movesSeen ||= !isTag && line.trim() !== "";
    for (const c of isTag ? "" : line) {
      depth = c === "{" ? 1 : c === "}" ? 0 : depth;
    }
  }
  return lines.join("\n");
}

/** What Game.load takes. Throws a PositionError. */
export function firstGame(text) {
  const game = firstGameText(text).trim();
  if (game === "") {
    throw new PositionError("pgn.empty");
  }
  const chess = new Chess();
  try {
    chess.loadPgn(game);
  } catch (error) {
    if (/^Invalid FEN/.test(error.message)) {
      normalFen(/\[\s*FEN\s+"([^"]*)"/i.exec(game)?.[1] ?? ""); // says what is wrong with it
    }
    const move = /Invalid move in PGN: (.*)/.exec(error.message)?.[1];
    throw move ? new PositionError("pgn.move", { move }) : new PositionError("pgn.syntax");
  }
  const headers = knownHeaders(chess.getHeaders());
  const moves = chess.history();
  if (moves.length === 0 && !/^\s*\[/.test(game)) {
    throw new PositionError("pgn.noMoves");
  }
  if (moves.includes(NULL_MOVE)) {
    throw new PositionError("pgn.move", { move: NULL_MOVE });
  }
  const fen = Object.entries(chess.getHeaders()).find(([key]) => key.toLowerCase() === "fen")?.[1];
  return { fen: fen ? normalFen(fen) : START_FEN, moves, headers };
}

/** All headers that say something, without those of the start position. */
function knownHeaders(all) {
  return Object.fromEntries(Object.entries(all)
    .filter(([key, value]) => !/^(fen|setup)$/i.test(key) && value && !/^[?.]+$/.test(value)));
}
