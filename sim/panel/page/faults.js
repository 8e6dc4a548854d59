// The list of faults: searched, set and cleared by a click.
import { act } from "./link.js";

const list = document.getElementById("faults");
const entries = []; // {fault, item, input, button, set: its values}

function show(entry) {
  const set = entry.set.length > 0;
  entry.item.classList.toggle("set", set);
  entry.button.setAttribute("aria-pressed", String(set));
  entry.button.textContent = set ? "Clear" : "Set";
  entry.button.setAttribute("aria-label", `${entry.button.textContent} ${entry.fault.name}`);
  if (entry.input) entry.input.readOnly = set;
}

function toggle(entry) {
  const value = entry.set.at(-1) ?? entry.input?.value ?? "";
  act((entry.set.length > 0 ? "clear " : "fault ") + entry.fault.name + (value ? "=" + value : ""));
}

function make(fault) {
  const entry = { fault, set: [], input: null, item: document.createElement("li") };
  const title = document.createElement("h3");
  title.textContent = fault.name;
  const breaks = document.createElement("small");
  breaks.textContent = `${fault.breaks}. ${fault.verdict}`;
  const line = document.createElement("div");
  line.className = "line";
  entry.button = document.createElement("button");
  entry.button.type = "button";
  entry.button.addEventListener("click", () => toggle(entry));
  if (fault.value) {
    const words = fault.value.split("|");
    entry.input = document.createElement(words.length > 1 ? "select" : "input");
    if (words.length > 1) entry.input.append(...words.map((word) => new Option(word)));
    entry.input.value = fault.example.split("=")[1] ?? "";
    entry.input.setAttribute("aria-label", `${fault.name}: ${fault.value}`);
    entry.input.title = fault.value;
    line.append(entry.input);
  }
  line.append(entry.button);
  entry.item.append(title, line, breaks);
  list.append(entry.item);
  entries.push(entry);
  show(entry);
}

function search(text) {
  const words = text.toLowerCase().split(/\s+/);
  for (const { fault, item } of entries) {
    const all = `${fault.name} ${fault.breaks}`.toLowerCase();
    item.hidden = !words.every((word) => all.includes(word));
  }
}

export async function load() {
  const answer = await fetch("/api/faults");
  (await answer.json()).forEach(make);
  const input = document.getElementById("search");
  input.addEventListener("input", () => search(input.value));
}

export function see(event) {
  if (event.source !== "fault") return;
  const entry = entries.find((one) => one.fault.name === event.event);
  if (!entry) return;
  // Several values can be set, by the ports or from the start: the last one is shown.
  const value = event.value ?? "";
  entry.set = entry.set.filter((one) => one !== value);
  if (!event.cleared && entry.fault.clears) entry.set.push(value);
  if (entry.input && entry.set.length > 0) entry.input.value = entry.set.at(-1);
  show(entry);
}

// Which make sense on this board.
export function reset(board) {
  for (const entry of entries) {
    entry.set = [];
    entry.item.classList.toggle("elsewhere", !entry.fault.boards.includes(board));
    show(entry);
  }
}
