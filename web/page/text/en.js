// All texts of the page in English, by key.
import analyse from "./en/analyse.js";
import common from "./en/common.js";
import play from "./en/play.js";
import terms from "./en/terms.js";
import why from "./en/why.js";

export default { ...common, ...play, ...analyse, ...why, ...terms };
