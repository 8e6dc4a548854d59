// The list of faults: searched, set and cleared by a click.
import { act } from "./link.js";

const list = document.getElementById("faults");
const entries = []; // {fault, item, input, button, set: value or null}

function settingOf(entry) {
  return entry.fault.name + (entry.input?.value ? "=" + entry.input.value : "");
}

function show(entry) {
  const set = entry.set !== null;
  entry.item.classList.toggle("set", set);
  entry.button.setAttribute("aria-pressed", String(set && entry.fault.clears));
  entry.button.textContent = set && entry.fault.clears ? "Clear" : "Set";
  entry.button.setAttribute("aria-label", `${entry.button.textContent} ${entry.fault.name}`);
  if (entry.input) entry.input.readOnly = set && entry.fault.clears;
}

function toggle(entry) {
  const clears = entry.set !== null && entry.fault.clears;
  const value = entry.set ? "=" + entry.set : "";
  act(clears ? "clear " + entry.fault.name + value : "fault " + settingOf(entry));
}

function make(fault) {
  const entry = { fault, set: null, input: null, item: document.createElement("li") };
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
    entry.input = document.createElement("input");
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
  entry.set = event.cleared ? null : event.value;
  if (entry.set !== null && entry.input) entry.input.value = entry.set;
  show(entry);
}

// Which make sense on this board.
export function reset(board) {
  for (const entry of entries) {
    entry.set = null;
    entry.item.classList.toggle("elsewhere", !entry.fault.boards.includes(board));
    show(entry);
  }
}
