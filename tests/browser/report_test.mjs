// The page of a run in a real browser: report_test.mjs K4SIM PROGRAM FOLDER-OF-PLAYWRIGHT WORK-FOLDER
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { statSync } from "node:fs";
import { carryOut, k4sim, look, poorContrast, program, work } from "./stage.mjs";

const recorded = (name, ...options) => {
  spawnSync(k4sim, ["run", "--record", `${work}/${name}`, ...options, "--", program, "run"]);
  return `file://${work}/${name}/report.html`;
};

const tests = {
  async "a failed run, by the keyboard, light and dark, on a tablet and on paper"(browser) {
    const address = recorded("low", "--fault", "analog-gain-left=-6@15");
    for (const settings of [{}, { colorScheme: "dark" }, { viewport: { width: 820, height: 1180 } }]) {
      const page = await look(browser, address, settings);
      assert.match(await page.textContent("h1"), /^ABORTED:AnalogAudio stayed at "Loop gain -6.0 -?0.0 .2.": input 1 4.0 dB below the limit$/);
      assert.match(await page.textContent("tr.nearest"), /gain of input 1 at 25 Hzmissed-21.96 dB-17.75 dB-4.21 dB/);
      assert.deepEqual(await page.evaluate(poorContrast), []);
      assert(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
      assert.deepEqual(page.complaints, []);
    }
    const page = browser.contexts()[0].pages()[0];
    const glass = async () => [await page.getAttribute("#oled", "src"), await page.getAttribute("#oled", "alt")];
    const [last, words] = await glass();
    assert.match(words, /AnalogAudio: Loop gain/);
    await page.locator("#slider").focus();
    await page.keyboard.press("Home");
    assert.equal(await page.textContent("#now"), "0.0 s");
    await page.keyboard.press("PageUp");
    const seen = parseFloat(await page.textContent("#now"));
    assert(seen > 5 && seen < 40);
    const [then, rows] = await glass();
    assert(then !== last && /Frontpanel: /.test(rows) && !/Loop gain/.test(rows));
    await page.locator("#on").click();
    assert(parseFloat(await page.textContent("#now")) >= seen);
    assert.equal(await page.locator("#plots figure").count(), 4);
    await page.emulateMedia({ media: "print" });
    assert((await page.pdf({ format: "A4" })).length > 20_000);
    assert(statSync(`${work}/low/report.html`).size < 2_000_000);
  },
};

await carryOut(tests);
