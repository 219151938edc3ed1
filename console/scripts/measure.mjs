// SPDX-License-Identifier: Apache-2.0
// Takes the numbers that docs/performance.md has of the page, with the daemon of VELTO_BUILD (build/release).
// usage: node scripts/measure.mjs    after npm run build

import { loadavg } from "node:os";

import { alerts } from "../test/browser/helpers.mjs";
import { firstRow, frameTimes, memory, scrollToEnd } from "../test/browser/measure.mjs";
import { System } from "../test/browser/system.mjs";

const LOADS = 15;

function load() {
  return `load of the last minute ${loadavg()[0].toFixed(1)}`;
}

async function measureFirstRow(system) {
  await system.service.save(alerts(10_000, 60));
  const times = [];
  for (let turn = 0; turn < LOADS; turn++) times.push(Math.round(await firstRow(system)));
  times.sort((a, b) => a - b);
  console.log(`10,000 alerts, first rows after the page's load: median ${times[(LOADS - 1) / 2]} ms of ${times.join(", ")}; ${load()}`);
}

async function measureMany(system, count) {
  await system.service.save(alerts(count, 60));
  const page = await system.open("#/alerts");
  await page.locator(".va-row__subject a").first().waitFor();
  const before = await memory(page);
  const seconds = await scrollToEnd(page, count);
  const after = await memory(page);
  const { median, most } = await frameTimes(page);
  console.log(`${count} alerts: read to the end in ${seconds.toFixed(1)} s; memory ${before.toFixed(0)} MB, then ${after.toFixed(0)} MB; ${load()}`);
  console.log(`frames while scrolling through them: median ${median} ms, 19 of 20 within ${most} ms`);
}

const system = await System.start();
try {
  await system.reset();
  await measureFirstRow(system);
  await system.reset();
  await measureMany(system, 100_000);
} finally {
  await system.stop();
}
