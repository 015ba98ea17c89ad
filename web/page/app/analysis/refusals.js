// What the engine says when it cannot do as it was told, in the page's language.

const REFUSALS = [
  // The engine's own words; docs/uci.md lists them.
  {
    form: /^setoption hash: (\d+) МБ.*використано (\d+) МБ/,
    key: "analyse.hashReduced",
    names: ["asked", "used"],
  },
  { form: /^setoption hash: .*?(\d+) МБ/, key: "analyse.hashRefused", names: ["asked"] },
  { form: /^setoption threads: .*?(\d+) потоків/, key: "analyse.threadsRefused", names: ["n"] },
];

const OTHER = "analyse.engineSays";

/** The keys of all texts that tell of a refusal. */
export const REFUSAL_KEYS = [...REFUSALS.map(({ key }) => key), OTHER];

/** The key and values of a message's text, or null for a message that is not known. */
export function refusalOf(message) {
  for (const { form, key, names } of REFUSALS) {
    const found = form.exec(message);
    if (found) {
      return { key, values: Object.fromEntries(names.map((name, i) => [name, Number(found[i + 1])])) };
    }
  }
  return null;
}

/** Shows a message to the reader: translated where it is known, else as the engine has it. */
export function showRefusal(message, notices) {
  const { key, values } = refusalOf(message) ?? { key: OTHER, values: { message } };
  notices.show(key, { values });
}
