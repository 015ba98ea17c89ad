// The game that the user plays against the engine: who has which side, what the engine gets, the clock.
// Without a DOM.
import { Clock } from "./clock.js";

export const LIMIT_KINDS = ["movetime", "clock", "depth", "nodes"];
export const DEFAULT_CHOICE = {
  side: "w", limit: "movetime", movetime: 1, base: 5, increment: 3, depth: 8, nodes: 100000,
};

const RANGES = {
  movetime: [0.1, 600], base: [0.1, 180], increment: [0, 180], depth: [1, 40], nodes: [1, 100000000],
};

/** Whether an object can be what the user chose for a game. */
export function isChoice(choice) {
  return choice !== null && typeof choice === "object" && ["w", "b", "random"].includes(choice.side)
    && LIMIT_KINDS.includes(choice.limit)
    && Object.entries(RANGES).every(([key, [low, high]]) =>
      Number.isFinite(choice[key]) && choice[key] >= low && choice[key] <= high);
}

/** The clock of a choice, with the times as they stood; null where none is played with. */
export function clockFor(choice, times) {
  return choice.limit === "clock"
    ? new Clock({ base: 60000 * choice.base, increment: 1000 * choice.increment, times }) : null;
}

/** What the engine is told for one move. */
export function engineLimits(choice, clock) {
  switch (choice.limit) {
    case "clock":
      return clock.limits();
    case "movetime":
      return { movetime: Math.round(1000 * choice.movetime) };
    default:
      return { [choice.limit]: Math.round(choice[choice.limit]) };
  }
}

/** How many plies have to go so that the user's last move is taken back; 0 where there is none. */
export function pliesToTakeBack(moves, human) {
  const last = moves.findLastIndex(({ color }) => color === human);
  return last < 0 ? 0 : moves.length - last;
}

/** How a game ends when a colour's time is used up: lost, or drawn against a bare king. */
export function flagOutcome(color, fen) {
  const placement = fen.split(" ")[0];
  const others = color === "w" ? /[qrbnp]/ : /[QRBNP]/;
  const result = color === "w" ? "0-1" : "1-0";
  return others.test(placement) ? result : "1/2-1/2";
}
