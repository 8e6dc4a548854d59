// The panel in a real browser: panel_test.mjs K4SIM PROGRAM FOLDER-OF-PLAYWRIGHT WORK-FOLDER
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readFileSync, writeFileSync } from "node:fs";
import { Panel, carryOut, k4sim, look, poorContrast, program, row, work } from "./stage.mjs";

const wait = { timeout: 180_000 };
const keys = [..."0123456789*#KEACDM"];

const until = async (page, label, text) =>
  page.waitForFunction(([unit, wanted]) => [...document.querySelectorAll("#rows tr")].some(
    (line) => line.cells[0].textContent === unit && line.cells[1].textContent.includes(wanted)), [label, text], wait);
const printed = async (page, text) =>
  page.waitForFunction((wanted) => document.getElementById("console").textContent.includes(wanted), text, wait);
const isOff = (page) => page.waitForFunction(() => document.getElementById("state").textContent.startsWith("off"), null, wait);
const isOn = (page) => page.waitForFunction(() => document.getElementById("state").textContent.startsWith("on"), null, wait);

// In the time of the device: as a hand that holds a key until the device has seen it.
const pressed = (page) => page.waitForFunction(() => !document.querySelector("#device [data-key][aria-pressed=true]"), null, wait);

// The whole test, done with the mouse; each prompt is answered when it comes.
async function wholeTest(page) {
  await until(page, "Frontpanel", "EACDMhH");
  for (const key of keys) {
    await page.locator(`[data-key="${key}"]`).click();
    await pressed(page);
  }
  await page.locator("[data-turn='1 1']").click();
  await page.locator("[data-turn='1 -1']").click();
  await page.locator(".knob .cap").nth(1).hover();
  await page.mouse.wheel(0, 100);
  await page.mouse.wheel(0, -100);
  await printed(page, "Check for loopback audio");
  await page.locator("[data-cable=analog]").click();
  await until(page, "AES/EBU", "'LOCK'");
  await page.locator("[data-cable=digital]").dragTo(page.locator(".cable .socket").nth(1));
}

// The lamp test lasts until the first key that is no start key.
async function endLampTest(page) {
  await pressed(page);
  await page.waitForFunction(() => document.getElementById("oled").getContext("2d").getImageData(128, 32, 1, 1).data[0] === 255, null, wait);
  await page.keyboard.press("0");
}

async function replays(panel, record) {
  const scenario = `${work}/saved.toml`;
  writeFileSync(scenario, await (await fetch(panel.base + "/api/scenario")).text());
  const run = spawnSync(k4sim, ["run", "--scenario", scenario, "--record", record + "-again", "--", program]);
  const events = readFileSync(record + "/events.jsonl");
  assert(events.length > 1000);
  assert(events.equals(readFileSync(record + "-again/events.jsonl")), "another run: " + run.stderr);
  return run.status;
}

