// Starts `k4sim panel`, and browsers that look at it.
import { spawn } from "node:child_process";
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
export async function launch() {
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
