// Puts the static folder together: the page, the engine, the libraries, and a list of it all for the
// service worker. Called by scripts/build-web: node web/site.mjs ENGINE SITE

import { createHash } from "node:crypto";
import {
  cpSync, existsSync, mkdirSync, readFileSync, readdirSync, renameSync, rmSync, writeFileSync,
} from "node:fs";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { gzipSync } from "node:zlib";

const web = path.dirname(fileURLToPath(import.meta.url));
const modules = path.join(web, "node_modules");

// Of cm-chessboard only what its MIT licence covers. Its pieces and markers have licences of their own,
// which are not free enough.
const CHESSBOARD_STYLES = /^assets\/(chessboard|extensions\/(arrows|markers|promotion-dialog)\/[\w-]+)\.css$/;

// What is served but not listed: the worker itself is not to come from its own cache.
const UNLISTED = new Set(["sw.js", "precache.js"]);

// All files of a folder, as sorted relative paths with slashes.
export function filesOf(folder) {
  return readdirSync(folder, { recursive: true, withFileTypes: true })
    .filter((entry) => entry.isFile())
    .map((entry) => path.relative(folder, path.join(entry.parentPath ?? entry.path, entry.name)))
    .map((name) => name.split(path.sep).join("/"))
    .sort((a, b) => (a < b ? -1 : 1));
}

function sha256(data, encoding) {
  return createHash("sha256").update(data).digest(encoding);
}

function copy(from, to) {
  mkdirSync(path.dirname(to), { recursive: true });
  cpSync(from, to);
}

// Without the pointer to a source map, which is not served.
function copyText(from, to) {
  const text = readFileSync(from, "utf8");
  mkdirSync(path.dirname(to), { recursive: true });
  writeFileSync(to, text.replace(/\n(\/\/# sourceMappingURL=.*|\/\*# sourceMappingURL=.*\*\/)\s*$/, "\n"));
}

function copyLibraries(site) {
  copyText(path.join(modules, "chess.js/dist/esm/chess.js"), path.join(site, "lib/chess.js"));
  const board = path.join(modules, "cm-chessboard");
  for (const name of filesOf(board)) {
    if (/^src\/.*\.js$/.test(name) || CHESSBOARD_STYLES.test(name)) {
      copyText(path.join(board, name), path.join(site, "lib/cm-chessboard", name));
    }
  }
}

function copyEngine(engine, site) {
  const names = filesOf(engine).filter((name) => /^[\w.-]+\.(mjs|js|wasm)$/.test(name));
  for (const wanted of ["index.mjs", "morvane.js"]) {
    if (!names.includes(wanted)) throw new Error(`there is no ${wanted} in ${engine}`);
  }
  for (const name of names) copy(path.join(engine, name), path.join(site, "engine", name));
}

function writeLicences(site) {
  const title = (words) => `${words}\n${"=".repeat(words.length)}\n\n`;
  const text = (name) => readFileSync(path.join(web, name), "utf8");
  const parts = [
    title("Morvane: the engine and its page") + text("../LICENSE"),
    title("Parts of the compiler's libraries") + text("licences/emscripten.txt"),
  ];
  for (const name of ["chess.js", "cm-chessboard"]) {
    const { version } = JSON.parse(readFileSync(path.join(modules, name, "package.json"), "utf8"));
    parts.push(title(`${name} ${version}`) + text(`node_modules/${name}/LICENSE`));
  }
  writeFileSync(path.join(site, "LICENSES.txt"), parts.join("\n\n"));
}

// The policy lets in the inline scripts by their hashes, and no others.
export function withScriptHashes(html) {
  const all = [...html.matchAll(/<script\b([^>]*)>([\s\S]*?)<\/script>/g)];
  const scripts = all.filter(([, attributes]) => !/\bsrc=/.test(attributes));
  const hashes = scripts.map(([, , text]) => `'sha256-${sha256(text, "base64")}'`).join(" ");
  const places = html.match(/('sha256-[^']*'\s*)+/g) ?? [];
  if (scripts.length > 0 && places.length !== 1) {
    throw new Error("the page's policy must have one place for the hashes of inline scripts: 'sha256-'");
  }
  return html.replace(/'sha256-[^']*'(\s+'sha256-[^']*')*/, () => hashes);
}

// Lists the folder's files for the service worker; the version changes whenever one of them does.
export function writePrecache(site) {
  const files = filesOf(site)
    .filter((name) => !UNLISTED.has(name))
    .map((name) => ({ url: name, hash: sha256(readFileSync(path.join(site, name)), "hex") }));
  const worker = existsSync(path.join(site, "sw.js")) ? readFileSync(path.join(site, "sw.js")) : "";
  const version = sha256(JSON.stringify(files) + worker, "hex").slice(0, 16);
  const list = files.map((file) => `  ${JSON.stringify(file)}`).join(",\n");
  writeFileSync(
    path.join(site, "precache.js"),
    `self.PRECACHE = { version: "${version}", files: [\n${list}\n] };\n`,
  );
  return version;
}

function printSizes(site) {
  const folders = new Map();
  for (const name of filesOf(site)) {
    const data = readFileSync(path.join(site, name));
    const folder = name.includes("/") ? name.slice(0, name.indexOf("/") + 1) : "";
    for (const key of [folder, "total"]) {
      const sum = folders.get(key) ?? { files: 0, size: 0, packed: 0 };
      folders.set(key, {
        files: sum.files + 1,
        size: sum.size + data.length,
        packed: sum.packed + gzipSync(data, { level: 9 }).length,
      });
    }
  }
  const kib = (bytes) => (bytes / 1024).toFixed(1).padStart(8);
  const rows = [...folders].sort(([a], [b]) => (a === "total") - (b === "total"));
  for (const [name, { files, size, packed }] of rows) {
    const count = String(files).padStart(4);
    console.log(`${(name || ".").padEnd(12)}${count} files${kib(size)} KiB${kib(packed)} KiB with gzip`);
  }
}

export function buildSite(engine, site) {
  const work = `${site}.new`;
  rmSync(work, { recursive: true, force: true });
  for (const name of filesOf(path.join(web, "page"))) {
    copy(path.join(web, "page", name), path.join(work, name));
  }
  const index = path.join(work, "index.html");
  writeFileSync(index, withScriptHashes(readFileSync(index, "utf8")));
  copyEngine(engine, work);
  copyLibraries(work);
  writeLicences(work);
  const version = writePrecache(work);
  rmSync(site, { recursive: true, force: true });
  renameSync(work, site);
  return version;
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const [engine, site] = process.argv.slice(2);
  const version = buildSite(engine, site);
  printSizes(site);
  console.log(`${site}, version ${version}`);
}
