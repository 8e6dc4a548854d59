// Starts `k4sim panel`, browsers that look at a page, and tests with them.
import { spawn } from "node:child_process";
import { mkdirSync, rmSync } from "node:fs";
import { createRequire } from "node:module";
import { once } from "node:events";
import { resolve } from "node:path";

export const [k4sim, program, modules, work] = process.argv.slice(2);
const { chromium } = createRequire(resolve(modules) + "/")("playwright-core");

export class Panel {
  static all = [];

  static async start(options, ...keywords) {
    const panel = new Panel();
    panel.process = spawn(k4sim, ["panel", ...options, "--", program, ...keywords]);
    process.on("exit", () => panel.process.kill("SIGKILL")); // of a test that failed
    Panel.all.push(panel);
    panel.output = panel.errors = "";
    panel.process.stdout.on("data", (data) => { panel.output += data; });
    panel.process.stderr.on("data", (data) => { panel.errors += data; });
    panel.ended = once(panel.process, "exit");
    while (!panel.output.includes("\n")) await Promise.race([once(panel.process.stdout, "data"), panel.ended]);
    panel.address = panel.output.split("\n")[0];
    panel.base = panel.address.split("/#")[0];
    panel.token = panel.address.split("#")[1];
    return panel;
  }

  // Its exit status.
  async end(signal = "SIGINT") {
    this.process.kill(signal);
    return (await this.ended)[0];
  }
}

// Headless as people's browsers are; what a page says is wrong with it is an error.
async function launch() {
  return chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox"] });
}

export async function look(browser, address, settings = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, ...settings });
  const page = await context.newPage();
  page.complaints = [];
  page.on("pageerror", (error) => page.complaints.push(String(error)));
  page.on("console", (line) => { if (line.type() === "error") page.complaints.push(line.text()); });
  page.on("request", (request) => {
    if (!request.url().startsWith(address.split("/#")[0]) && !request.url().startsWith("data:"))
      page.complaints.push("asks " + request.url());
  });
  await page.goto(address);
  return page;
}

export const row = (page, label) => page.locator("#rows tr", { hasText: label }).locator("td").nth(1);

// In the page: what is written with less than 4.5 : 1 against what is behind it.
export function poorContrast() {
  const numbers = (color) => color.match(/[\d.]+/g).map(Number);
  const light = (color) => {
    const [r, g, b] = numbers(color).map((part) => (part / 255 <= 0.03928 ? part / 255 / 12.92 : ((part / 255 + 0.055) / 1.055) ** 2.4));
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const behind = (one) => {
    const color = getComputedStyle(one).backgroundColor;
    return numbers(color)[3] === 0 ? behind(one.parentElement) : color;
  };
  const written = [...document.body.querySelectorAll("*")].filter((one) => !one.disabled && one.offsetParent &&
    [...one.childNodes].some((child) => child.nodeType === 3 && child.textContent.trim()));
  if (written.length < 50) return ["too little to look at"];
  return written.filter((one) => {
    const [a, b] = [light(getComputedStyle(one).color), light(behind(one))].sort();
    return (b + 0.05) / (a + 0.05) < 4.5;
  }).map((one) => one.outerHTML.slice(0, 80));
}

// All tests, or those whose name contains the word that was said, each with contexts of its own.
export async function carryOut(tests) {
  rmSync(work, { recursive: true, force: true });
  mkdirSync(work, { recursive: true });
  const browser = await launch();
  const only = process.argv[6] ?? "";
  for (const [name, test] of Object.entries(tests)) {
    if (!name.includes(only)) continue;
    try {
      await test(browser);
    } catch (error) {
      for (const page of browser.contexts().flatMap((context) => context.pages())) {
        await page.screenshot({ path: `${work}/failed.png` });
        console.log(await page.evaluate(() => document.body.innerText.slice(0, 2000)), page.complaints);
      }
      for (const panel of Panel.all) console.log(panel.address, panel.process.exitCode, panel.process.signalCode, panel.errors);
      throw error;
    }
    for (const context of browser.contexts()) await context.close();
    console.log("passed: " + name);
  }
  await browser.close();
}