const tests = {
  // No keyword: a start key held at power-on is what starts it.
  async "a whole test by the mouse, replayed to the byte"(browser) {
    const record = `${work}/whole`;
    const panel = await Panel.start(["--record", record]);
    const page = await look(browser, panel.address);
    await isOff(page);
    assert.match(await page.textContent("#state"), /NOT RUN/);
    await page.locator("[data-key='7']").click();
    await page.locator("#on").click();
    await isOn(page);
    await page.selectOption("#pace", "5");
    await endLampTest(page);
    await wholeTest(page);
    await isOff(page);
    assert.match(await page.textContent("#state"), /status 0: PASSED: 6 of 6 rows OK/);
    assert.equal(await replays(panel, record), 0);
    await page.locator("[name=arguments]").fill("run");
    await page.locator("#on").click();
    await isOn(page);
    await endLampTest(page);
    await until(page, "Frontpanel", "EACDMhH");
    await page.keyboard.press("e");
    await page.keyboard.press("e");
    await isOff(page);
    assert.match(await page.textContent("#state"), /status 250: ABORTED/);
    assert.deepEqual(page.complaints, []);
    assert.equal(await panel.end(), 250);
  },

  async "a fault is set, seen, cleared, and the row recovers; two browsers"(browser) {
    const record = `${work}/fault`;
    const panel = await Panel.start(["--pace", "5", "--fault", "link-refused=usb0", "--record", record], "run");
    const page = await look(browser, panel.address);
    await endLampTest(page);
    await until(page, "Ethernet", "LAN-ok   WAN-??");
    await page.locator("#diagnosis summary").click();
    const candidates = page.locator("#candidates");
    await candidates.getByText("link-refused=usb0: ").waitFor();
    assert.match(await candidates.textContent(), /the best first:.*Next: .*If /s);
    await page.locator("#search").fill("other end network");
    const fault = page.locator("#faults li:visible");
    assert.equal(await fault.count(), 1);
    await fault.locator("button").click();
    await until(page, "Ethernet", "LAN-??");
    const other = await look(browser, panel.address, { colorScheme: "dark", reducedMotion: "reduce" });
    const onlooker = await look(browser, panel.base);
    for (const one of [other, onlooker]) {
      await until(one, "Ethernet", "LAN-??");
      assert.equal(await one.locator("[data-key='5']").isDisabled(), true);
    }
    assert.equal(await onlooker.locator("[data-fault='link-down=eth0']").getAttribute("aria-pressed"), "false");
    await fault.locator("button").click();
    await until(other, "Ethernet", "LAN-ok");
    await page.locator("#search").fill("refuses to tell");
    await fault.locator("button").click(); // set from the start
    await until(other, "Ethernet", "OK");
    await page.locator("#operate").click();
    await other.locator("#operate").click();
    await other.waitForFunction(() => !document.querySelector("[data-key='5']").disabled, null, wait);
    assert.equal(await page.locator("[data-key='5']").isDisabled(), true);
    assert.equal(await onlooker.locator("#operate").isDisabled(), true);
    await other.close(); // and is gone for ten seconds
    await page.waitForFunction(() => document.getElementById("operate").textContent === "Operate", null, wait);
    assert.deepEqual([...page.complaints, ...other.complaints, ...onlooker.complaints], []);
    await page.locator("#operate").click();
    await page.locator("#off").click();
    await isOff(page);
    assert.equal(await replays(panel, record), 124);
    assert.equal(await panel.end("SIGTERM"), 124);
  },

  async "by the keyboard alone; paused, a step, and shown what is next"(browser) {
    const record = `${work}/keyboard`;
    const panel = await Panel.start(["--record", record, "--board", "plain"], "run", "noanalog");
    const page = await look(browser, panel.address, { reducedMotion: "reduce" });
    await endLampTest(page);
    await until(page, "Frontpanel", "EACDMhH");
    for (const key of [..."0123456789", "ArrowLeft", "ArrowRight", "ArrowUp", "ArrowDown"]) await page.keyboard.press(key);
    await printed(page, "Key 20");
    const reach = async (id) => {
      for (let i = 0; i < 40; ++i) {
        if (await page.evaluate((wanted) => document.activeElement.id === wanted, id)) return page.keyboard.press("Enter");
        await page.keyboard.press("Tab");
      }
      assert.fail(id + " is out of reach");
    };
    await reach("pause");
    await page.waitForFunction(() => document.getElementById("pause").textContent === "Go on", null, wait);
    const seconds = async () => parseFloat(await page.textContent("#time"));
    const before = await seconds();
    await reach("step");
    await page.waitForFunction((then) => parseFloat(document.getElementById("time").textContent) > then + 0.8, before, wait);
    assert((await seconds()) <= before + 1.1);
    await page.locator("#pause").focus();
    await page.keyboard.press("Enter");
    await reach("show");
    await page.waitForFunction(() => /^press 7: the row Frontpanel/.test(document.getElementById("advice").textContent), null, wait);
    await row(page, "Frontpanel").filter({ hasText: /^\*#KEACDM$/ }).waitFor(wait);
    for (const key of "ee") await page.keyboard.press(key);
    await isOff(page);
    assert.equal(await replays(panel, record), 250);
    assert.equal(await page.evaluate(() => [...document.querySelectorAll("button, input, select, a, canvas")].filter((one) =>
      !(one.getAttribute("aria-label") || one.textContent.trim() || one.labels?.length)).length), 0);
    assert.deepEqual(page.complaints, []);
    assert.equal(await panel.end(), 250);
  },

  async "the automatic operator and a person work together"(browser) {
    const record = `${work}/together`;
    const options = ["--operator", "auto", "--schedule", "random", "--pace", "5", "--record", record];
    const panel = await Panel.start(options, "run");
    const page = await look(browser, panel.address);
    for (const key of "50A") await page.locator(`[data-key="${key}"]`).click();
    await page.locator("[data-turn='1 1']").click();
    await page.selectOption("#pace", "max");
    await isOff(page);
    assert.match(await page.textContent("#state"), /status 0: PASSED: 6 of 6 rows OK/);
    assert.equal(await replays(panel, record), 0);
    assert.equal(await panel.end(), 0);
  },

  // By touch on a tablet; each text has the contrast that WCAG AA asks for, in light and dark.
  async "touch, contrast, and no scrolling sideways"(browser) {
    const record = `${work}/touch`;
    const panel = await Panel.start(["--record", record], "run");
    const tablet = await look(browser, panel.address, { viewport: { width: 820, height: 1180 }, hasTouch: true });
    await tablet.locator("[data-key='5']").tap();
    await until(tablet, "Frontpanel", "0");
    for (const settings of [{ colorScheme: "light" }, { colorScheme: "dark" }, { viewport: { width: 1280, height: 800 } }]) {
      const page = await look(browser, panel.base, settings);
      await until(page, "Frontpanel", "0");
      assert.deepEqual(await page.evaluate(poorContrast), []);
      assert(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
      assert.equal(await page.evaluate(() => document.getElementById("oled").getBoundingClientRect().width * devicePixelRatio), 1024);
    }
    assert.equal(await panel.end(), 250); // in the middle of the run
    assert.equal(readFileSync(record + "/k4sim-record", "utf8").trim(), "complete");
  },
};

await carryOut(tests);
