// The service worker: keeps every file of the page, so that it works without a network, and gives each the
// headers that let threads share memory, whatever the host sends.
/* global PRECACHE */
importScripts("precache.js"); // self.PRECACHE = {version, files: [{url, hash}]}: written when the page is built

const PREFIX = "morvane-";
const CACHE = PREFIX + PRECACHE.version;
const HEADERS = {
  "Cross-Origin-Opener-Policy": "same-origin",
  "Cross-Origin-Embedder-Policy": "require-corp",
  "Cross-Origin-Resource-Policy": "same-origin",
};

/** The same response with the headers that isolate the page. */
function isolated(response) {
  if (response.type === "opaque" || response.type === "opaqueredirect" || response.status === 0) {
    return response;
  }
  const headers = new Headers(response.headers);
  for (const [name, value] of Object.entries(HEADERS)) {
    headers.set(name, value);
  }
  return new Response(response.body, { status: response.status, statusText: response.statusText, headers });
}

async function keepAll() {
  const cache = await caches.open(CACHE);
  // Past the browser's own cache, which may still hold files of the version before.
  await cache.addAll(PRECACHE.files.map(({ url }) => new Request(url, { cache: "reload" })));
}

async function dropOld() {
  const names = await caches.keys();
  await Promise.all(names.filter((name) => name.startsWith(PREFIX) && name !== CACHE)
    .map((name) => caches.delete(name)));
}

async function answer(request) {
  const cache = await caches.open(CACHE);
  const opens = request.mode === "navigate" && isPage(request);
  const wanted = opens ? new URL("index.html", self.registration.scope).href : request;
  const kept = await cache.match(wanted, { ignoreSearch: true, ignoreVary: true });
  return isolated(kept ?? await fetch(request));
}

function isOurs(request) {
  return request.method === "GET" && request.url.startsWith(self.registration.scope);
}

/** Whether it is the page itself, and not a file beside it, that is to be opened. */
function isPage(request) {
  const path = new URL(request.url).pathname.slice(new URL(self.registration.scope).pathname.length);
  return path === "" || path === "index.html";
}

self.addEventListener("install", (event) => event.waitUntil(keepAll()));
self.addEventListener("activate", (event) => event.waitUntil(dropOld()));
self.addEventListener("message", ({ data }) => {
  if (data === "use") {
    self.skipWaiting();
  } else if (data === "claim") {
    self.clients.claim();
  }
});
self.addEventListener("fetch", (event) => {
  if (isOurs(event.request)) {
    event.respondWith(answer(event.request));
  }
});
