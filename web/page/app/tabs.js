// The tabs: which view is shown. The arrow keys move between them, the address keeps the choice.
export const VIEWS = ["play", "analyse", "why"];

/**
 * @param {{onChange: (view: string, before: string | null) => void}} options
 * @returns {{show(view: string): void}}
 */
export function createTabs({ onChange }) {
  const tabs = VIEWS.map((view) => document.getElementById(`tab-${view}`));
  let current = null;

  const show = (view) => {
    if (view === current) {
      return;
    }
    const before = current;
    current = view;
    VIEWS.forEach((name, i) => {
      tabs[i].setAttribute("aria-selected", String(name === view));
      tabs[i].tabIndex = name === view ? 0 : -1;
      document.getElementById(`view-${name}`).hidden = name !== view;
    });
    document.body.dataset.view = view;
    onChange(view, before);
  };

  tabs.forEach((tab, i) => {
    tab.addEventListener("click", () => choose(i));
    tab.addEventListener("keydown", (event) => {
      const to = { ArrowLeft: i - 1, ArrowRight: i + 1, Home: 0, End: tabs.length - 1 }[event.key];
      if (to !== undefined) {
        event.preventDefault();
        const next = (to + tabs.length) % tabs.length;
        tabs[next].focus();
        choose(next);
      }
    });
  });

  const choose = (i) => {
    const address = location.pathname + location.search;
    history.replaceState(null, "", VIEWS[i] === "play" ? address : `${address}#${VIEWS[i]}`);
    show(VIEWS[i]);
  };
  const fromAddress = () => {
    const view = location.hash.slice(1);
    return VIEWS.includes(view) ? view : null;
  };
  addEventListener("hashchange", () => fromAddress() && show(fromAddress()));
  return { show, fromAddress };
}
