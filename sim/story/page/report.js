"use strict";
const run = JSON.parse(document.getElementById("data").textContent);
const find = (id) => document.getElementById(id);
const unit = run.timed ? "s" : "line";
const at = (t) => run.timed ? `${t.toFixed(1)} s` : `line ${Math.round(t)}`;
const end = Math.max(run.end, run.timed ? 0.1 : 1);

function html(name, attributes, ...content) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...content);
  return element;
}

function svg(name, attributes, ...content) {
  const element = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...content);
  return element;
}

// The last of the list that came by t; -1: none. Each begins with its time.
function index_at(list, t) {
  let low = 0, high = list.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (list[middle][0] <= t + 1e-6) low = middle + 1; else high = middle;
  }
  return low - 1;
}

// Round steps of an axis.
function ticks(low, high, wanted) {
  const rough = (high - low) / wanted;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].map((n) => n * power).find((s) => s >= rough);
  const all = [];
  for (let i = Math.ceil(low / step); i * step <= high + step * 1e-6; ++i)
    all.push(Number((i * step).toPrecision(12)));
  return all;
}

function tell_head() {
  const badge = html("b", run.verdict === "PASSED" ? {class: "passed"} : {}, `${run.verdict}:`);
  find("verdict").append(badge, run.why);
  for (const [name, value] of run.facts)
    find("facts").append(html("div", {}, html("dt", {}, name), html("dd", {}, value)));
  for (const sentence of run.left) find("left").append(html("li", {}, sentence));
  for (const sentence of run.notes) find("notes").append(html("li", {}, sentence));
  find("unknown").hidden = run.notes.length === 0;
}

function tell_console() {
  for (const [t, text] of run.console)
    find("lines").append(html("span", {}, at(t).padStart(9) + "  "), text + "\n");
  find("console").hidden = run.console.length === 0;
}

function tell_margins() {
  const number = (value) => value === undefined ? "" : String(value);
  find("when").textContent = run.timed ? "When" : "Where";
  find("ledger-words").textContent = run.nearest < 0 ? "Nothing was judged." :
    "How near the verdict was. The marked line is the smallest margin of the run.";
  run.margins.forEach((margin, i) => {
    const known = margin.worst !== undefined;
    const amount = (value) => value === undefined ? "" : `${number(value)} ${margin.in}`;
    find("margins").append(html("tr", i === run.nearest ? {class: "nearest"} : {},
      html("td", {}, margin.unit), html("td", {}, margin.quantity),
      html("td", {class: margin.state.replace(" ", "-")}, margin.state),
      html("td", {class: "number"}, amount(margin.worst)),
      html("td", {class: "number"}, amount(margin.limit)),
      html("td", {class: "number"}, amount(margin.distance)),
      html("td", {class: "number"}, known ? at(margin.at) : "")));
  });
}

const some_of = (list, most) => list.length <= most ? list.join(", ") :
  `${list.slice(0, most).join(", ")} and ${list.length - most} more`;

function tell_candidate({fit, faults}) {
  const shown = faults.slice(0, 6).map(({fault, words}) =>
    html("li", {}, html("b", {}, fault), ` \u2013 ${words}`));
  if (faults.length > shown.length) shown.push(html("li", {}, `and ${faults.length - shown.length} more`));
  const alike = faults.length > 1 ? ", any of these, which look the same" : "";
  find("candidates").append(html("li", {}, `fits to ${Math.round(fit * 100)} %${alike}:`,
    html("ul", {}, ...shown)));
}

// Of single faults, by how well what they do fits this run.
function tell_diagnosis() {
  const found = run.diagnosis;
  if (!found) return;
  find("diagnosis").hidden = false;
  find("diagnosis-words").textContent = found.words ||
    "Single faults that look like this run, the best first:";
  for (const candidate of found.candidates || []) tell_candidate(candidate);
  if (found.more)
    find("candidates").append(html("li", {}, `${found.more} more fit as well as the last one: ` +
      "tell more, such as what each row reads."));
  const next = found.next;
  find("apart").hidden = !next;
  if (!next) return;
  find("next-step").textContent = next.action;
  for (const {seen, tells, faults} of next.branches)
    find("branches").append(html("li", {}, `If ${seen}: ${tells} (${some_of(faults, 4)}).`));
}

const lanes = [{kind: "key", name: "Keys, knobs", lines: 2}, {kind: "cable", name: "Cables", lines: 3},
               {kind: "fault", name: "Faults", lines: 6}, {kind: "parallel", name: "Wrong bits", lines: 1},
               {kind: "beep", name: "Beeps", lines: 0}, {kind: "console", name: "Console", lines: 0}];
