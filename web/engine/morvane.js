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
    if (typeof WebAssembly !== "object") throw failure("webassembly", "not here");
    const script = `morvane-${build}.js`;
    let compiled;
    let factory;
    try {
      factory = host.script(script, name);
      compiled = await host.compile(`morvane-${build}.wasm`);
    } catch (error) {
      throw String(error.message).startsWith("morvane:") ? error : failure("load", error.message);
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

  /** The evaluation of a position as a text, null for a bad FEN, undefined if the engine has not begun. */
  function evaluate(module, fen) {
    const place = callWithText(module, "_morvaneEvaluate", fen);
    return place === 0 ? undefined : module.UTF8ToString(place) || null;
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
    if (typeof WebAssembly !== "object") throw failure("webassembly", "not here");
    const module = await load("threads", "MorvaneThreads", {
      wasmMemory: sharedMemory(),
      write: writer(host.post),
      end: (status) => (status === 0 ? host.close() : fail(failure("memory", "the engine needs more"))),
    });
    return {
      take: (line) => callWithText(module, "_morvaneInput", `${line}\n`),
      async evaluate(fen) {
        for (;;) {
          const text = evaluate(module, fen);
          if (text !== undefined) return text;
          await new Promise((resolve) => setTimeout(resolve, 5));
        }
      },
    };
  }

  // --- the build without ---

  // As the engine's own table of commands has them.
  const STOPPING = new Set(["ucinewgame", "position", "go", "stop", "benchsearch", "quit"]);

  function stopsSearch(line) {
    const [command, , option] = line.trim().toLowerCase().split(/\s+/);
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

  /** The worker that a page talks to: hands lines on to the one with the engine. */
  async function startSingle() {
    const flag = makeFlag();
    const readies = []; // "isready"s to answer here, each by the number of the search that they came after
    let sent = 0; // lines
    let served = 0;
    let search = 0; // number of the line that began the search which nothing has stopped yet
    let begun;
    const ready = new Promise((resolve) => (begun = resolve));
    const inner = host.spawn((message) => {
      if (typeof message === "string") host.post(message);
      else if (message.begun) begun();
      else if (message.ended) host.close();
      else served = message.served;
      answerReadies();
    });
    await ready;

    /** Those that came after a search which is running by now: everything before it has been served. */
    function answerReadies() {
      while (readies.length > 0 && served >= readies[0] - 1) {
        readies.shift();
        host.post("readyok");
      }
    }

    let evaluator = null;
    return {
      take(line) {
        const command = line.trim().split(/\s+/)[0];
        if (command === "isready" && search > served) {
          readies.push(search);
          return answerReadies();
        }
        ++sent;
        if (stopsSearch(line)) {
          flag.raise();
          search = command === "go" ? sent : 0;
        }
        inner.postMessage({ line, token: flag.token() });
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
  async function startInner() {
    let token = null;
    let nextLook = 0;
    let served = 0;
    const module = await load("single", "MorvaneSingle", {
      write: writer(host.post),
      isInterrupted() {
        const now = performance.now();
        if (now < nextLook) return 0;
        const raised = isRaised(token);
        nextLook = performance.now() + LOOK_INTERVAL;
        return raised ? 1 : 0;
      },
    });
    if (!module._morvaneBegin()) throw failure("memory", "the engine needs more");
    host.listen((message) => {
      token = message.token;
      nextLook = 0;
      if (callWithText(module, "_morvaneLine", message.line)) host.post({ served: ++served });
      else host.post({ ended: true });
    });
    host.post({ begun: true });
  }

  // --- the worker ---

  async function startEngine() {
    if (host.role === "single" || (host.role !== "threads" && !host.hasThreads))
      return { build: "single", ...(await startSingle()) };
    try {
      return { build: "threads", ...(await startThreads()) };
    } catch (error) {
      if (host.role === "threads" || !/memory/.test(error.message)) throw error;
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

  if (host.role === "inner") startInner().catch(fail);
  else startOuter();
})();
