// Asks which piece a pawn becomes.
const PIECES = ["q", "r", "b", "n"];
const SVG = "http://www.w3.org/2000/svg";

/** A drawing of a piece ("wq") from the page's sprite. */
export function pieceImage(piece) {
  const svg = document.createElementNS(SVG, "svg");
  svg.setAttribute("viewBox", "0 0 40 40");
  svg.setAttribute("aria-hidden", "true");
  const use = document.createElementNS(SVG, "use");
  use.setAttribute("href", `#${piece}`);
  svg.append(use);
  return svg;
}

/**
 * @param {HTMLElement} root what the dialog is laid over
 * @param {"w"|"b"} color
 * @returns {Promise<string | null>} "q", "r", "b" or "n"; null when the user wants none of it
 */
export function askPromotion(root, color, texts) {
  const dialog = document.createElement("dialog");
  dialog.className = "promotion";
  dialog.setAttribute("aria-label", texts.t("promotion.title"));
  for (const piece of PIECES) {
    const button = document.createElement("button");
    button.type = "button";
    button.value = piece;
    button.setAttribute("aria-label", texts.t(`promotion.${piece}`));
    button.append(pieceImage(color + piece));
    button.addEventListener("click", () => dialog.close(piece));
    dialog.append(button);
  }
  dialog.addEventListener("click", (event) => {
    if (event.target === dialog) {
      dialog.close("");
    }
  });
  dialog.addEventListener("keydown", (event) => {
    const step = { ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1 }[event.key];
    if (step) {
      const buttons = [...dialog.querySelectorAll("button")];
      const next = (buttons.indexOf(document.activeElement) + step + buttons.length) % buttons.length;
      buttons[next].focus();
      event.preventDefault();
    }
  });
  const box = root.getBoundingClientRect();
  dialog.style.setProperty("--center-x", `${box.left + box.width / 2}px`);
  dialog.style.setProperty("--center-y", `${box.top + box.height / 2}px`);
  dialog.style.setProperty("--square", `${box.width / 8}px`);
  root.append(dialog);
  dialog.returnValue = "";
  dialog.showModal();
  return new Promise((resolve) => {
    dialog.addEventListener("close", () => {
      dialog.remove();
      resolve(dialog.returnValue || null);
    }, { once: true });
  });
}