const left_edge = 92, row_height = 24, letter_width = 6.9;
let moment = 0;
let time_scale = (t) => t;
let hand = null;

function draw_row(row, y, drawing) {
  drawing.append(svg("text", {x: 0, y: y + 15}, row.name));
  row.texts.forEach(([t, text], i) => {
    const last = i + 1 === row.texts.length;
    const x = time_scale(t), next = time_scale(last ? run.end : row.texts[i + 1][0]);
    const width = Math.max(next - x, last ? 6 : 0); // so that the last one is seen, however short
    if (text === "" || width <= 0) return;
    const ok = text === "OK";
    const colours = ok ? ["--ok", "--on-ok"] : last ? ["--bad", "--on-bad"] : ["--between", "--ink"];
    const bar = svg("g", {}, svg("title", {}, `${at(t)}: ${text}`),
      svg("rect", {x, y: y + 1, width, height: row_height - 3, style: `fill:var(${colours[0]})`,
                   stroke: "var(--paper)", "stroke-width": 0.5}));
    if (text.length * letter_width + 8 < width)
      bar.append(svg("text", {x: x + 4, y: y + 15, style: `fill:var(${colours[1]})`}, text));
    drawing.append(bar);
  });
}

const abbreviated = (words) => words.replace("knob 1", "M").replace("knob 2", "H")
  .replace(" to the left", "\u25c2").replace(" to the right", "\u25b8");

// The words of marks below their ticks, each in the first line that is free there; what finds none
// can be read in the title only.
function place_words(marks, lines) {
  const free = Array(lines).fill(0);
  const placed = [];
  for (const [t, , words] of marks) {
    const short = abbreviated(words);
    const width = short.length * letter_width + 4;
    const x = Math.min(time_scale(t) - 4, time_scale(end) + 14 - width);
    const line = free.findIndex((edge) => edge <= x);
    if (line < 0) continue;
    free[line] = x + width;
    placed.push({x, line, short});
  }
  return placed;
}

// Returns its height.
function draw_lane({kind, name, lines}, y, drawing) {
  const marks = kind === "console" ? run.console.map(([t, text]) => [t, kind, text])
                                   : run.marks.filter((mark) => mark[1] === kind);
  if (!marks.length) return 0;
  const colour = kind === "fault" || kind === "parallel" ? "--bad" : "--one";
  drawing.append(svg("text", {x: 0, y: y + 12, class: "muted"}, name));
  for (const [t, , words] of marks) {
    const x = time_scale(t);
    drawing.append(svg("g", {}, svg("title", {}, `${at(t)}: ${words}`),
      svg("line", {x1: x, x2: x, y1: y + 3, y2: y + 12, stroke: `var(${colour})`, "stroke-width": 1.5})));
  }
  const placed = place_words(marks, lines);
  for (const {x, line, short} of placed)
    drawing.append(svg("text", {x, y: y + 24 + 13 * line}, short));
  return 17 + 13 * Math.max(0, ...placed.map(({line}) => line + 1));
}

function draw_time_line() {
  const place = find("time-line");
  const width = Math.max(place.clientWidth, 480);
  time_scale = (t) => left_edge + (width - left_edge - 14) * Math.min(t / end, 1);
  const drawing = svg("svg", {role: "img",
    "aria-label": "Time line: " + run.rows.map((row) =>
      `${row.name} ends with ${row.texts.at(-1)[1] || "no text"}`).join("; ")});
  let y = 0;
  for (const row of run.rows) { draw_row(row, y, drawing); y += row_height; }
  for (const lane of lanes) y += draw_lane(lane, y, drawing);
  for (const t of ticks(0, end, Math.max(4, Math.floor(width / 110)))) {
    const x = time_scale(t);
    drawing.append(svg("line", {x1: x, x2: x, y1: y + 2, y2: y + 7, class: "axis"}),
      svg("text", {x, y: y + 20, "text-anchor": "middle", class: "muted"}, `${t} ${unit}`));
  }
  hand = svg("line", {y1: 0, y2: y + 6, stroke: "var(--ink)", "stroke-width": 1.5});
  drawing.append(hand);
  drawing.setAttribute("viewBox", `0 0 ${width} ${y + 26}`);
  drawing.addEventListener("click", (event) => {
    const box = drawing.getBoundingClientRect();
    const x = (event.clientX - box.left) * width / box.width;
    show((x - left_edge) / (width - left_edge - 14) * end);
  });
  place.replaceChildren(drawing);
}

