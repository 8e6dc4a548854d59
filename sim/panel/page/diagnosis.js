// What may be broken, by what stands on the rows: asked for while it is open.
const part = document.getElementById("diagnosis");
const place = document.getElementById("candidates");

function made(name, text, ...children) {
  const element = Object.assign(document.createElement(name), { textContent: text });
  element.append(...children);
  return element;
}

const list = (items) => made("ul", "", ...items.map((text) => made("li", text)));

function candidate({ fit, faults }) {
  const shown = faults.slice(0, 5).map(({ fault, words }) => `${fault}: ${words}`);
  if (faults.length > shown.length) shown.push(`and ${faults.length - shown.length} more`);
  return made("li", `fits to ${Math.round(fit * 100)} %`, list(shown));
}

function tell({ words, candidates = [], next }) {
  place.replaceChildren(made("p", words ?? "Single faults that look like this, the best first:"),
    made("ol", "", ...candidates.map(candidate)));
  if (next) place.append(made("p", "Next: " + next.action),
    list(next.branches.map(({ seen, tells }) => `If ${seen}: ${tells}.`)));
}

async function ask() {
  if (part.open) tell(await (await fetch("/api/diagnosis")).json());
}

// Dark ones tell nothing new.
let failed = false;
export function seeRows(rows) {
  if (rows.length === 0) return;
  failed = rows.some(({ status }) => status !== "" && status !== "OK");
  ask();
}

// Opens it when a row has failed.
export function seeEnd() {
  if (failed) part.open = true;
}

part.addEventListener("toggle", ask);
