// The folder that is published: what is in it, that its lists are right, and that the same sources give it
// again; and the server that shows it.

import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { createHash } from "node:crypto";
import { cpSync, mkdtempSync, readFileSync, rmSync, symlinkSync, writeFileSync } from "node:fs";
import http from "node:http";
import os from "node:os";
import path from "node:path";
import { describe, test } from "node:test";
import vm from "node:vm";

import { buildSite, filesOf, withScriptHashes, writePrecache } from "../site.mjs";
import { ROOT, SITE } from "./support/site.js";

const read = (name) => readFileSync(path.join(SITE, name), "utf8");

function temporary(t) {
  const folder = mkdtempSync(path.join(os.tmpdir(), "morvane-site-"));
  t.after(() => rmSync(folder, { recursive: true, force: true }));
  return folder;
}

function precacheOf(folder) {
  const scope = { self: {} };
  vm.runInNewContext(readFileSync(path.join(folder, "precache.js"), "utf8"), scope);
  return scope.self.PRECACHE;
}

describe("the folder", () => {
  test("has page, engine, libraries and their licences", () => {
    const names = new Set(filesOf(SITE));
    for (const name of ["index.html", "sw.js", "manifest.webmanifest", "pieces.svg", "LICENSES.txt",
      "engine/index.mjs", "engine/morvane.js", "lib/chess.js", "lib/cm-chessboard/src/Chessboard.js"]) {
      assert.ok(names.has(name), name);
    }
    for (const build of ["single", "threads"]) {
      const name = `engine/morvane-${build}.wasm`;
      assert.ok(names.has(name), name);
    }
    assert.match(read("LICENSES.txt"), /Morvane[\s\S]*Emscripten[\s\S]*Jeff Hlywa[\s\S]*Stefan Haack/);
  });

  test("of cm-chessboard has only what its own licence covers", () => {
    const names = filesOf(path.join(SITE, "lib/cm-chessboard"));
    assert.deepEqual(names.filter((name) => !/\.(js|css)$/.test(name)), []);
    for (const name of filesOf(SITE).filter((file) => /\.(svg|css|js|html)$/.test(file))) {
      assert.doesNotMatch(read(name), /creativecommons|CC[ -]BY/i, name);
    }
  });

  test("refers to no other origin", () => {
    // Addresses of namespaces and those in comments on licences are no requests.
    const allowed = /^https?:\/\/(www\.w3\.org|shaack\.com|github\.com|localhost|example\.org)\b/;
    const own = /\.(html|css|webmanifest)$|^(app|text)\/|^sw\.js$/;
    for (const name of filesOf(SITE).filter((file) => own.test(file))) {
      const addresses = read(name).match(/\bhttps?:\/\/[^\s"'`)<]+/g) ?? [];
      assert.deepEqual(addresses.filter((address) => !allowed.test(address)), [], name);
    }
  });

  test("lists every file with its hash for the service worker", () => {
    const { version, files } = precacheOf(SITE);
    const names = filesOf(SITE).filter((name) => name !== "sw.js" && name !== "precache.js");
    assert.deepEqual([...files].map(({ url }) => url), names);
    for (const { url, hash } of files) {
      assert.equal(hash, createHash("sha256").update(readFileSync(path.join(SITE, url))).digest("hex"), url);
    }
    assert.match(version, /^[0-9a-f]{16}$/);
  });

  test("has another version when any of its files is another", (t) => {
    for (const name of ["index.html", "engine/index.mjs", "sw.js"]) {
      const folder = path.join(temporary(t), "site");
      cpSync(SITE, folder, { recursive: true });
      assert.equal(writePrecache(folder), precacheOf(SITE).version);
      writeFileSync(path.join(folder, name), `${read(name)}\n`);
      assert.notEqual(writePrecache(folder), precacheOf(SITE).version, name);
    }
  });

  test("comes out the same once more", (t) => {
    const again = path.join(temporary(t), "site");
    buildSite(path.join(SITE, "engine"), again);
    assert.deepEqual(filesOf(again), filesOf(SITE));
    for (const name of filesOf(SITE)) {
      assert.ok(readFileSync(path.join(again, name)).equals(readFileSync(path.join(SITE, name))), name);
    }
  });

  test("has a policy that lets in its inline scripts alone", () => {
    const html = read("index.html");
    const [, policy] = /http-equiv="Content-Security-Policy"\s+content="([^"]*)"/.exec(html);
    const inline = [...html.matchAll(/<script\b(?![^>]*\bsrc=)[^>]*>([\s\S]*?)<\/script>/g)];
    const hashes = inline.map(([, text]) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`);
    assert.deepEqual(policy.match(/'sha256-[^']*'/g) ?? [], hashes);
    assert.match(policy, /default-src 'self'/);
    assert.doesNotMatch(policy, /https?:|\*|script-src[^;]*'unsafe/);
    assert.doesNotMatch(html, /<[^>]*\son[a-z]+\s*=/);
  });

  test("gets the hashes of inline scripts, however many", () => {
    const hash = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
    const scripts = "<script>1</script><script src='a'></script><script type='importmap'>{}</script>";
    const page = (policy) => `<meta content="script-src 'self' ${policy}; x">${scripts}`;
    assert.equal(withScriptHashes(page("'sha256-'")), page(`${hash("1")} ${hash("{}")}`));
    assert.equal(withScriptHashes(page("'sha256-a' 'sha256-b'")), page(`${hash("1")} ${hash("{}")}`));
    assert.throws(() => withScriptHashes(page("")), /hashes/);
  });
});

// --- scripts/serve-web ---

// Starts the script and returns the address that it prints.
async function serve(t, ...options) {
  const child = spawn(path.join(ROOT, "scripts/serve-web"), ["--port", "0", ...options]);
  const ended = new Promise((resolve) => child.once("exit", resolve));
  t.after(async () => {
    child.kill();
    await ended;
  });
  const said = await new Promise((resolve, reject) => {
    let text = "";
    child.stdout.on("data", (data) => {
      text += data;
      if (text.includes("\n")) resolve(text);
    });
    child.once("exit", (code) => reject(new Error(`ended with ${code}`)));
  });
  return said.trim();
}

// As `fetch`, but leaves the path as it is.
function ask(address, where, method = "GET") {
  return new Promise((resolve, reject) => {
    const { hostname, port } = new URL(address);
    http.request({ hostname, port, path: where, method }, (response) => {
      let body = "";
      response.setEncoding("latin1").on("data", (data) => (body += data));
      response.on("end", () => resolve({ status: response.statusCode, headers: response.headers, body }));
    }).on("error", reject).end();
  });
}

describe("the server", () => {
  test("answers with types that browsers take, and with the headers that allow threads", async (t) => {
    const address = await serve(t);
    const wasm = filesOf(SITE).find((name) => name.endsWith(".wasm"));
    const types = {
      "": "text/html",
      "index.html?x=1": "text/html",
      "sw.js": "text/javascript",
      "engine/index.mjs": "text/javascript",
      "manifest.webmanifest": "application/manifest+json",
      "pieces.svg": "image/svg+xml",
      [wasm]: "application/wasm",
    };
    for (const [name, type] of Object.entries(types)) {
      const { status, headers } = await ask(address, `/${name}`);
      assert.deepEqual([status, headers["content-type"].split(";")[0]], [200, type], name);
      assert.equal(headers["cross-origin-opener-policy"], "same-origin");
      assert.equal(headers["cross-origin-embedder-policy"], "require-corp");
      assert.equal(headers["cache-control"], "no-cache");
    }
    const head = await ask(address, "/pieces.svg", "HEAD");
    assert.deepEqual([head.status, head.body], [200, ""]);
    assert.equal(Number(head.headers["content-length"]), Buffer.byteLength(read("pieces.svg")));
  });

  test("--no-headers leaves these out", async (t) => {
    const { status, headers } = await ask(await serve(t, "--no-headers"), "/");
    assert.equal(status, 200);
    assert.deepEqual(Object.keys(headers).filter((name) => name.startsWith("cross-origin")), []);
  });

  test("gives nothing from outside its folder, and only reads", async (t) => {
    const outer = temporary(t);
    writeFileSync(path.join(outer, "secret.txt"), "secret");
    const folder = path.join(outer, "site");
    cpSync(path.join(SITE, "index.html"), path.join(folder, "index.html"));
    symlinkSync("../secret.txt", path.join(folder, "link.txt"));
    const address = await serve(t, folder);
    for (const where of ["/../secret.txt", "/%2e%2e/secret.txt", "/..%2fsecret.txt", "/..%5csecret.txt",
      "/link.txt", "/x/../../secret.txt", "//secret.txt", "/%", "/%00", "/nothing", "/x/"]) {
      const { status, body } = await ask(address, where);
      assert.deepEqual([status, body], [404, "404\n"], where);
    }
    assert.equal((await ask(address, "/", "POST")).status, 405);
    assert.equal((await ask(address, "/")).status, 200);
  });

  test("refuses options that it does not know", async () => {
    for (const [options, said] of [
      [["--wrong"], "no such option: --wrong"],
      [["--port"], "--port needs a value"],
      [["--port", "x", SITE], "not a port: x"],
      [[SITE, SITE], "takes one folder"],
    ]) {
      const child = spawn(path.join(ROOT, "scripts/serve-web"), options);
      let text = "";
      child.stderr.on("data", (data) => (text += data));
      const code = await new Promise((resolve) => child.once("close", resolve));
      assert.equal(code, 2);
      assert.ok(text.includes(said), text);
    }
  });
});
