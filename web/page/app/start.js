// Starts the engine while the page's other modules are still on their way.
import { PageEngine } from "./engine.js";
import { browserStorage, Settings } from "./settings.js";

const isCount = (value) => Number.isInteger(value) && value > 0;

export const settings = new Settings(browserStorage());
export const engine = new PageEngine({
  threads: settings.get("engine.threads", 1, isCount), hash: settings.get("engine.hash", null, isCount),
});
