// The folder under test, and servers for it.

import { existsSync } from "node:fs";
import { createServer } from "node:http";
import path from "node:path";
import { fileURLToPath } from "node:url";

import { serveFolder } from "../../serve.mjs";

export const ROOT = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../../..");
export const PACKAGE = path.resolve(process.env.MORVANE_PACKAGE ?? path.join(ROOT, "build/web/engine"));
export const SITE = path.resolve(process.env.MORVANE_SITE ?? path.join(ROOT, "build/web/site"));

// A server on a free port. `folder` and `answer` may be changed while it runs; `answer(request, response)`
// may take a request over and then returns true.
export class SiteServer {
  folder = SITE;
  answer = null;
  requests = [];
  #isolated;
  #server;

  static async start({ isolated = true, folder = SITE } = {}) {
    if (!existsSync(path.join(folder, "precache.js"))) {
      throw new Error(`there is no page in ${folder}: scripts/build-web makes it`);
    }
    const server = new SiteServer();
    server.folder = folder;
    server.#isolated = isolated;
    await server.listen(0);
    return server;
  }

  async listen(port) {
    this.#server = createServer((request, response) => {
      this.requests.push(request.url);
      if (this.answer?.(request, response)) return;
      serveFolder(this.folder, { isolated: this.#isolated })(request, response);
    });
    await new Promise((resolve, reject) => {
      this.#server.once("error", reject).listen(port, "127.0.0.1", resolve);
    });
    this.port = this.#server.address().port;
    this.url = `http://localhost:${this.port}/`;
  }

  async stop() {
    if (!this.#server.listening) return;
    await new Promise((resolve) => {
      this.#server.close(resolve);
      this.#server.closeAllConnections();
    });
  }
}
