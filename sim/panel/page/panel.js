// The page: what the run tells is shown, what is done here is told to it.
import * as device from "./device.js";
import * as diagnosis from "./diagnosis.js";
import * as faults from "./faults.js";
import * as meters from "./meters.js";
import { act, client, listen, mayOperate, onRefusal, post } from "./link.js";

const byId = (id) => document.getElementById(id);
const consoleText = byId("console");
const consoleMax = 200_000;
const settings = byId("settings").elements;

let holder = "";
let takes = false; // what nobody operates, when the page is opened
let run = { runs: false };
let time = 0;
let paused = false;
let rows = []; // {label, status, since}

const operates = () => holder === client;

function showState(text, kind = "") {
  byId("state").textContent = text;
  byId("state").className = kind;
}

function showRun() {
  byId("on").textContent = run.runs ? "Restart" : "Switch on";
  byId("off").disabled = !operates() || !run.runs;
  if (run.runs) showState(`on: board ${run.board}, ${run.arguments || "no keyword"}, seed ${run.seed}`);
  else showState(`off, status ${run.status}: ${run.closing}`, run.status === 0 ? "good" : "bad");
}

// Who only looks on can't do anything but look.
function showHolder() {
  const can = operates();
  document.body.dataset.operates = String(can);
  const controls = "#device button, #settings *, #pace, #pause, #step, #show, #faults button, #faults input, #faults select";
  for (const control of document.querySelectorAll(controls))
    if (control.id !== "sound" && "disabled" in control) control.disabled = !can;
  const button = byId("operate");
  button.textContent = can ? "Let go" : holder === "" ? "Operate" : "Another operates";
  button.disabled = !mayOperate || (!can && holder !== "");
  button.title = mayOperate ? "" : "Open the address that k4sim panel printed to operate";
  byId("off").disabled = !can || !run.runs;
}

const seconds = (us) => (us / 1e6).toFixed(1) + " s";

function showTime() {
  byId("time").textContent = seconds(time);
  for (const row of rows) row.cell.textContent = row.status === "" ? "" : seconds(Math.max(0, time - row.since));
}

function seeRows(message) {
  const body = byId("rows");
  rows = message.rows;
  body.replaceChildren(...rows.map((row) => {
    const line = document.createElement("tr");
    for (const text of [row.label, row.status, ""])
      line.append(Object.assign(document.createElement("td"), { textContent: text }));
    line.className = row.status === "OK" ? "ok" : "";
    row.cell = line.lastChild;
    meters.seeRow(row.label, row.status);
    return line;
  }));
  diagnosis.seeRows(rows);
  byId("oled").setAttribute("aria-label", "OLED display: " +
    (rows.map((row) => `${row.label} ${row.status}`.trim()).join("; ") || "no text"));
  showTime();
}

function print(text) {
  const atEnd = consoleText.scrollHeight - consoleText.scrollTop - consoleText.clientHeight < 30;
  consoleText.append(text);
  if (consoleText.childNodes.length > 2000) consoleText.textContent = consoleText.textContent.slice(-consoleMax);
  if (atEnd) consoleText.scrollTop = consoleText.scrollHeight;
}

function showPace(pace, nowPaused) {
  paused = nowPaused;
  const select = byId("pace");
  if (![...select.options].some((option) => option.value === pace)) select.add(new Option(pace, pace));
  if (document.activeElement !== select) select.value = pace;
  byId("pause").setAttribute("aria-pressed", String(paused));
  byId("pause").textContent = paused ? "Go on" : "Pause";
}

function clear() {
  consoleText.textContent = "";
  byId("rows").replaceChildren();
  byId("advice").textContent = "";
  rows = [];
  time = 0;
  device.reset();
  meters.reset();
  faults.reset(run.board);
}

function seeRun(message) {
  const begins = message.runs && !run.runs;
  run = message;
  if (begins) {
    clear();
    for (const name of ["board", "operator", "arguments", "seed"]) settings[name].value = run[name];
  }
  device.setRunning(run.runs);
  if (!run.runs) diagnosis.seeEnd();
  showRun();
}

const sights = {
  "panel run": seeRun,
  "panel rows": seeRows,
  "panel holder": (message) => {
    holder = message.client;
    showHolder();
    if (takes && holder === "") post("/api/take");
    takes = false;
  },
  "panel advice": (message) => {
    byId("advice").textContent = (message.action ? message.action + ": " : "") + message.why;
  },
  "live picture": (message) => device.drawPicture(message.pixels),
  "live time": (message) => showPace(message.pace, message.paused),
  "console text": (message) => print(message.text),
};

function see(message) {
  if (message.t !== undefined) time = Math.max(time, message.t);
  sights[`${message.source} ${message.event}`]?.(message);
  device.see(message);
  meters.see(message);
  faults.see(message);
  showTime();
}

function bind() {
  byId("pace").addEventListener("change", () => post("/api/pace", { pace: byId("pace").value }));
  byId("pause").addEventListener("click", () => post("/api/pace", { pace: paused ? "go" : "pause" }));
  byId("step").addEventListener("click", () => post("/api/pace", { pace: "step" }));
  byId("show").addEventListener("click", () => post("/api/show"));
  byId("off").addEventListener("click", () => post("/api/stop"));
  byId("operate").addEventListener("click", () => post(operates() ? "/api/release" : "/api/take"));
  byId("settings").addEventListener("submit", async (event) => {
    event.preventDefault();
    byId("refusal").textContent = await post("/api/start", {
      board: settings.board.value, operator: settings.operator.value,
      arguments: settings.arguments.value, seed: Number(settings.seed.value),
      held: device.heldAtPowerOn(),
    });
  });
  onRefusal((why) => { byId("refusal").textContent = why; });
}

device.make((keys) => {
  byId("held").textContent = keys ? `Held at power-on: ${keys}` : "";
});
bind();
await faults.load();
showHolder();
listen(see, () => {
  run = { runs: false };
  clear();
  takes = mayOperate;
}, (lost) => { if (lost) showState("no connection to k4sim", "bad"); });
