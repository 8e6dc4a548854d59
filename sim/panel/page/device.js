// The device: glass, keys, knobs, cables, ports, lamps, speaker.
import { act } from "./link.js";

const element = (tag, properties = {}, ...children) => {
  const made = Object.assign(document.createElement(tag), properties);
  made.append(...children);
  return made;
};
const byId = (id) => document.getElementById(id);

// As at the panel: name, key, place in the keypad. K and M are the knobs, pushed.
const keypad = ["1", "2", "3", "C", "4", "5", "6", "D", "7", "8", "9", "A", "*", "0", "#", "E"];
const names = { "*": "star", "#": "hash", E: "Esc", K: "knob M pushed", M: "knob H pushed" };
const knobs = [
  { number: 1, name: "M", push: "K", left: "ArrowLeft", right: "ArrowRight" },
  { number: 2, name: "H", push: "M", left: "ArrowDown", right: "ArrowUp" },
];
const ports = [
  { name: "LAN", words: "LAN cable", fault: "link-down=eth0" },
  { name: "WAN", words: "WAN cable", fault: "link-down=usb0" },
  { name: "USB 1", words: "serial adapter 1", fault: "serial-absent=1" },
  { name: "USB 2", words: "serial adapter 2", fault: "serial-absent=2" },
];

let runs = false;
const startSeen = 2e6; // us; until then a hand keeps a start key down
let heldAtStart = [];
const down = new Set(); // keys that are held here
const latched = new Set(); // keys that will be held when the device is switched on
const buttons = new Map(); // by key
let tellLatched = () => {};

function showKey(key) {
  buttons.get(key)?.setAttribute("aria-pressed", String(down.has(key) || latched.has(key)));
}

function latch(key) {
  if (!latched.delete(key)) latched.add(key);
  showKey(key);
  tellLatched([...latched].join(""));
}

function press(key) {
  if (down.has(key)) return;
  if (!runs) return latch(key);
  down.add(key);
  showKey(key);
  act("hold " + key);
}

function release(key) {
  if (!down.delete(key)) return;
  showKey(key);
  act("release " + key);
}

const releaseAll = () => [...down].forEach(release);

// Held for as long as the mouse, the finger, or space or enter is down.
function holdable(button, key) {
  buttons.set(key, button);
  button.setAttribute("aria-pressed", "false");
  button.addEventListener("pointerdown", (event) => {
    if (event.button !== 0 || button.disabled) return;
    button.setPointerCapture(event.pointerId);
    press(key);
  });
  for (const end of ["pointerup", "pointercancel", "lostpointercapture"])
    button.addEventListener(end, () => release(key));
  button.addEventListener("contextmenu", (event) => event.preventDefault());
  button.addEventListener("keydown", (event) => {
    if (event.key !== " " && event.key !== "Enter") return;
    event.preventDefault();
    if (!event.repeat) press(key);
  });
  button.addEventListener("keyup", (event) => {
    if (event.key === " " || event.key === "Enter") release(key);
  });
  button.addEventListener("blur", () => release(key));
  // A screen reader's click comes without a pointer.
  button.addEventListener("click", (event) => {
    if (event.detail === 0 && event.isTrusted && !down.has(key) && event.pointerType === "") {
      press(key);
      release(key);
    }
  });
}

function makeKeys() {
  for (const key of keypad) {
    const button = element("button", { type: "button", textContent: key === "E" ? "Esc" : key });
    button.setAttribute("aria-label", "Key " + (names[key] ?? key));
    button.dataset.key = key;
    holdable(button, key);
    byId("keys").append(button);
  }
}

const turned = new Map(); // by knob: where its mark points
function turn(knob, step) {
  if (!runs) return;
  turned.set(knob.number, (turned.get(knob.number) ?? 0) + step);
  knob.cap.style.setProperty("--turn", turned.get(knob.number));
  act(`turn ${knob.number} ${step}`);
}

// By the wheel, or by drawing sideways; a touch that stays is a push.
function turnable(knob) {
  const pixels = 24; // a step
  let from = null;
  knob.cap.addEventListener("wheel", (event) => {
    event.preventDefault();
    if (!knob.cap.disabled && event.deltaY !== 0) turn(knob, event.deltaY > 0 ? 1 : -1);
  }, { passive: false });
  knob.cap.addEventListener("pointerdown", (event) => { from = event.clientX; });
  knob.cap.addEventListener("pointermove", (event) => {
    if (from === null || !knob.cap.hasPointerCapture(event.pointerId)) return;
    const steps = Math.trunc((event.clientX - from) / pixels);
    if (steps === 0) return;
    from += steps * pixels;
    release(knob.push);
    turn(knob, Math.sign(steps));
  });
  knob.cap.addEventListener("pointerup", () => { from = null; });
}

