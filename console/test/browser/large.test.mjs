// SPDX-License-Identifier: Apache-2.0
// Many alerts. The numbers that are printed are those of the machine as it is; scripts/measure.mjs takes them one by one.

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { alerts, close, see } from "./helpers.mjs";
import { firstRow, frameTimes, memory, scrollToEnd } from "./measure.mjs";
import { system, useSystem } from "./system.mjs";

const COUNT = 100_000;

describe("a hundred thousand alerts", () => {
  useSystem();

  test("only what is seen is in the page, to the last of them", async (context) => {
    await system.service.save(alerts(COUNT, 60));
    context.diagnostic(`first list: ${Math.round(await firstRow(system))} ms after the page's load`);
    const page = await system.open("#/alerts");
    await page.locator(".va-row__subject a").first().waitFor();
    const before = await memory(page);
    const took = await scrollToEnd(page, COUNT);
    await see(page, "100,000 alerts");
    const rows = await page.locator(".va-list__rows > [role=row]").count();
    const used = (await memory(page)) - before;
    const { median, most } = await frameTimes(page);
    context.diagnostic(`read to the end in ${took.toFixed(1)} s; ${used.toFixed(0)} MB more; ${rows} rows in the page`);
    context.diagnostic(`frames while scrolling: median ${median} ms, 19 of 20 within ${most} ms`);
    assert.ok(rows < 60, `${rows} rows in the page`);
    assert.ok(used < 100, `${used} MB`);
    await close(page);
  });
});
