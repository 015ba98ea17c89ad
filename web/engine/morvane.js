// Morvane as a worker, of a browser or of Node.js: UCI by messages, a line each way.
//
//   const engine = new Worker("morvane.js");
//   engine.onmessage = ({ data }) => console.log(data);
//   engine.postMessage("go depth 10");
//
// Two builds of the engine lie beside this file. The one with threads needs shared memory, which browsers give to
// pages that are cross-origin isolated; "#threads" or "#single" at the end of the address asks for one of them.
//
// The worker that a page talks to is always free to hear. With threads the engine's loop runs on one. Without, the
// engine runs in a second worker, which a search keeps busy: it looks from time to time at a flag that this one can
// change without being heard (see `makeFlag`).
//
// Besides lines, objects are understood, for index.mjs:
//   { id, evaluate: FEN }   is answered by { id, evaluation }, the text of a JSON object, or null for a bad FEN
//   { id, build: true }     is answered by { id, build }, "threads" or "single"
"use strict";

(() => {
  const isNode = typeof importScripts !== "function";
  const host = isNode ? nodeHost() : browserHost();

  // --- where this runs ---

  function browserHost() {
    const address = self.location.href.replace(/#.*/, "");
    const role = self.location.hash.slice(1);
    const urlOf = (file) => new URL(file, address).href;
    return {
      role,
      urlOf,
      hasThreads: Boolean(self.crossOriginIsolated),
      listen: (listener) => (self.onmessage = ({ data }) => listener(data)),
      post: (message) => self.postMessage(message),
      close: () => self.close(),
      script(file, name) {
        importScripts(urlOf(file));
        return self[name];
      },
      async compile(file) {
        const response = await fetch(urlOf(file), { credentials: "same-origin" });
        if (!response.ok) throw failure("load", `${file}: ${response.status}`);
        if (response.headers.get("Content-Type") === "application/wasm")
          return WebAssembly.compileStreaming(response);
        return WebAssembly.compile(await response.arrayBuffer());
      },
      spawn(listener) {
        const worker = new Worker(`${address}#inner`);
        worker.onmessage = ({ data }) => listener(data);
        worker.onerror = (event) => fail(new Error(event.message));
        return worker;
      },
    };
  }

  function nodeHost() {
    const { parentPort, workerData, Worker } = require("node:worker_threads");
    const { join } = require("node:path");
    const { readFile } = require("node:fs/promises");
    const pathOf = (file) => join(__dirname, file);
    return {
      role: workerData?.morvane ?? "",
      urlOf: pathOf,
      hasThreads: true,
      listen: (listener) => parentPort.on("message", listener),
      post: (message) => parentPort.postMessage(message),
      close: () => process.exit(0), // of this worker
      script: (file) => require(pathOf(file)),
      compile: async (file) => WebAssembly.compile(await readFile(pathOf(file))),
      spawn(listener) {
        const worker = new Worker(__filename, { workerData: { morvane: "inner" } });
        worker.on("message", listener);
        worker.on("error", fail);
        return worker;
      },
    };
  }

  // --- failures: they end the worker's work, and whoever made it hears of them by its "error" event ---

  /** An error whose message names a reason: "webassembly", "memory" or "load". */
  function failure(reason, message) {
    return new Error(`morvane: ${reason}: ${message}`);
  }

  function fail(error) {
    setTimeout(() => {
      throw error;
    });
  }

  // --- the module ---

  /** Makes a module of a build; `hooks` are what the engine calls. */
  async function load(build, name, hooks) {
    const script = `morvane-${build}.js`;
    let compiled;
    let factory;
    try {
      factory = host.script(script, name);
      compiled = await host.compile(`morvane-${build}.wasm`);
    } catch (error) {
      throw error.message.startsWith("morvane:") ? error : failure("load", error.message);
    }
    return new Promise((resolve, reject) => {
      factory({
        ...hooks,
        mainScriptUrlOrBlob: host.urlOf(script),
        locateFile: host.urlOf,
        onAbort: (what) => reject(failure("memory", what)),
        instantiateWasm(imports, receive) {
          WebAssembly.instantiate(compiled, imports).then(
            (instance) => receive(instance, compiled),
            (error) => reject(failure("memory", error.message)),
          );
          return {};
        },
      }).then(resolve, reject);
    });
  }

  /** Calls a function of the engine with a text. */
  function callWithText(module, call, text) {
    const bytes = module.lengthBytesUTF8(text) + 1;
    const place = module._malloc(bytes);
    if (place === 0) throw failure("memory", `${bytes} bytes`);
    module.stringToUTF8(text, place, bytes);
    try {
      return module[call](place);
    } finally {
      module._free(place);
    }
  }

  /** The evaluation of a position as a text, null for a bad FEN. */
  function evaluate(module, fen) {
    return module.UTF8ToString(callWithText(module, "_morvaneEvaluate", fen)) || null;
  }

  const OUTPUT = 1; // streams, as src/platform/console.h numbers them

  function writer(post) {
    return (stream, text) => {
      if (stream === OUTPUT) for (const line of text.split("\n")) if (line !== "") post(line);
    };
  }

  // --- the build with threads ---

  const GREATEST_MEMORY = 2048; // MiB; less where a system does not have so much address space to spare
  const LEAST_MEMORY = 256;
  const PAGES_OF_MIB = 16;

  function sharedMemory() {
    for (let size = GREATEST_MEMORY; ; size /= 2)
      try {
        const pages = { initial: 32 * PAGES_OF_MIB, maximum: size * PAGES_OF_MIB, shared: true };
        return new WebAssembly.Memory(pages);
      } catch (error) {
        if (size === LEAST_MEMORY) throw failure("memory", error.message);
      }
  }

  async function startThreads() {
    let begun;
    const begins = new Promise((resolve) => (begun = resolve));
    const module = await load("threads", "MorvaneThreads", {
      wasmMemory: sharedMemory(),
      write: writer(host.post),
      begin: begun,
      end: (status) => (status === 0 ? host.close() : fail(failure("memory", "the engine needs more"))),
    });
    return {
      take: (line) => callWithText(module, "_morvaneInput", `${line}\n`),
      evaluate: (fen) => begins.then(() => evaluate(module, fen)),
    };
  }

  // --- the build without ---

  // As the engine's own table of commands has them.
  const STOPPING = new Set(["ucinewgame", "position", "go", "stop", "benchsearch", "quit"]);

  const wordsOf = (line) => line.trim().split(/\s+/);

  function stopsSearch(line) {
    const [command, , option] = wordsOf(line.toLowerCase());
    return STOPPING.has(command) || (command === "setoption" && (option === "hash" || option === "threads"));
  }

  /**
   * What a busy worker can see though it hears no message: shared memory if there is some, or else an address that
   * leads to something until it is revoked. `raise` changes it, and `token` is what a search is given to look at.
   */
  function makeFlag() {
    if (typeof SharedArrayBuffer === "function") {
      const count = new Int32Array(new SharedArrayBuffer(4));
      return { token: () => ({ count, from: count[0] }), raise: () => Atomics.add(count, 0, 1) };
    }
    let url = null;
    return {
      token: () => ({ url: (url ??= URL.createObjectURL(new Blob(["1"]))) }),
      raise() {
        if (url !== null) URL.revokeObjectURL(url);
        url = null;
      },
    };
  }

  function isRaised({ count, from, url }) {
    if (count !== undefined) return Atomics.load(count, 0) !== from;
    try {
      const request = new XMLHttpRequest();
      request.open("GET", url, false);
      request.send();
      return request.status !== 200;
    } catch {
      return true;
    }
  }

  /**
   * The worker that a page talks to: hands lines on to the one with the engine.
   *
   * A host may forbid the addresses that the flag needs. Then the second worker is deaf, and one whose search is to
   * stop is replaced by another: with the same options and position, and an empty transposition table.
   */
  async function startSingle() {
    const flag = makeFlag();
    const settings = new Map(); // the lines that set options and position
    let unserved = []; // lines that the engine has been sent, each as { line }; the first is being served
    let search = null; // one of them: the search that nothing has stopped yet
    const readies = []; // "isready"s to answer here, each by the search that it came after
    let move = null; // the best one known to the search in progress
    let isDeaf = false;
    let isStopping = false; // the worker is to be replaced as soon as a move is known
    let worker = null;

    const isSearching = () => unserved.length > 0 && wordsOf(unserved[0].line)[0] === "go";

    function spawn() {
      return new Promise((resolve) => {
        worker = host.spawn((message) => {
          if (typeof message === "string") tell(message);
          else if (message.ended) host.close();
          else if (message.served) {
            if (unserved.shift() === search) search = null;
            answerReadies();
          } else {
            isDeaf = message.deaf;
            resolve();
          }
        });
        worker.postMessage({ token: flag.token() });
      });
    }

    function tell(line) {
      host.post(line);
      move = / pv (\S+)/.exec(line)?.[1] ?? move;
      if (isStopping && move) replace();
    }

    function answerReadies() {
      for (; readies.length > 0 && unserved.indexOf(readies[0]) <= 0; readies.shift()) host.post("readyok");
    }

    function send(entry) {
      const [command, , option] = wordsOf(entry.line);
      if (command === "setoption") settings.set(option, entry.line);
      if (command === "position") settings.set(command, entry.line);
      if (command === "go") move = null;
      unserved.push(entry);
      worker.postMessage({ line: entry.line, token: flag.token() });
    }

    function replace() {
      const rest = unserved.slice(1);
      const before = [...settings.values()].map((line) => ({ line }));
      worker.terminate();
      host.post(`bestmove ${move}`);
      isStopping = false;
      unserved = [];
      spawn();
      [...before, ...rest].forEach(send);
      answerReadies();
    }

    function interrupt() {
      flag.raise();
      isStopping = isDeaf && isSearching();
      if (isStopping && move) replace();
    }

    await spawn();
    let evaluator = null;
    return {
      take(line) {
        const entry = { line };
        const [command] = wordsOf(line);
        if (command === "isready" && search) {
          readies.push(search);
          return answerReadies();
        }
        if (stopsSearch(line)) {
          interrupt();
          search = command === "go" ? entry : null;
        }
        send(entry);
      },
      async evaluate(fen) {
        evaluator ??= load("single", "MorvaneSingle", { write() {}, isInterrupted: () => 0 }).then((module) => {
          module._morvaneBeginTables();
          return module;
        });
        return evaluate(await evaluator, fen);
      },
    };
  }

  const LOOK_INTERVAL = 15; // milliseconds between two looks at the flag

  /** The worker with the engine. */
  function startInner() {
    let token = null;
    let isDeaf = false;
    let nextLook = 0;
    const hooks = {
      write: writer(host.post),
      isInterrupted() {
        const now = performance.now();
        if (isDeaf || now < nextLook) return 0;
        const raised = isRaised(token);
        nextLook = performance.now() + LOOK_INTERVAL;
        return raised ? 1 : 0;
      },
    };
    const loaded = load("single", "MorvaneSingle", hooks).then((module) => {
      if (!module._morvaneBegin()) throw failure("memory", "the engine needs more");
      return module;
    });
    const serve = (module, message) => {
      token = message.token;
      nextLook = 0;
      if (message.line === undefined) {
        isDeaf = isRaised(token); // though nobody has raised it
        host.post({ deaf: isDeaf });
      } else host.post(callWithText(module, "_morvaneLine", message.line) ? { served: true } : { ended: true });
    };
    host.listen((message) => loaded.then((module) => serve(module, message)).catch(fail));
  }

  // --- the worker ---

  async function startEngine() {
    if (typeof WebAssembly !== "object") throw failure("webassembly", "not here");
    if (host.role === "single" || (host.role !== "threads" && !host.hasThreads))
      return { build: "single", ...(await startSingle()) };
    try {
      return { build: "threads", ...(await startThreads()) };
    } catch (error) {
      if (host.role === "threads" || !error.message.startsWith("morvane: memory:")) throw error;
      return { build: "single", ...(await startSingle()) };
    }
  }

  async function serve(engine, message) {
    if (typeof message === "string") for (const line of message.split("\n")) engine.take(line);
    else if (message.evaluate !== undefined)
      host.post({ id: message.id, evaluation: await engine.evaluate(message.evaluate) });
    else if (message.build) host.post({ id: message.id, build: engine.build });
  }

  function startOuter() {
    const waiting = [];
    let take = (message) => waiting.push(message);
    host.listen((message) => take(message));
    startEngine()
      .then((engine) => {
        take = (message) => serve(engine, message).catch(fail);
        waiting.splice(0).forEach(take);
      })
      .catch(fail);
  }

  if (host.role === "inner") startInner();
  else startOuter();
})();
