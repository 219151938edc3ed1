// SPDX-License-Identifier: Apache-2.0
// Many alerts: how soon the first are there, and what a hundred thousand cost. The numbers that it
// prints are those of docs/performance.md, when nothing else runs.

import assert from "node:assert/strict";
import { after, before, beforeEach, test } from "node:test";

import { alerts, checkQuiet, see, until } from "./helpers.mjs";
import { System } from "./system.mjs";

let system;
before(async () => (system = await System.start()));
after(() => system.stop());
beforeEach(() => system.reset());

/** Milliseconds from the page's load to the first row, as the page's own clock has it. */
async function firstRow(page) {
  await page.locator(".va-row__subject a").first().waitFor();
  return page.evaluate(() => {
    const [navigation] = performance.getEntriesByType("navigation");
    return window.firstRow - navigation.domContentLoadedEventStart;
  });
}

async function memory(page) {
  const client = await page.context().newCDPSession(page);
  await client.send("HeapProfiler.collectGarbage");
  const { usedSize } = await client.send("Runtime.getHeapUsage");
  return usedSize / 1e6;
}

test("with 10,000 alerts the first list is there soon after the page's load", async (context) => {
  await system.service.save(alerts(10_000, 60));
  const times = [];
  for (let turn = 0; turn < 5; turn++) {
    const page = await system.open("about:blank");
    await page.addInitScript(() => {
      const observer = new MutationObserver(() => {
        if (!document.querySelector(".va-row__subject a")) return;
        observer.disconnect();
        window.firstRow = performance.now();
      });
      document.addEventListener("DOMContentLoaded", () => observer.observe(document.body, { childList: true, subtree: true }), { once: true });
    });
    await page.goto(system.address);
    times.push(await firstRow(page));
    await page.context().close();
  }
  times.sort((a, b) => a - b);
  context.diagnostic(`first list after the page's load: median ${Math.round(times[2])} ms of ${times.map(Math.round).join(", ")}`);
  // The bound on an idle machine is 300 ms (docs/performance.md); this one holds beside other tests.
  assert.ok(times[0] < 1500, `${times}`);
});

test("100,000 alerts: only what is seen is in the page, to the last of them", { timeout: 280_000 }, async (context) => {
  await system.service.save(alerts(100_000, 60));
  const page = await system.open("#/alerts");
  await page.locator(".va-row__subject a").first().waitFor();
  const before = await memory(page);
  const start = Date.now();
  for (let turns = 0; turns < 400; turns++) {
    const count = await page.evaluate(() => {
      window.scrollTo(0, document.documentElement.scrollHeight);
      return document.querySelector(".va-list-head [role=status]").textContent;
    });
    if (!count.startsWith("More")) break;
    await until(page, (text) => document.querySelector(".va-list-head [role=status]").textContent !== text, count);
  }
  await see(page, "100,000 alerts");
  await page.evaluate(() => window.scrollTo(0, document.documentElement.scrollHeight));
  await until(page, () => [...document.querySelectorAll(".va-row__subject a")].some(({ dataset }) => dataset.index === "99999"));
  const took = (Date.now() - start) / 1000;
  const rows = await page.locator(".va-list__rows > [role=row]").count();
  assert.ok(rows < 60, `${rows} rows in the page`);
  const used = (await memory(page)) - before;
  const frames = await frameTimes(page);
  context.diagnostic(`100,000 alerts read by scrolling to the end in ${took.toFixed(1)} s; memory ${used.toFixed(0)} MB more; ${rows} rows in the page; frames while scrolling: median ${frames.median} ms, slowest of 20 ${frames.slow} ms`);
  assert.ok(used < 150, `${used} MB`);
  checkQuiet(page);
  await page.context().close();
});

/** Milliseconds between frames while the window goes through the list. */
async function frameTimes(page) {
  const times = await page.evaluate(
    () =>
      new Promise((resolve) => {
        const found = [];
        let last = performance.now();
        let top = document.documentElement.scrollHeight;
        const step = (at) => {
          found.push(at - last);
          last = at;
          top -= 1500;
          window.scrollTo(0, top);
          if (found.length < 200) requestAnimationFrame(step);
          else resolve(found.slice(2));
        };
        requestAnimationFrame(step);
      }),
  );
  times.sort((a, b) => a - b);
  return { median: Math.round(times[Math.floor(times.length / 2)]), slow: Math.round(times[Math.floor(times.length * 0.95)]) };
}
