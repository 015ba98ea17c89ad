// A server of static files for trying the page out: only reads, only within its folder.

import { createReadStream } from "node:fs";
import { realpath, stat } from "node:fs/promises";
import { createServer } from "node:http";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { parseArgs } from "node:util";

const MIME_TYPES = {
  ".css": "text/css; charset=utf-8",
  ".html": "text/html; charset=utf-8",
  ".js": "text/javascript; charset=utf-8",
  ".json": "application/json; charset=utf-8",
  ".mjs": "text/javascript; charset=utf-8",
  ".png": "image/png",
  ".svg": "image/svg+xml",
  ".txt": "text/plain; charset=utf-8",
  ".wasm": "application/wasm",
  ".webmanifest": "application/manifest+json; charset=utf-8",
};

// Threads share memory, which browsers allow only to pages that are cut off from other origins.
const ISOLATION = {
  "Cross-Origin-Opener-Policy": "same-origin",
  "Cross-Origin-Embedder-Policy": "require-corp",
  "Cross-Origin-Resource-Policy": "same-origin",
};

// The file that a request's path names within the folder, or null.
async function findFile(folder, url) {
  let name;
  try {
    name = decodeURIComponent(url.replace(/[?#].*/s, ""));
  } catch {
    return null;
  }
  if (!name.startsWith("/") || name.includes("\0") || name.includes("\\")) return null;
  try {
    const file = await realpath(path.join(folder, name, name.endsWith("/") ? "index.html" : ""));
    const inside = file.startsWith((await realpath(folder)) + path.sep);
    const found = inside && (await stat(file));
    return found && found.isFile() ? { file, size: found.size } : null;
  } catch {
    return null;
  }
}

// Returns a handler of requests that answers with the folder's files.
export function serveFolder(folder, { isolated = true } = {}) {
  return async (request, response) => {
    const headers = {
      "Cache-Control": "no-cache",
      "X-Content-Type-Options": "nosniff",
      ...(isolated ? ISOLATION : {}),
    };
    const end = (status, more = {}) => {
      response.writeHead(status, { ...headers, "Content-Type": MIME_TYPES[".txt"], ...more });
      response.end(request.method === "HEAD" ? undefined : `${status}\n`);
    };
    if (request.method !== "GET" && request.method !== "HEAD") return end(405, { Allow: "GET, HEAD" });
    const found = await findFile(folder, request.url);
    if (!found) return end(404);
    response.writeHead(200, {
      ...headers,
      "Content-Type": MIME_TYPES[path.extname(found.file)] ?? "application/octet-stream",
      "Content-Length": found.size,
    });
    if (request.method === "HEAD") return response.end();
    createReadStream(found.file)
      .on("error", () => response.destroy())
      .pipe(response);
  };
}

function main() {
  const { values, positionals } = parseArgs({
    allowPositionals: true,
    options: {
      port: { type: "string", default: "8080" },
      host: { type: "string", default: "127.0.0.1" },
      "no-headers": { type: "boolean", default: false },
    },
  });
  const fail = (message) => {
    console.error(`serve-web: ${message}`);
    process.exit(2);
  };
  if (!/^\d{1,5}$/.test(values.port) || Number(values.port) > 65535) fail(`not a port: ${values.port}`);
  const server = createServer(serveFolder(positionals[0], { isolated: !values["no-headers"] }));
  server.on("error", (error) => fail(error.message));
  server.listen(Number(values.port), values.host, () => {
    const { address, family, port } = server.address();
    const host = family === "IPv6" ? `[${address}]` : address;
    console.log(`http://${host === "127.0.0.1" ? "localhost" : host}:${port}/`);
  });
  for (const signal of ["SIGINT", "SIGTERM"]) {
    process.on(signal, () => {
      server.close();
      server.closeAllConnections();
    });
  }
}

if (process.argv[1] === fileURLToPath(import.meta.url)) main();
