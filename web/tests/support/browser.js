// A browser for the tests of a file, and visits to the page in it: each with a profile, a server and a
// port of its own. A visit fails its test when the page reports an error, leaves a rejection unhandled or
// asks another origin for anything.

import assert from "node:assert/strict";
import { mkdtempSync, rmSync } from "node:fs";
import { createServer } from "node:http";
import os from "node:os";
import path from "node:path";
import { after } from "node:test";

import puppeteer from "puppeteer-core";

import { chooseLanguage, Texts } from "../../page/app/i18n.js";
import { SiteServer } from "./site.js";

// Generous: a loaded machine is several times slower than an idle one.
export const PATIENCE = Number(process.env.MORVANE_PATIENCE ?? 60_000);

const PROGRAMS = {
  chrome: process.env.CHROMIUM ?? "/usr/bin/chromium",
  firefox: process.env.FIREFOX ?? "/usr/bin/firefox-esr",
};
const CHROMIUM_FLAGS = [
  "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
  "--disable-background-networking", "--disable-component-update", "--disable-sync",
  "--disable-dev-shm-usage", "--disable-domain-reliability",
  "--disable-features=OptimizationHints,MediaRouter,Translate",
  // A page in the background must go on as one in front.
  "--disable-background-timer-throttling", "--disable-renderer-backgrounding",
  "--disable-backgrounding-occluded-windows",
];

const firefoxPreferences = (proxy) => ({
  "network.proxy.type": 1,
  "network.proxy.http": "127.0.0.1",
  "network.proxy.http_port": proxy,
  "network.proxy.ssl": "127.0.0.1",
  "network.proxy.ssl_port": proxy,
  "ui.prefersReducedMotion": 1,
  "intl.accept_languages": "en-US",
});

// What the browsers themselves ask for; no page is behind it.
const BROWSERS_OWN = new Set([
  "accounts.google.com", "android.clients.google.com", "clients2.google.com",
  "content-autofill.googleapis.com", "optimizationguide-pa.googleapis.com", "redirector.gvt1.com",
  "safebrowsing.googleapis.com", "update.googleapis.com",
]);
const isBrowsersOwn = (name) => BROWSERS_OWN.has(name) || /\.mozilla\.(com|org|net)$/.test(name);

const running = new Map(); // by kind

// What is asked of any address but this machine's own is sent to this proxy, which only takes it down.
async function startRecorder() {
  const seen = [];
  const takeDown = ({ url }) => {
    const { hostname } = new URL(url.includes("://") ? url : `https://${url}`);
    if (!isBrowsersOwn(hostname)) seen.push(url);
  };
  const server = createServer((request, response) => {
    takeDown(request);
    response.writeHead(502).end();
  });
  server.on("connect", (request, socket) => {
    takeDown(request);
    socket.on("error", () => {});
    socket.end("HTTP/1.1 502 Bad Gateway\r\n\r\n");
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  return { seen, server, port: server.address().port };
}

async function launch(kind) {
  const profile = mkdtempSync(path.join(os.tmpdir(), "morvane-web-"));
  const recorder = await startRecorder();
  const browser = await puppeteer.launch({
    browser: kind,
    executablePath: PROGRAMS[kind],
    headless: true,
    userDataDir: profile,
    protocolTimeout: 4 * PATIENCE,
    ...(kind === "firefox"
      ? { extraPrefsFirefox: firefoxPreferences(recorder.port) }
      : { args: [...CHROMIUM_FLAGS, `--proxy-server=http://127.0.0.1:${recorder.port}`] }),
  });
  return { browser, profile, recorder };
}

async function close({ browser, profile, recorder }) {
  await browser.close();
  recorder.server.close();
  recorder.server.closeAllConnections();
  rmSync(profile, { recursive: true, force: true, maxRetries: 10, retryDelay: 100 });
}

after(async () => {
  for (const launched of running.values()) await close(await launched);
});

/** The browser that the tests of a file share: "chrome" or "firefox". */
export function theBrowser(kind) {
  if (!running.has(kind)) running.set(kind, launch(kind));
  return running.get(kind);
}

// What a visitor brings along.
const VISITOR = {
  width: 1280, height: 800, language: "en-US", scheme: "light", touch: false, motion: "reduce",
};

export class Visit {
  problems = [];
  // Patterns of problems that the test brings about itself.
  expected = [];

  // Opens a page for the test `t`, which closes and checks it at its end. `prepare(page)` runs before the
  // page is loaded, `path` is appended to the server's address.
  static async start(t, options = {}) {
    const {
      kind = "chrome", server, isolated = true, folder, prepare, path: where = "", ...visitor
    } = options;
    const visit = new Visit();
    visit.kind = kind;
    const { browser, recorder } = await theBrowser(kind);
    visit.server = server ?? (await SiteServer.start({ isolated, folder }));
    visit.context = await browser.createBrowserContext();
    const before = recorder.seen.length;
    t.after(async () => {
      await visit.context.close();
      if (!server) await visit.server.stop();
      const isExpected = (text) => visit.expected.some((pattern) => pattern.test(text));
      const unexpected = [...new Set(visit.problems)].filter((text) => !isExpected(text));
      for (const problem of unexpected) t.diagnostic(problem);
      const asked = recorder.seen.slice(before).map((url) => `asked ${url}`);
      assert.deepEqual([...unexpected, ...asked], [], "the page reported problems");
    });
    visit.visitor = { ...VISITOR, ...visitor };
    visit.texts = new Texts(chooseLanguage([visit.visitor.language]));
    visit.page = await visit.context.newPage();
    visit.page.setDefaultTimeout(PATIENCE);
    if (kind === "chrome") {
      await visit.#emulate(await browser.userAgent());
    } else {
      await visit.page.setViewport({ width: visit.visitor.width, height: visit.visitor.height });
    }
    visit.#watch(visit.page);
    await prepare?.(visit.page);
    await visit.goto(where);
    return visit;
  }

  // Screen, colours and language of the visitor.
  async #emulate(userAgent) {
    const { page } = this;
    const { width, height, language, scheme, touch, motion } = this.visitor;
    await page.setViewport({ width, height, hasTouch: touch, isMobile: touch });
    await page.emulateMediaFeatures([
      { name: "prefers-color-scheme", value: scheme },
      { name: "prefers-reduced-motion", value: motion },
    ]);
    const session = await page.createCDPSession();
    await session.send("Network.setUserAgentOverride", { userAgent, acceptLanguage: language });
  }

  #watch(page) {
    page.on("console", (message) => {
      if (["error", "warn", "assert"].includes(message.type())) {
        this.problems.push(`console ${message.type()}: ${message.text()} ${message.location().url ?? ""}`);
      }
    });
    page.on("pageerror", (error) => this.problems.push(`error: ${error.stack ?? error}`));
    page.on("error", (error) => this.problems.push(`the page crashed: ${error}`));
    page.on("request", (request) => {
      const url = new URL(request.url());
      if (!["data:", "blob:"].includes(url.protocol) && url.origin !== new URL(this.server.url).origin) {
        this.problems.push(`asked ${request.url()}`);
      }
    });
  }

  async goto(where = "") {
    await this.page.goto(this.server.url + where, { waitUntil: "load" });
  }

  // Waits until the function is true in the page.
  async until(what, test, ...values) {
    try {
      return await this.page.waitForFunction(test, { polling: 50, timeout: PATIENCE }, ...values);
    } catch (error) {
      throw new Error(`waited in vain until ${what}`, { cause: error });
    }
  }
}