// The OLED, the console and the hand of the time line at that moment.
function show(t) {
  moment = t = Math.min(Math.max(t, 0), end);
  const slider = find("slider");
  slider.value = t;
  slider.setAttribute("aria-valuetext", at(t));
  find("now").textContent = at(t);
  const picture = run.pictures[index_at(run.pictures, t)];
  find("oled").hidden = !picture;
  find("dark").hidden = Boolean(picture);
  if (picture) {
    find("oled").src = run.images[picture[1]];
    find("oled").alt = "The OLED: " + (run.rows.map((row) => {
      const i = index_at(row.texts, t);
      return i < 0 || !row.texts[i][1] ? "" : `${row.name}: ${row.texts[i][1]}`;
    }).filter(Boolean).join("; ") || "no rows yet");
  }
  const last = index_at(run.console, t);
  find("last-lines").textContent =
    run.console.slice(Math.max(0, last - 8), last + 1).map(([, text]) => text).join("\n");
  hand.setAttribute("x1", time_scale(t));
  hand.setAttribute("x2", time_scale(t));
}

function begin_slider() {
  const slider = find("slider");
  const seen = (t) => index_at(run.pictures, t);
  slider.max = end;
  slider.addEventListener("input", () => show(Number(slider.value)));
  find("back").addEventListener("click", () => {
    const i = seen(moment);
    show(i > 0 ? run.pictures[i - 1][0] : 0);
  });
  find("on").addEventListener("click", () => {
    const next = run.pictures[seen(moment) + 1];
    show(next ? next[0] : end);
  });
  find("moment").hidden = !run.timed;
  find("story").hidden = !run.timed;
}

// A frame with axes; x and y: {low, high, name, ticks, log}. Returns the drawing and its scales.
function frame(x, y, words) {
  const width = 580, height = 240, left = 52, bottom = 36, top = 8, right = 12;
  const part = (axis, value) => axis.log ?
    Math.log(value / axis.low) / Math.log(axis.high / axis.low) :
    (value - axis.low) / (axis.high - axis.low);
  const sx = (value) => left + (width - left - right) * part(x, value);
  const sy = (value) => height - bottom - (height - bottom - top) * part(y, value);
  const drawing = svg("svg", {viewBox: `0 0 ${width} ${height}`, role: "img", "aria-label": words});
  for (const tick of y.ticks || ticks(y.low, y.high, 5))
    drawing.append(svg("line", {x1: left, x2: width - right, y1: sy(tick), y2: sy(tick), class: "axis"}),
      svg("text", {x: left - 6, y: sy(tick) + 4, "text-anchor": "end", class: "muted"}, tick));
  for (const tick of x.ticks || ticks(x.low, x.high, 6))
    drawing.append(svg("line", {x1: sx(tick), x2: sx(tick), y1: height - bottom, y2: height - bottom + 4, class: "axis"}),
      svg("text", {x: sx(tick), y: height - bottom + 16, "text-anchor": "middle", class: "muted"}, tick >= 1000 ? `${tick / 1000}k` : tick));
  drawing.append(svg("text", {x: width - right, y: height - 4, "text-anchor": "end", class: "muted"}, x.name));
  return {drawing, sx, sy, left, right: width - right};
}

function curve(plot, points, colour, dashed) {
  plot.drawing.append(svg("polyline", {class: "series", stroke: `var(${colour})`,
    "stroke-dasharray": dashed ? "5 3" : "none",
    points: points.map(([x, y]) => `${plot.sx(x).toFixed(1)},${plot.sy(y).toFixed(1)}`).join(" ")}));
  if (points.length < 60)
    for (const [x, y] of points)
      plot.drawing.append(svg("circle", {cx: plot.sx(x), cy: plot.sy(y), r: 2, fill: `var(${colour})`}));
}

function limit(plot, y, words) {
  plot.drawing.append(svg("line", {x1: plot.left, x2: plot.right, y1: plot.sy(y), y2: plot.sy(y), class: "limit"}),
    svg("text", {x: plot.right - 4, y: plot.sy(y) - 4, "text-anchor": "end", class: "limit"}, words));
}

const legend = (entries) => html("p", {}, ...entries.flatMap(([name, colour, dashed]) =>
  [html("span", {class: dashed ? "key dashed" : "key", style: `color:var(${colour})`}), `${name}   `]));

function add_plot(title, plot, ...below) {
  find("plots").append(html("figure", {}, html("figcaption", {}, title), plot.drawing, ...below));
}

const over_time = () => ({low: 0, high: end, name: run.timed ? "virtual seconds" : "line of the console"});

