// The service worker: the page without a network, threads on hosts that send no headers, and new versions.
const RELOADED = "morvane.reloaded";

function reloadedBefore() {
  try {
    return sessionStorage.getItem(RELOADED) !== null;
  } catch {
    return true; // without storage a second reload could not be told from the first
  }
}

/** Reloads once when a worker has come to control a page that is not isolated, so that threads work. */
function reloadForThreads(mayReload) {
  if (crossOriginIsolated || !navigator.serviceWorker.controller || reloadedBefore() || !mayReload()) {
    return;
  }
  sessionStorage.setItem(RELOADED, "1");
  leaveForGood();
}

/** Reloads so that the browser does not keep this page as it is and bring it back later. */
function leaveForGood() {
  addEventListener("unload", () => {}); // a page with such a listener is not kept
  location.reload();
}

/**
 * A page that the browser kept and brings back as it was may be the one from before a reload: then it makes
 * place for what is stored.
 */
function reloadWhenStale(isStale) {
  addEventListener("pageshow", (event) => {
    const isolatable = !crossOriginIsolated && navigator.serviceWorker.controller !== null;
    if (event.persisted && (isolatable || isStale())) {
      leaveForGood();
    }
  });
}

function offerUpdate(registration, notices, isWanted) {
  const worker = registration.waiting;
  if (worker && navigator.serviceWorker.controller) {
    notices.show("notice.update", {
      action: { key: "notice.reload", run: () => { isWanted(); worker.postMessage("use"); } },
    });
  }
}

function watchUpdates(registration, notices, isWanted) {
  offerUpdate(registration, notices, isWanted);
  registration.addEventListener("updatefound", () => {
    registration.installing?.addEventListener("statechange", () =>
      offerUpdate(registration, notices, isWanted));
  });
}

/** Resolves when a worker can answer: Firefox fails what is asked of one before. */
function activated(worker) {
  return new Promise((resolve) => {
    const check = () => worker.state === "activated" && resolve();
    worker.addEventListener("statechange", check);
    check();
  });
}

/** Lets the worker have the page that it was installed by. */
async function beControlled() {
  const { active } = await navigator.serviceWorker.ready;
  await activated(active);
  if (!navigator.serviceWorker.controller) {
    active.postMessage("claim");
  }
}

/**
 * Installs the worker where the browser has them.
 * @param {{notices: import("./notices.js").Notices, mayReload: () => boolean,
 *   isStale: () => boolean}} options mayReload:
 *   whether a reload takes nothing from the user; isStale: whether another page has stored what is newer
 */
export async function installWorker({ notices, mayReload, isStale }) {
  if (!("serviceWorker" in navigator)) {
    return;
  }
  reloadWhenStale(isStale);
  let updateWanted = false;
  navigator.serviceWorker.addEventListener("controllerchange", async () => {
    await activated(navigator.serviceWorker.controller);
    if (updateWanted) {
      location.reload();
    } else {
      reloadForThreads(mayReload);
    }
  });
  try {
    const registration = await navigator.serviceWorker.register("sw.js", { updateViaCache: "none" });
    watchUpdates(registration, notices, () => { updateWanted = true; });
    reloadForThreads(mayReload);
    await beControlled();
  } catch {
    // Private windows and plain http have no workers: the page works as it is while the host is there.
  }
}
