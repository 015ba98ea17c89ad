// What the page's dialogs have in common.

/** An element with attributes and a text. */
export function element(tag, attributes = {}, text = "") {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    made.setAttribute(name, value);
  }
  if (text) {
    made.textContent = text;
  }
  return made;
}

/** Lets buttons with data-close and a click beside the dialog close it. */
export function onClose(dialog) {
  dialog.addEventListener("click", (event) => {
    if (event.target === dialog || event.target.closest("[data-close]")) {
      dialog.close();
    }
  });
}

/** Moves the focus on where its element has just become disabled or hidden. */
export function keepFocus(next) {
  const { activeElement } = document;
  if (activeElement?.disabled || activeElement?.hidden) {
    next.focus();
  }
}

/** Asks a question; resolves to whether the answer is the one with `actionKey`'s text. */
export function confirmed(texts, questionKey, actionKey) {
  const dialog = element("dialog", { "aria-labelledby": "question" });
  const form = element("form", { method: "dialog" });
  const buttons = element("div", { class: "buttons end" });
  buttons.append(element("button", { value: "" }, texts.t("cancel")),
    element("button", { value: "yes", class: "primary" }, texts.t(actionKey)));
  form.append(element("p", { id: "question" }, texts.t(questionKey)), buttons);
  dialog.append(form);
  onClose(dialog);
  document.body.append(dialog);
  dialog.showModal();
  return new Promise((resolve) => {
    dialog.addEventListener("close", () => {
      dialog.remove();
      resolve(dialog.returnValue === "yes");
    }, { once: true });
  });
}