function plot_silence() {
  if (!run.quiet.length) return;
  const series = [["noise, input 1", "--one", false, 1, run.noise_limit], ["noise, input 2", "--two", false, 2, run.noise_limit],
                  ["DC, input 1", "--one", true, 3, run.dc_limit], ["DC, input 2", "--two", true, 4, run.dc_limit]];
  const margins = series.flatMap(([, , , i, most]) => run.quiet.map((cycle) => most - cycle[i]));
  const times = run.quiet.map(([t]) => t);
  const span = Math.max(times.at(-1) - times[0], 1);
  const x = {...over_time(), low: times[0] - 0.05 * span, high: times.at(-1) + 0.05 * span};
  const y = {low: Math.min(-2, ...margins) - 1, high: Math.max(2, ...margins) + 2};
  const plot = frame(x, y, `Silence: the smallest margin is ${Math.min(...margins).toFixed(1)} dB`);
  for (const [, colour, dashed, i, most] of series)
    curve(plot, run.quiet.map((cycle) => [cycle[0], most - cycle[i]]), colour, dashed);
  limit(plot, 0, "limit");
  add_plot("Silence: margin in dB", plot, legend(series));
}

function plot_gain() {
  if (!run.tones.length) return;
  const [low, high] = run.gain;
  const levels = run.tones.flatMap(([, , , one, two]) => [one, two]);
  const y = {low: Math.min(low, ...levels) - 1, high: Math.max(high, ...levels) + 1};
  const x = {low: 20, high: 20000, log: true, name: "Hz", ticks: [25, 100, 500, 1000, 5000, 12000, 19000]};
  const plot = frame(x, y, `Level of the loop by frequency: ${Math.min(...levels)} to ${Math.max(...levels)} dB, good from ${low} to ${high} dB`);
  plot.drawing.prepend(svg("rect", {x: plot.left, y: plot.sy(high), width: plot.right - plot.left,
    height: plot.sy(low) - plot.sy(high), fill: "var(--band)"}));
  const sweeps = [...new Set(run.tones.map((tone) => tone[1]))];
  for (const sweep of sweeps.slice(-12)) {
    const tones = run.tones.filter((tone) => tone[1] === sweep);
    curve(plot, tones.map((tone) => [tone[2], tone[3]]), "--one", false);
    curve(plot, tones.map((tone) => [tone[2], tone[4]]), "--two", true);
  }
  limit(plot, low, "lowest good level");
  limit(plot, high, "highest good level");
  add_plot("Loop: level in dB by frequency", plot,
    legend([["input 1", "--one", false], ["input 2", "--two", true]]),
    html("p", {}, sweeps.length > 12 ? `The last 12 of ${sweeps.length} sweeps.` :
      sweeps.length === 1 ? "One sweep." : `${sweeps.length} sweeps, one over the other.`));
}

function plot_locks() {
  if (!run.locks.length) return;
  const rates = [0, 32000, 44100, 48000];
  const y = {low: 0, high: Math.max(50000, ...run.locks.map(([, rate]) => rate)), ticks: rates};
  const plot = frame(over_time(), y, "AES/EBU receiver: " + run.locks.map(([t, rate]) =>
    `${rate ? `locked to ${rate} Hz` : "no lock"} from ${at(t)}`).slice(0, 20).join("; "));
  const points = [[0, 0]];
  for (const [t, rate] of run.locks) points.push([t, points.at(-1)[1]], [t, rate]);
  points.push([end, points.at(-1)[1]]);
  plot.drawing.append(svg("polyline", {class: "series", stroke: "var(--one)",
    points: points.map(([t, rate]) => `${plot.sx(t).toFixed(1)},${plot.sy(rate).toFixed(1)}`).join(" ")}));
  add_plot("AES/EBU: rate of the lock in Hz", plot, html("p", {}, "0 is no lock."));
}

function plot_rounds() {
  const row = run.rows.find(({name}) => name === "USB Ports");
  const points = (row ? row.texts : []).map(([t, text]) => {
    const count = /^In progress: (\d+)$/.exec(text);
    return [t, text === "OK" ? 100 : count ? Number(count[1]) : 0];
  });
  if (!run.timed || points.length < 2) return;
  points.push([end, points.at(-1)[1]]);
  const plot = frame(over_time(), {low: 0, high: 110, ticks: [0, 20, 40, 60, 80, 100]},
    `Serial rounds: ${points.at(-1)[1]} of 100 at the end`);
  curve(plot, points, "--one", false);
  limit(plot, 100, "needed");
  add_plot("USB ports: good rounds", plot);
}

tell_head();
tell_diagnosis();
tell_margins();
tell_console();
begin_slider();
draw_time_line();
for (const plot of [plot_silence, plot_gain, plot_locks, plot_rounds]) plot();
// As long as something is lit: a run that ends by itself leaves the OLED dark.
const [lit, dark] = run.pictures.slice(-2);
show(dark ? Math.max(lit[0], dark[0] - 0.01) : end);
addEventListener("resize", () => {
  draw_time_line();
  show(moment);
});
