// What the views that look at a game have in common: one analysis and one preview for each game.

import { AnalysisSession } from "./session.js";
import { Preview } from "./preview.js";

const known = new WeakMap();

/** The {session, preview} of a game, made when first asked for. */
export function sharedBy({ game, board, engine }) {
  if (!known.has(game)) {
    known.set(game, {
      session: new AnalysisSession({ engine, game }),
      preview: new Preview({ game, board }),
    });
  }
  return known.get(game);
}