function makeKnobs() {
  for (const knob of knobs) {
    knob.cap = element("button", { type: "button", className: "cap", textContent: knob.name });
    knob.cap.setAttribute("aria-label", `Knob ${knob.name}: push`);
    knob.cap.dataset.key = knob.push;
    holdable(knob.cap, knob.push);
    turnable(knob);
    const steps = [["‹", "left", -1], ["›", "right", 1]].map(([sign, side, step]) => {
      const button = element("button", { type: "button", className: "step", textContent: sign });
      button.setAttribute("aria-label", `Knob ${knob.name}: a step to the ${side}`);
      button.dataset.turn = `${knob.number} ${step}`;
      button.addEventListener("click", () => turn(knob, step));
      return button;
    });
    byId("knobs").append(element("div", { className: "knob" }, knob.cap, ...steps));
  }
}

const cables = new Map();
function makeCable(kind, words) {
  const plug = element("button", { type: "button", className: "plug", textContent: "plug" });
  plug.dataset.cable = kind;
  plug.setAttribute("aria-label", words + " loopback cable");
  plug.setAttribute("aria-pressed", "false");
  const socket = element("span", { className: "socket", textContent: kind === "analog" ? "line in" : "AES in" });
  const track = element("div", { className: "track" }, plug);
  const row = element("div", { className: "cable" }, element("span", { textContent: words }), track, socket);
  const isIn = () => row.classList.contains("in");
  const set = (plugged) => { if (plugged !== isIn()) act((plugged ? "plug " : "unplug ") + kind); };
  let drag = null;
  plug.addEventListener("pointerdown", (event) => {
    if (event.button !== 0 || plug.disabled) return;
    plug.setPointerCapture(event.pointerId);
    drag = { x: event.clientX, left: plug.offsetLeft, moved: false };
  });
  plug.addEventListener("pointermove", (event) => {
    if (drag === null) return;
    const way = event.clientX - drag.x;
    if (Math.abs(way) < 5 && !drag.moved) return;
    drag.moved = true;
    const end = track.clientWidth - plug.offsetWidth;
    plug.classList.add("dragged");
    plug.style.left = Math.min(Math.max(drag.left + way, 0), end) + "px";
  });
  const drop = () => {
    if (drag?.moved) set(plug.offsetLeft > (track.clientWidth - plug.offsetWidth) / 2);
    plug.classList.remove("dragged");
    plug.style.left = "";
  };
  plug.addEventListener("pointerup", drop);
  plug.addEventListener("pointercancel", () => { drag = null; drop(); });
  plug.addEventListener("click", () => {
    if (!drag?.moved) set(!isIn());
    drag = null;
  });
  byId("cables").append(row);
  cables.set(kind, (plugged) => {
    row.classList.toggle("in", plugged);
    plug.setAttribute("aria-pressed", String(plugged));
  });
}

function makePorts() {
  for (const port of ports) {
    port.button = element("button", { type: "button" });
    port.button.dataset.fault = port.fault;
    port.button.setAttribute("aria-label", port.words + " plugged in");
    port.button.addEventListener("click", () =>
      act((port.button.getAttribute("aria-pressed") === "true" ? "fault " : "clear ") + port.fault));
    byId("ports").append(port.button);
  }
}

function showPort(port, plugged) {
  port.button.setAttribute("aria-pressed", String(plugged));
  port.button.replaceChildren(port.name, element("br"), plugged ? "in" : "out");
}

const lamps = new Map();
function makeLamps() {
  for (const name of ["Phantom 1", "Phantom 2", "Boost 1", "Boost 2", "AES lock", "Speaker", "Key LED"]) {
    lamps.set(name, element("li", { textContent: name }));
    byId("lamps").append(lamps.get(name));
  }
}

function light(name, on) {
  lamps.get(name).classList.toggle("on", on);
  lamps.get(name).setAttribute("aria-label", name + (on ? ": on" : ": off"));
}

// The speaker: a square wave, as a PC's. A browser lets a page sound after the first click only.
let audio = null;
let tone = null;
let sounding = 0; // Hz
let muted = false;
function sound(hz) {
  sounding = hz;
  light("Speaker", hz > 0);
  tone?.stop();
  tone = null;
  if (hz <= 0 || muted || audio === null) return;
  tone = new OscillatorNode(audio, { type: "square", frequency: hz });
  tone.connect(new GainNode(audio, { gain: 0.05 })).connect(audio.destination);
  tone.start();
}

