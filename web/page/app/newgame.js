// The dialog for a new game: the user's side, and what the engine gets.
import { onClose } from "./dialogs.js";
import { isChoice } from "./session.js";

/** What the form says, in the shape of the choice before. */
function choiceOf(fields, before) {
  const choice = { ...before, side: fields.side.value, limit: fields.limit.value };
  for (const key of Object.keys(choice)) {
    if (typeof choice[key] === "number" && !fields[key].disabled) {
      choice[key] = fields[key].valueAsNumber;
    }
  }
  return choice;
}

/**
 * @param {{choice: () => object, here: () => boolean, onStart: (choice: object, here: boolean) => void}}
 *   options choice: what was chosen last; here: whether to propose the position on the board
 */
export function createNewGameDialog({ choice, here, onStart }) {
  const dialog = document.getElementById("new-game-dialog");
  const form = document.getElementById("new-game-form");
  const fields = form.elements;

  const showFields = () => {
    for (const group of form.querySelectorAll("[data-limit]")) {
      group.hidden = group.dataset.limit !== fields.limit.value;
      group.querySelectorAll("input").forEach((input) => { input.disabled = group.hidden; });
    }
  };
  onClose(dialog);
  form.addEventListener("change", showFields);
  form.addEventListener("submit", () => {
    const chosen = choiceOf(fields, choice());
    if (isChoice(chosen)) {
      onStart(chosen, fields.here.checked);
    }
  });
  document.getElementById("new-game").addEventListener("click", () => {
    for (const [key, value] of Object.entries(choice())) {
      fields[key].value = String(value);
    }
    fields.here.checked = here();
    showFields();
    dialog.showModal();
  });
}
