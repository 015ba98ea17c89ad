/** Centipawns for the middle game and for the end game, positive for White. */
export interface Pair {
  mg: number;
  eg: number;
}

/** What one side contributes to a feature. */
export interface Side extends Pair {
  count: number;
  squares: string[];
}

/** One kind of feature within a term. */
export interface Feature extends Pair {
  name: string;
  /** Where the evaluation knows the sides apart. */
  white?: Side;
  black?: Side;
  /** What the feature is about: pieces, pawns, squares that are reached or attacked. */
  squares: string[];
}

export interface Term extends Pair {
  name: "material" | "king" | "bishopPair" | "mobility" | "kingSafety" | "rookFiles" | "pawns";
  /** As the engine's own breakdown prints it. */
  label: string;
  white?: Pair;
  black?: Pair;
  features: Feature[];
}

/** The static evaluation of a position: the numbers that the search uses. All divisions truncate. */
export interface Evaluation {
  /** Centipawns from the side to move's point of view. */
  value: number;
  /** The same from White's. */
  white: number;
  /** White's, before it fades as the fifty-move rule approaches. */
  blended: number;
  /** The sum of all terms. */
  total: Pair;
  /** 24 with all pieces on the board, 0 with none but kings and pawns. */
  phase: number;
  /** What of the end-game total counts, out of 64. */
  scale: number;
  /** Pieces that may not leave the line to their king. */
  pinned: { white: string[]; black: string[] };
  /** Always these seven, in this order. */
  terms: Term[];
}

/** One "info" line of a search. */
export interface Line {
  depth: number;
  seldepth?: number;
  nodes?: number;
  nps?: number;
  /** Milliseconds. */
  time?: number;
  /** From the side to move's point of view: centipawns, or moves to mate (below 0: is mated). */
  score?: { cp: number } | { mate: number };
  /** Moves such as "e2e4" and "e7e8q". */
  pv?: string[];
}

/** What ends a search; without any limit it goes on to depth 100. Times are milliseconds. */
export interface Limits {
  depth?: number;
  nodes?: number;
  movetime?: number;
  wtime?: number;
  btime?: number;
  winc?: number;
  binc?: number;
  movestogo?: number;
  infinite?: boolean;
}

export interface Search {
  /** The best move, null where there is no legal one, and the last line with a variation. */
  result: Promise<{ bestMove: string | null; info: Line | null }>;
  stop(): void;
}

/** What promises are rejected with. */
export interface EngineError extends Error {
  /** No WebAssembly; memory that is not given; a file that does not load; a position or a depth that is refused;
   *  a worker that has ended. */
  reason: "webassembly" | "memory" | "load" | "position" | "depth" | "ended";
}

/**
 * An engine in a worker. Its events: "line" (each line that it prints), "message" (what it has to say of bad input or
 * of requests that it cannot serve), both with the text as `detail`, and "error" when it dies, with an EngineError.
 */
export class Engine extends EventTarget {
  /** Starts one; by default with threads where they work. */
  static start(options?: { threads?: boolean; url?: string | URL }): Promise<Engine>;
  /** Whether this is the build with threads. */
  readonly threads: boolean;
  readonly name: string;
  readonly options: Map<string, { default: number; min: number; max: number }>;
  /** Sends a line of UCI as it is. */
  send(line: string): void;
  /** Fulfilled with what the engine says of it: nothing if all is well. */
  setOption(name: string, value: number): Promise<string[]>;
  newGame(): Promise<void>;
  /** The start position unless a FEN is given, after some moves. Rejected if the engine refuses it. */
  setPosition(position: { fen?: string; moves?: string[] }): Promise<void>;
  /** Searches the position. One search at a time: another one stops it. */
  go(limits?: Limits, onInfo?: (line: Line) => void): Search;
  /** Fulfilled when no search runs. */
  stop(): Promise<void>;
  /** Also while a search runs. */
  evaluate(fen: string): Promise<Evaluation>;
  /** Counts move sequences; the position of the engine stays. Stops a search. */
  perft(fen: string, depth: number): Promise<{ moves: Record<string, bigint>; nodes: bigint }>;
  /** Ends the worker; what is still asked for is rejected. */
  quit(): void;
}

/** The words of an "info" line, null for lines that tell no depth. */
export function parseInfo(text: string): Line | null;
