// The page on hosts that send no headers, without a network, as an app, and when a new version is there.

import assert from "node:assert/strict";
import { cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import os from "node:os";
import path from "node:path";
import { test } from "node:test";

import { Chess } from "chess.js";

import { writePrecache } from "../site.mjs";
import { Visit } from "./support/browser.js";
import { newGame, openView, press, untilSaid, untilStatus, words } from "./support/page.js";
import { clickMove, untilReply, untilShown } from "./support/play.js";
import { SITE, SiteServer } from "./support/site.js";

const START = new Chess().fen();

async function assertPlays(visit) {
  await openView(visit, "play");
  await newGame(visit);
  const chess = new Chess();
  await untilShown(visit, START);
  await untilStatus(visit, "play.status.yours");
  await clickMove(visit, "e2e4");
  chess.move("e4");
  await untilReply(visit, chess);
}

// Settings tell which build of the engine runs.
async function untilBuild(visit, kind) {
  await press(visit, "settings.title");
  await visit.until(`the ${kind} build is named`, (pattern) =>
    new RegExp(pattern).test(document.querySelector("dialog[open]")?.innerText ?? ""),
  words(`about.${kind}`, { name: ".*" }));
  await press(visit, "close");
}

const untilControlled = (visit) => visit.until("a service worker has the page", () =>
  navigator.serviceWorker.controller !== null);

test("with the headers the build with threads runs at the first visit", async (t) => {
  const visit = await Visit.start(t);
  assert.equal(await visit.page.evaluate(() => crossOriginIsolated), true);
  await untilBuild(visit, "threads");
  await assertPlays(visit);
});

test("without the headers and without a service worker the build without threads runs", async (t) => {
  const visit = await Visit.start(t, {
    isolated: false,
    prepare: (page) => page.evaluateOnNewDocument(() => delete Navigator.prototype.serviceWorker),
  });
  assert.equal(await visit.page.evaluate(() => crossOriginIsolated), false);
  await untilBuild(visit, "single");
  await assertPlays(visit);
});

test("without the headers the service worker brings them, and with them threads", async (t) => {
  const visit = await Visit.start(t, { isolated: false });
  await untilControlled(visit);
  await visit.until("the page is isolated", () => crossOriginIsolated);
  await untilBuild(visit, "threads");
  await assertPlays(visit);
});

test("a game begun before the service worker came is not cut off", async (t) => {
  const server = await SiteServer.start({ isolated: false });
  t.after(() => server.stop());
  // The worker comes late: only when the game has begun.
  let release;
  const begun = new Promise((resolve) => (release = resolve));
  server.answer = (request, response) => {
    if (!request.url.startsWith("/sw.js")) return false;
    begun.then(() => {
      response.writeHead(200, { "Content-Type": "text/javascript" });
      response.end(readFileSync(path.join(SITE, "sw.js")));
    });
    return true;
  };
  const visit = await Visit.start(t, { server });
  await newGame(visit);
  const chess = new Chess();
  await untilShown(visit, START);
  await clickMove(visit, "e2e4");
  chess.move("e4");
  await untilReply(visit, chess);
  await visit.page.evaluate(() => (window.isStillHere = true));
  release();
  await untilControlled(visit);
  await untilStatus(visit, "play.status.yours");
  await clickMove(visit, "d2d4");
  chess.move("d4");
  await untilReply(visit, chess);
  assert.equal(await visit.page.evaluate(() => window.isStillHere), true);
});

for (const isolated of [true, false]) {
  test(`after the first visit it works offline, ${isolated ? "with" : "without"} the headers`, async (t) => {
    const server = await SiteServer.start({ isolated });
    t.after(() => server.stop());
    const visit = await Visit.start(t, { server });
    await untilControlled(visit);
    await visit.until("the page is isolated", () => crossOriginIsolated); // after its own reload
    await visit.page.evaluate(() => navigator.serviceWorker.ready);
    await server.stop();
    await visit.goto();
    await visit.until("the page is isolated", () => crossOriginIsolated);
    await untilBuild(visit, "threads");
    await assertPlays(visit);
    for (const view of ["analyse", "why", "play"]) await openView(visit, view);
  });
}

// Another version of the folder: one text is another.
function anotherVersion(t, change = () => {}) {
  const folder = path.join(mkdtempSync(path.join(os.tmpdir(), "morvane-site-")), "site");
  t.after(() => rmSync(path.dirname(folder), { recursive: true, force: true }));
  cpSync(SITE, folder, { recursive: true });
  const index = path.join(folder, "index.html");
  writeFileSync(index, readFileSync(index, "utf8").replace("<body ", '<body data-version="next" '));
  change(folder);
  writePrecache(folder);
  return folder;
}

const versionShown = (visit) => visit.page.evaluate(() => document.body.dataset.version ?? "first");

test("a new version is offered, and comes only when the user wants it", async (t) => {
  const server = await SiteServer.start();
  t.after(() => server.stop());
  const visit = await Visit.start(t, { server });
  await untilControlled(visit);
  server.folder = anotherVersion(t);
  await visit.goto();
  assert.equal(await versionShown(visit), "first");
  await untilSaid(visit, words("notice.update"));
  assert.equal(await versionShown(visit), "first");
  await Promise.all([
    visit.page.waitForNavigation({ waitUntil: "load" }),
    press(visit, "notice.reload"),
  ]);
  assert.equal(await versionShown(visit), "next");
  await assertPlays(visit);
  const caches = await visit.page.evaluate(async () => (await caches.keys()).length);
  assert.equal(caches, 1, "the old version's files are dropped");
});

test("a version of which a file is missing does not replace the one that works", async (t) => {
  const server = await SiteServer.start();
  t.after(() => server.stop());
  const visit = await Visit.start(t, { server });
  await untilControlled(visit);
  server.folder = anotherVersion(t);
  server.answer = (request, response) => {
    if (!request.url.startsWith("/lib/chess.js")) return false;
    response.writeHead(404).end();
    return true;
  };
  visit.expected.push(/404|service ?worker/i);
  // The page itself comes from the cache: only the new version asks for this file.
  const tried = () => server.requests.filter((url) => url === "/lib/chess.js").length;
  const before = tried();
  await visit.goto();
  while (tried() === before) await new Promise((resolve) => setTimeout(resolve, 20));
  await visit.until("the update has failed", async () => {
    const registration = await navigator.serviceWorker.getRegistration();
    return !registration.installing && !registration.waiting;
  });
  await visit.goto();
  assert.equal(await versionShown(visit), "first");
  await server.stop();
  await visit.goto();
  await assertPlays(visit);
});

test("it can be installed", async (t) => {
  const visit = await Visit.start(t);
  await untilControlled(visit);
  const session = await visit.page.createCDPSession();
  const { errors, manifest, url } = await session.send("Page.getAppManifest");
  assert.deepEqual(errors, []);
  assert.equal(url, new URL("manifest.webmanifest", visit.server.url).href);
  assert.equal(new URL(manifest.startUrl).origin, new URL(visit.server.url).origin);
  const { installabilityErrors } = await session.send("Page.getInstallabilityErrors");
  // A profile that leaves no traces installs nothing; that is this test's, not the page's.
  assert.deepEqual(installabilityErrors.filter(({ errorId }) => errorId !== "in-incognito"), []);
  const own = JSON.parse(readFileSync(path.join(SITE, "manifest.webmanifest"), "utf8"));
  assert.equal(own.display, "standalone");
  for (const { src, sizes, type } of own.icons) {
    const size = await visit.page.evaluate(async (where) => {
      const picture = new Image();
      picture.src = where;
      await picture.decode();
      return `${picture.naturalWidth}x${picture.naturalHeight}`;
    }, src);
    if (type === "image/png") assert.equal(size, sizes, src);
  }
  for (const wanted of ["192x192", "512x512"]) assert.ok(own.icons.some(({ sizes }) => sizes === wanted));
  assert.ok(own.icons.some(({ purpose }) => purpose?.includes("maskable")));
});

test("a subfolder of a host will do", async (t) => {
  const outer = mkdtempSync(path.join(os.tmpdir(), "morvane-site-"));
  t.after(() => rmSync(outer, { recursive: true, force: true }));
  cpSync(SITE, path.join(outer, "some/folder"), { recursive: true });
  writeFileSync(path.join(outer, "precache.js"), "");
  const visit = await Visit.start(t, { folder: outer, path: "some/folder/", isolated: false });
  await visit.until("the page is isolated", () => crossOriginIsolated);
  await assertPlays(visit);
  assert.deepEqual(visit.server.requests.filter((url) => !url.startsWith("/some/folder/")), []);
});
