// SPDX-License-Identifier: Apache-2.0
// Makes the pictures of docs/pictures; in a folder that is given, of each view and state: light, dark, narrow, and in German.
// usage: node scripts/pictures.mjs [folder]    after npm run build, with the daemon of VELTO_BUILD (build/release)

import { mkdir } from "node:fs/promises";
import { join } from "node:path";
import { fileURLToPath } from "node:url";

import { System } from "../test/browser/system.mjs";

const folder = process.argv[2] ?? fileURLToPath(new URL("../../docs/pictures", import.meta.url));
/** Those that documents show. */
const SHOWN = ["alerts-light", "alerts-narrow", "detail-dark", "history-light", "telling-light"];
const isAll = process.argv[2] !== undefined;

/** A moment at which every picture is taken, so that pictures differ where the page does. */
const NOW = Date.parse("2026-06-15T10:30:00Z");
const now = NOW / 1000 - 978307200;

const VOLUMES = ["/home", "/var", "/srv/backup", "/srv/media", "/"];

function sampleAlerts() {
  return Array.from({ length: 160 }, (_value, index) => {
    const sentDate = now - 900 - index * 43_000 - (index % 7) * 5_000;
    const isDisk = index % 4 !== 3;
    return {
      identifier: `Sample:${index}`,
      bundle: isDisk ? "Disk" : "Common",
      type: isDisk ? "AlmostFull" : "Test",
      creationDate: sentDate,
      sentDate,
      ...(index < 3 ? {} : { readDate: sentDate + 3000 }),
      ...(index % 6 === 0 ? {} : { resolvedDate: sentDate + 9000 }),
      attributes: isDisk ? { volume: VOLUMES[index % VOLUMES.length], percent: 90 + (index % 9) } : {},
    };
  });
}

const VIEWS = [
  ["alerts", "#/alerts", ".va-row__subject a"],
  ["nothing", "#/alerts?text=nothing", ".pf-v6-c-empty-state"],
  ["detail", "#/alerts/Sample%3A0", ".va-message"],
  ["history", "#/history", ".va-lane"],
  ["telling", "#/telling", "td .pf-v6-c-label"],
  ["health", "#/health", ".va-control"],
];
const LOOKS = [
  ["light", { theme: "light", width: 1280, height: 800 }],
  ["dark", { theme: "dark", width: 1280, height: 800 }],
  ["narrow", { theme: "light", width: 320, height: 640 }],
  ["german", { theme: "light", width: 1280, height: 800, locale: "de-DE" }],
];

async function take(page, name) {
  await page.waitForFunction(() => document.querySelector(".pf-v6-c-spinner, [aria-busy=true]") === null);
  // What is beneath the mouse, or has the focus, would be marked.
  await page.mouse.move(0, 0);
  await page.evaluate(() => document.activeElement?.blur());
  await page.screenshot({ path: join(folder, `${name}.png`), fullPage: !/^(alerts|question)/.test(name), animations: "disabled" });
}

async function open(system, place, look) {
  const page = await system.open("about:blank", look);
  await page.clock.setFixedTime(NOW);
  await page.goto(system.address + place);
  return page;
}

async function takeErrors(system) {
  await system.service.stop();
  await system.service.hideStore();
  await system.service.start();
  const broken = await open(system, "#/health", LOOKS[0][1]);
  await broken.locator(".va-path").waitFor();
  await take(broken, "no-store");
  const list = await open(system, "#/alerts", LOOKS[0][1]);
  await list.locator(".va-main [role=alert]").waitFor();
  await take(list, "no-store-list");
  await system.service.stop();
  Object.assign(system.unit, { ActiveState: "failed", SubState: "failed", Result: "exit-code" });
  const absent = await open(system, "#/alerts", LOOKS[0][1]);
  await absent.locator(".va-control button").waitFor();
  await take(absent, "absent");
}

async function takeQuestion(system) {
  const page = await open(system, "#/alerts", LOOKS[0][1]);
  await page.getByLabel("Select all that are listed").check();
  await page.getByRole("button", { name: "Delete…" }).click();
  await page.getByRole("dialog").waitFor();
  await take(page, "question");
}

async function takeEmpty(system) {
  for (const [view, place, rest] of [["alerts", "#/alerts", ".pf-v6-c-empty-state"], ["history", "#/history", ".pf-v6-c-empty-state"], ["telling", "#/telling", "#mail-Disk"]]) {
    const page = await open(system, place, LOOKS[0][1]);
    await page.locator(rest).first().waitFor();
    await take(page, `empty-${view}`);
  }
}

async function takeDenied() {
  const system = await System.start({ isOrdinary: true, canGrant: true });
  try {
    await system.reset();
    const page = await open(system, "#/alerts", LOOKS[0][1]);
    await page.locator(".va-way-out > *").first().waitFor();
    await take(page, "denied");
  } finally {
    await system.stop();
  }
}

await mkdir(folder, { recursive: true });
const system = await System.start();
try {
  await system.reset();
  if (isAll) await takeEmpty(system);
  await system.service.save(sampleAlerts());
  await system.service.call("AddMailRecipients", { recipients: [{ address: "Ann Example <ann@example.org>", locale: "de" }, { address: "ops@example.org", locale: "en" }] });
  await system.service.call("AddPushRecipients", { recipients: [{ name: "Ann’s phone", guid: "one", token: "CgsMDQ4PEBE=", locale: "de" }] });
  system.journal = ["ann@example.org", "ops@example.org", "Ann’s phone"].map((VELTO_RECIPIENTS, index) => ({
    __REALTIME_TIMESTAMP: String((NOW - 900_000 - index * 1200) * 1000),
    VELTO_ALERT_ID: "Sample:0",
    VELTO_CHANNEL: index === 2 ? "push" : "mail",
    VELTO_RECIPIENTS,
    VELTO_LOCALE: index === 1 ? "en" : "de",
    VELTO_RESULT: index === 1 ? "failed" : "delivered",
    VELTO_STATUS: index === 1 ? "75" : "0",
    VELTO_DURATION_USEC: String(40_000 + index * 9_000),
  }));
  for (const [look, options] of LOOKS) {
    for (const [view, place, rest] of VIEWS) {
      if (!isAll && !SHOWN.includes(`${view}-${look}`)) continue;
      const page = await open(system, place, options);
      await page.locator(rest).first().waitFor();
      await take(page, `${view}-${look}`);
      await page.context().close();
    }
  }
  if (isAll) await takeQuestion(system);
  if (isAll) await takeErrors(system);
} finally {
  await system.stop();
}
if (isAll) await takeDenied();
