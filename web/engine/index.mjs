// Morvane for programs: promises instead of lines. Runs the worker morvane.js; see index.d.mts for the types.

const isNode = typeof process === "object" && Boolean(process.versions?.node) && typeof window === "undefined";

const START_MESSAGE = /morvane: (webassembly|memory|load): /;

/** An error with a `reason`: "webassembly", "memory", "load", "position" or "ended". */
function failure(reason, message) {
  return Object.assign(new Error(message), { reason });
}

function asFailure(error) {
  const reason = START_MESSAGE.exec(error?.message)?.[1] ?? "ended";
  return failure(reason, error?.message ?? "the worker ended");
}

/** A worker of the browser or of Node.js, with the same few functions. */
async function startWorker(url, build, { onMessage, onError }) {
  if (!isNode) {
    const worker = new Worker(build ? `${url}#${build}` : url);
    worker.onmessage = ({ data }) => onMessage(data);
    worker.onerror = (event) => {
      event.preventDefault?.();
      onError(new Error(event.message ?? "morvane: load: the worker's script"));
    };
    return { post: (message) => worker.postMessage(message), terminate: () => worker.terminate() };
  }
  const { Worker: NodeWorker } = await import("node:worker_threads");
  const worker = new NodeWorker(new URL(url), { workerData: { morvane: build } });
  worker.on("message", onMessage);
  worker.on("error", onError);
  worker.on("exit", () => onError(new Error("the worker ended")));
  return { post: (message) => worker.postMessage(message), terminate: () => void worker.terminate() };
}

const NUMBERS = ["depth", "seldepth", "nodes", "nps", "time"];

/** The words of an "info" line as an object; null for lines that tell no depth. */
export function parseInfo(text) {
  const words = text.split(" ");
  if (words[0] !== "info" || words[1] !== "depth") return null;
  const line = {};
  for (let i = 1; i < words.length; ++i)
    if (NUMBERS.includes(words[i])) line[words[i]] = Number(words[++i]);
    else if (words[i] === "score") {
      line.score = { [words[i + 1]]: Number(words[i + 2]) };
      i += 2;
    } else if (words[i] === "pv") {
      line.pv = words.slice(i + 1);
      break;
    }
  return line;
}

/** The words of "go" for some limits. */
function goCommand(limits) {
  const words = ["go"];
  for (const [name, value] of Object.entries(limits))
    if (name === "infinite") words.push(...(value ? [name] : []));
    else if (value !== undefined) words.push(name, Math.trunc(value));
  return words.join(" ");
}

function positionCommand({ fen, moves = [] }) {
  const position = fen ? `position fen ${fen}` : "position startpos";
  return moves.length > 0 ? `${position} moves ${moves.join(" ")}` : position;
}

const INFO_STRING = "info string ";

export class Engine extends EventTarget {
  #worker;
  #dead = null; // the error it died of
  #requests = new Map(); // questions to the worker itself, by number
  #lastRequest = 0;
  #waiting = []; // exchanges of lines in progress, the oldest first: { take(line) -> done?, reject }
  #search = null;
  #position = "position startpos";
  threads = false;
  name = "";
  options = new Map();

