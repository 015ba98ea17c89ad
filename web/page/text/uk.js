// All texts of the page in Ukrainian, by key.
import analyse from "./uk/analyse.js";
import common from "./uk/common.js";
import play from "./uk/play.js";
import terms from "./uk/terms.js";
import why from "./uk/why.js";

export default { ...common, ...play, ...analyse, ...why, ...terms };
