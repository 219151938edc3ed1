// SPDX-License-Identifier: Apache-2.0
// How soon the page shows something, and what many alerts cost it.

import { until } from "./helpers.mjs";

/** Milliseconds from the page's load (its DOM is there) to the first row, by the page's own clock. */
export async function firstRow(system) {
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
  await until(page, () => window.firstRow !== undefined);
  const time = await page.evaluate(() => window.firstRow - performance.getEntriesByType("navigation")[0].domContentLoadedEventStart);
  await page.context().close();
  return time;
}

/** Megabytes that the page's scripts hold. */
export async function memory(page) {
  const client = await page.context().newCDPSession(page);
  await client.send("HeapProfiler.collectGarbage");
  const { usedSize } = await client.send("Runtime.getHeapUsage");
  return usedSize / 1e6;
}

/** Goes to the end of the list, page by page, as somebody does who keeps the End key down. Seconds that it took. */
export async function scrollToEnd(page, count) {
  const start = Date.now();
  await page.evaluate(
    (last) =>
      new Promise((resolve) => {
        const step = () => {
          window.scrollTo(0, document.documentElement.scrollHeight);
          if (document.querySelector(`[data-index="${last}"]`)) resolve();
          else requestAnimationFrame(step);
        };
        step();
      }),
    count - 1,
  );
  return (Date.now() - start) / 1000;
}

/** Milliseconds between frames while the window goes through the list: the median, and what 19 of 20 are within. */
export async function frameTimes(page) {
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
  return { median: Math.round(times[Math.floor(times.length / 2)]), most: Math.round(times[Math.floor(times.length * 0.95)]) };
}