  /** Starts a worker; fulfilled when the engine has told its name and options. */
  static async start({ threads, url = new URL("./morvane.js", import.meta.url).href } = {}) {
    const engine = new Engine();
    const build = threads === undefined ? "" : threads ? "threads" : "single";
    if (typeof WebAssembly !== "object") throw failure("webassembly", "there is no WebAssembly here");
    engine.#worker = await startWorker(String(url), build, {
      onMessage: (message) => engine.#hear(message),
      onError: (error) => engine.#die(asFailure(error)),
    });
    const [reply] = await Promise.all([engine.#ask({ build: true }), engine.#readOptions()]);
    engine.threads = reply.build === "threads";
    return engine;
  }

  /** Sends a line as it is. */
  send(line) {
    if (this.#dead) throw this.#dead;
    this.#worker.post(line);
  }

  /** Sets an option; fulfilled with what the engine has to say about it, nothing if all is well. */
  async setOption(name, value) {
    return this.#messagesOf(`setoption name ${name} value ${value}`);
  }

  /** Forgets the game: an empty transposition table. */
  async newGame() {
    await this.#messagesOf("ucinewgame");
    this.#position = "position startpos";
  }

  /** Rejected, and the old position stays, if the engine refuses the new one. */
  async setPosition(position) {
    const command = positionCommand(position);
    await this.#tryPosition(command);
    this.#position = command;
  }

  /** Starts a search of the position; `onInfo` gets each line that tells a depth. */
  go(limits = {}, onInfo = () => {}) {
    let info = null;
    const result = this.#exchange(goCommand(limits), (line, done) => {
      const parsed = parseInfo(line);
      if (parsed) {
        if (parsed.pv) info = parsed;
        onInfo(parsed);
      } else if (line.startsWith("bestmove")) {
        const move = line.split(" ")[1];
        done({ bestMove: move === "0000" ? null : move, info });
      } else return false;
      return true;
    });
    const search = { result, stop: () => this.#search === search && this.send("stop") };
    this.#search = search;
    const forget = () => {
      if (this.#search === search) this.#search = null;
    };
    result.then(forget, forget);
    return search;
  }

  /** Fulfilled when no search runs. */
  async stop() {
    const search = this.#search;
    if (!search) return;
    search.stop();
    await search.result.catch(() => {});
  }

  /** The evaluation of a position, term by term; a search may run meanwhile. */
  async evaluate(fen) {
    const { evaluation } = await this.#ask({ evaluate: fen });
    if (evaluation === null) throw failure("position", `not a position: ${fen}`);
    return JSON.parse(evaluation);
  }

  /** Counts move sequences of a length, by first move. Stops a search. */
  async perft(fen, depth) {
    await this.#tryPosition(positionCommand({ fen }));
    const moves = {};
    let refusal = null;
    const counted = this.#exchange(`perft ${depth}`, (line, done) => {
      const [, move, count] = /^(\S+): (\d+)$/.exec(line) ?? [];
      const total = /^Nodes searched: (\d+)$/.exec(line);
      if (total) done(BigInt(total[1]));
      else if (move) moves[move] = BigInt(count);
      else if (line.startsWith(INFO_STRING)) {
        refusal = line.slice(INFO_STRING.length);
        done(0n);
      } else return false;
      return true;
    });
    const nodes = await counted;
    this.send(this.#position);
    if (refusal !== null) throw failure("depth", refusal);
    return { moves, nodes };
  }

  /** Ends the worker. What is still asked for is rejected. */
  quit() {
    this.#worker.terminate();
    this.#die(failure("ended", "the engine was told to quit"), { silently: true });
  }

  // --- what comes back ---

  #hear(message) {
    if (typeof message !== "string") {
      this.#requests.get(message.id)?.resolve(message);
      this.#requests.delete(message.id);
      return;
    }
    this.dispatchEvent(new CustomEvent("line", { detail: message }));
    if (message.startsWith(INFO_STRING))
      this.dispatchEvent(new CustomEvent("message", { detail: message.slice(INFO_STRING.length) }));
    for (const exchange of this.#waiting) if (exchange.take(message)) return;
  }

  #die(error, { silently = false } = {}) {
    if (this.#dead) return;
    this.#dead = error;
    this.#worker?.terminate();
    for (const { reject } of [...this.#requests.values(), ...this.#waiting.splice(0)]) reject(error);
    this.#requests.clear();
    if (!silently) this.dispatchEvent(new CustomEvent("error", { detail: error }));
  }

  /** Asks the worker's script, not the engine. */
  #ask(question) {
    return new Promise((resolve, reject) => {
      if (this.#dead) return reject(this.#dead);
      const id = ++this.#lastRequest;
      this.#requests.set(id, { resolve, reject });
      this.#worker.post({ id, ...question });
    });
  }

  /** Sends a line; `take(line, done)` tells of each line that follows whether it belongs to the answer. */
  #exchange(command, take) {
    return new Promise((resolve, reject) => {
      if (this.#dead) return reject(this.#dead);
      const exchange = {
        reject,
        take: (line) =>
          take(line, (answer) => {
            this.#waiting.splice(this.#waiting.indexOf(exchange), 1);
            resolve(answer);
          }),
      };
      this.#waiting.push(exchange);
      this.send(command);
    });
  }

  async #tryPosition(command) {
    const [refusal] = await this.#messagesOf(command);
    if (refusal !== undefined) throw failure("position", refusal);
  }

  /** What the engine says to a command that has no answer of its own. */
  async #messagesOf(command) {
    const messages = [];
    const answered = this.#exchange(`${command}\nisready`, (line, done) => {
      if (line.startsWith(INFO_STRING)) messages.push(line.slice(INFO_STRING.length));
      else if (line === "readyok") done();
      else return false;
      return true;
    });
    await answered;
    return messages;
  }

  #readOptions() {
    return this.#exchange("uci", (line, done) => {
      const option = /^option name (.+) type spin default (\d+) min (\d+) max (\d+)$/.exec(line);
      if (option) {
        const [value, min, max] = option.slice(2).map(Number);
        this.options.set(option[1], { default: value, min, max });
      } else if (line.startsWith("id name ")) this.name = line.slice("id name ".length);
      else if (line === "uciok") done();
      return true;
    });
  }
}