function startAudio() {
  if (audio !== null) return;
  audio = new AudioContext();
  sound(sounding);
}

function toggleMute() {
  muted = !muted;
  byId("sound").setAttribute("aria-pressed", String(muted));
  sound(sounding);
}

const greys = Array.from({ length: 16 }, (_, grey) => grey * 17);
const drawn = byId("oled").getContext("2d");
const image = drawn.createImageData(256, 64);
export function drawPicture(pixels) {
  for (let i = 0; i < pixels.length; ++i) {
    const code = pixels.charCodeAt(i);
    const grey = greys[code <= 57 ? code - 48 : code - 87];
    image.data.set([grey, grey, grey, 255], 4 * i);
  }
  drawn.putImageData(image, 0, 0);
}

// Four of the screen's own pixels a point, or as many as there is room for.
function fitGlass() {
  const own = window.devicePixelRatio;
  const room = byId("oled").parentElement.clientWidth * own;
  const points = Math.max(1, Math.min(4, Math.floor(room / 256)));
  byId("oled").style.width = (256 * points) / own + "px";
}

export function setRunning(now) {
  if (now && !runs && latched.size > 0) {
    const held = [...latched];
    latched.clear();
    held.forEach((key) => down.add(key));
    heldAtStart = held;
    tellLatched("");
  }
  runs = now;
  if (!now) sound(0);
}

export const heldAtPowerOn = () => [...latched].join("");

export function reset() {
  for (const show of cables.values()) show(false);
  for (const port of ports) showPort(port, true);
  for (const name of lamps.keys()) light(name, false);
  drawPicture("0".repeat(256 * 64));
  for (const key of buttons.keys()) showKey(key);
}

// An event of the run, as in events.jsonl.
const sights = {
  "sound analog-cable": (event) => cables.get("analog")(event.fitted !== "unplugged"),
  "sound digital-cable": (event) => cables.get("digital")(event.plugged),
  "sound phantom": (event) => light("Phantom " + event.input, event.on),
  "sound boost": (event) => light("Boost " + event.input, event.on),
  "aes lock": () => light("AES lock", true),
  "aes unlock": () => light("AES lock", false),
  "panel led": (event) => light("Key LED", Number(event.pattern) !== 0),
  "speaker tone": (event) => sound(event.hz),
  "speaker sound": (event) => sound(event.hz),
  "speaker silence": () => sound(0),
  "operator press": (event) => buttons.get(event.key)?.setAttribute("aria-pressed", "true"),
  "operator release": (event) => showKey(event.key),
};

export function see(event) {
  if (event.t > startSeen) heldAtStart.splice(0).forEach(release);
  sights[`${event.source} ${event.event}`]?.(event);
  if (event.source !== "fault") return;
  const setting = event.event + (event.value ? "=" + event.value : "");
  const port = ports.find((one) => one.fault === setting);
  if (port) showPort(port, event.cleared === true);
}

const typed = new Map(); // by the key of the computer
const isText = (target) => target.closest("input, select, textarea") !== null;

function onKey(event) {
  if (event.ctrlKey || event.altKey || event.metaKey || isText(event.target)) return;
  if (document.body.dataset.operates !== "true") return;
  const knob = knobs.find((one) => one.left === event.key || one.right === event.key);
  const scrolls = event.target.closest("pre") !== null;
  if (knob && !scrolls) {
    event.preventDefault();
    return turn(knob, event.key === knob.left ? -1 : 1);
  }
  const key = event.key.length === 1 ? event.key.toUpperCase() : "";
  if (event.repeat || !buttons.has(key)) return;
  typed.set(event.code, key);
  press(key);
}

export function make(onLatched) {
  tellLatched = onLatched;
  makeKeys();
  makeKnobs();
  makeCable("analog", "Analog");
  makeCable("digital", "Digital");
  makePorts();
  makeLamps();
  reset();
  fitGlass();
  new ResizeObserver(fitGlass).observe(byId("oled").parentElement);
  byId("sound").addEventListener("click", toggleMute);
  document.addEventListener("keydown", onKey);
  for (const first of ["pointerup", "keyup"]) document.addEventListener(first, startAudio);
  document.addEventListener("keyup", (event) => {
    if (typed.has(event.code)) release(typed.get(event.code));
    typed.delete(event.code);
  });
  window.addEventListener("blur", releaseAll);
}
