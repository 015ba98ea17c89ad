// The unit that the reader has chosen for amounts.

import { UNITS } from "./amounts.js";

const SETTING = "why.unit";

/** "pawns" or "centipawns". */
export function unitOf(settings) {
  return settings.get(SETTING, UNITS[0], (unit) => UNITS.includes(unit));
}

export function chooseUnit(settings, unit) {
  settings.set(SETTING, unit);
}
