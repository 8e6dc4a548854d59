// Levels of the streams, with the limits that the test judges them by in its present phase.

const place = document.getElementById("meters");
const phaseText = document.getElementById("phase");
const lowest = -100;
const sineRms = -3.01; // of its peak
const boostedGain = -6.74; // of the loop, with the microphone boost on
const rows = new Map(); // by name

let boosted = false;
let status = "";

// By what the row AnalogAudio reads: limits in dB of an input, and what they mean.
function limits() {
  const gain = boosted ? boostedGain : 0;
  if (status.startsWith("Silence"))
    return { words: "Silence: RMS at most -78 dB, DC at most -45 dB", rms: [lowest, -78], dc: -45 };
  if (status.startsWith("Voltages"))
    return { words: `Loopback: at least ${(gain - 32).toFixed(1)} dB on both inputs`, rms: [gain - 32, 0] };
  if (status.startsWith("Loop gain")) {
    const middle = gain - 6 + sineRms;
    return { words: `Loop gain: ${middle.toFixed(1)} dB, 2 dB more or less`, rms: [middle - 2, middle + 2] };
  }
  return { words: "No limits apply now." };
}

const share = (level) => (100 * (Math.max(level, lowest) - lowest)) / -lowest;

function make(name) {
  const row = document.createElement("div");
  row.className = "meter";
  row.innerHTML = '<b></b><div class="bar" role="meter" aria-valuemin="-100" aria-valuemax="0"><i></i><u></u></div><output></output>';
  const [label, bar, output] = row.children;
  label.textContent = name;
  bar.setAttribute("aria-label", `Level of ${name} in dB`);
  place.append(row);
  return { row, bar, fill: bar.children[0], mark: bar.children[1], output };
}

function show(name, level, range) {
  if (!rows.has(name)) rows.set(name, make(name));
  const { row, bar, fill, mark, output } = rows.get(name);
  const text = level <= -200 ? "silent" : level.toFixed(1) + " dB";
  output.textContent = text;
  bar.setAttribute("aria-valuenow", Math.max(level, lowest).toFixed(1));
  bar.setAttribute("aria-valuetext", text);
  fill.style.width = share(level) + "%";
  mark.hidden = !range;
  if (range) {
    mark.style.left = share(range[0]) + "%";
    mark.style.width = share(range[1]) - share(range[0]) + "%";
  }
  row.classList.toggle("beyond", Boolean(range) && (level < range[0] - 0.05 && range[0] > lowest || level > range[1] + 0.05));
}

// "0 capture -781 -650 ..." in tenths of a dB: RMS and DC of each channel.
function seeStream(text) {
  const [device, direction, ...numbers] = text.split(" ");
  const levels = numbers.map((number) => Number(number) / 10);
  const analogInput = device === "0" && direction === "capture";
  const { rms, dc } = analogInput ? limits() : {};
  const kind = (device === "1" ? "AES " : "") + (direction === "capture" ? "in" : "out");
  for (let channel = 0; channel * 2 < levels.length; ++channel) {
    show(`${kind} ${channel + 1}`, levels[2 * channel], rms);
    if (analogInput) show(`DC ${channel + 1}`, levels[2 * channel + 1], dc && [lowest, dc]);
  }
}

export function see(event) {
  if (event.source === "live" && event.event === "levels") event.streams.split(";").forEach(seeStream);
  if (event.source === "sound" && event.event === "boost") boosted = event.on;
}

export function seeRow(label, text) {
  if (label !== "AnalogAudio" || text === status) return;
  status = text;
  phaseText.textContent = limits().words;
}

export function reset() {
  rows.clear();
  place.replaceChildren();
  boosted = false;
  seeRow("AnalogAudio", "");
}
