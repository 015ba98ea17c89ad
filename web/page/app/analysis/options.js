// What the engine may use: threads and memory.

import { h, toggle, write } from "./dom.js";
import { REFUSAL_KEYS, showRefusal } from "./refusals.js";

const HASH_SIZES = [1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048];

/** The choices of threads and hash: {element, show()}. */
export function makeOptions({ engine, texts, settings, notices }) {
  const threads = h("select", { id: "engine-threads", "data-test": "threads",
    onchange: () => choose("threads", Number(threads.value)) });
  const hash = h("select", { id: "engine-hash", "data-test": "hash",
    onchange: () => choose("hash", Number(hash.value)) });
  const why = h("p", { class: "hint", id: "engine-threads-why", text: "analyse.noThreads" });
  const element = h(
    "details",
    { class: "engine-options", "data-test": "engine-options" },
    h("summary", { text: "analyse.options" }),
    h("p", { class: "field" }, h("label", { for: "engine-threads", text: "analyse.threads" }), threads),
    why,
    h("p", { class: "field" }, h("label", { for: "engine-hash", text: "analyse.hash" }), hash),
  );

  const choose = async (key, value) => {
    REFUSAL_KEYS.forEach((refusal) => notices.dismiss(refusal));
    settings.set(`engine.${key}`, value);
    const told = key === "hash" ? engine.setHash(value) : engine.setThreads(value);
    const messages = await told.catch(() => []); // the engine's state tells of failures
    settings.set(`engine.${key}`, key === "hash" ? engine.hash : engine.threadCount);
    if (messages.length > 0) {
      showRefusal(messages.at(-1), notices); // of several the last one holds
    }
    show();
  };

  const show = () => {
    fillSelect(threads, threadCounts(engine, navigator.hardwareConcurrency ?? 1), engine.threadCount,
      (n) => texts.number(n));
    threads.disabled = !engine.threads;
    toggle(why, engine.state !== "loading" && !engine.threads);
    fillSelect(hash, hashSizes(engine), engine.hash, (n) => texts.t("analyse.megabytes", { n }));
  };
  return { element, show };
}

/** The numbers of threads to choose from. */
export function threadCounts(engine, cores) {
  const max = engine.threads ? Math.min(cores, engine.options.get("Threads")?.max ?? 1) : 1;
  return Array.from({ length: Math.max(1, max) }, (_, i) => i + 1);
}

/** The sizes of the hash to choose from, the current one among them. */
export function hashSizes(engine) {
  const { min = 1, max = 64 } = engine.options.get("Hash") ?? {};
  const sizes = HASH_SIZES.filter((size) => size >= min && size <= max);
  return [...new Set([...sizes, engine.hash ?? sizes[0]])].sort((a, b) => a - b);
}

function fillSelect(select, values, chosen, textOf) {
  const isSame = values.length === select.options.length
    && values.every((value, i) => select.options[i].value === String(value));
  if (!isSame) {
    select.replaceChildren(...values.map((value) => h("option", { value })));
  }
  for (const option of select.options) {
    write(option, textOf(Number(option.value)));
  }
  select.value = String(chosen);
}
