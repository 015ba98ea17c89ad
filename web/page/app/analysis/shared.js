// What the views that look at a game have in common: one analysis and one preview for each game.

import { AnalysisSession } from "./session.js";
import { Preview } from "./preview.js";

const SETTING = "analysis.on";

const known = new WeakMap();

/** The {session, preview} of a game, made when first asked for. */
export function sharedBy({ game, board, engine, settings }) {
  if (!known.has(game)) {
    const session = new AnalysisSession({ engine, game });
    session.on = settings.get(SETTING, false, (on) => typeof on === "boolean");
    known.set(game, { session, preview: new Preview({ game, board }) });
  }
  return known.get(game);
}

/** Switches the analysis on or off, and remembers it. */
export function switchAnalysis(on, { session, settings }) {
  settings.set(SETTING, on);
  session.set(on);
}
