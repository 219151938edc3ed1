// SPDX-License-Identifier: Apache-2.0
// Alerts a day and by age, and the service's health.

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { alerts, close, see, until } from "./helpers.mjs";
import { system, useSystem } from "./system.mjs";

describe("the history", () => {
  useSystem();

  test("the history counts the reader's days, and leads to the alerts of one", async () => {
    await system.service.save(alerts(60, 86400));
    const page = await system.open("#/history", { zone: "UTC" }); // where every day has 24 hours
    await see(page, "Alerts a day, the last 90 days");
    await until(page, () => document.querySelectorAll(".va-lane").length === 3);
    assert.deepEqual(await page.locator(".va-lane__name").allInnerTexts(), ["All bundles 60", "Disk space 40", "Common 20"]);
    await page.getByRole("button", { name: "The same as a table" }).click();
    const table = page.getByRole("table", { name: "Alerts a day" });
    assert.equal(await table.locator("tbody tr").count(), 60);
    await page.locator(".va-lane").nth(1).locator("a").last().click();
    await until(page, () => window.location.hash.includes("bundle=Disk") && document.querySelectorAll(".va-row__subject a").length === 1);
    await close(page);
  });

  test("a day when clocks are changed has all its alerts", async () => {
    // 25 hours in Berlin; one alert at the beginning of each of them, of the hour before and of the hour after.
    const start = Date.parse("2026-10-24T22:00:00Z") / 1000 - 978307200;
    await system.service.save(Array.from({ length: 27 }, (_value, hour) => ({ identifier: `Hour:${hour}`, bundle: "Disk", type: "AlmostFull", sentDate: start + (hour - 1) * 3600, attributes: {} })));
    const page = await system.open("#/health");
    await page.clock.setFixedTime(new Date("2026-11-05T12:00:00Z"));
    await page.evaluate(() => (window.location.hash = "#/history"));
    await page.getByRole("button", { name: "The same as a table" }).click();
    const rows = await page.getByRole("table", { name: "Alerts a day" }).locator("tbody tr").allInnerTexts();
    assert.deepEqual(rows.map((text) => text.replace(/\s+/g, " ").trim()), ["Oct 26, 2026 Disk space 1", "Oct 25, 2026 Disk space 25", "Oct 24, 2026 Disk space 1"]);
    await close(page);
  });

  test("open alerts are counted by their age, and each age leads to its alerts", async () => {
    await system.service.save(alerts(100, 86400).map((alert) => ({ ...alert, resolvedDate: undefined })));
    const page = await system.open("#/history");
    const table = page.getByRole("table", { name: "Open alerts by age" });
    await table.waitFor();
    const counts = (await table.locator("tbody tr").allInnerTexts()).map((text) => parseInt(text.replace(/^.*days?\s*/, ""), 10));
    assert.deepEqual(counts, [1, 6, 23, 60, 10]);
    await table.getByRole("link", { name: "more than 90 days" }).click();
    await until(page, () => window.location.hash.includes("unresolved=1") && /^1\d alerts$/.test(document.querySelector(".va-list-head [role=status]")?.textContent ?? ""));
    await close(page);
  });
});

describe("the health", () => {
  useSystem();

  test("health tells of the service, its store and its unit, and restarts it", async () => {
    await system.service.save(alerts(10));
    const page = await system.open("#/health");
    await see(page, "alertData.db");
    await see(page, "No failure since the service started");
    await see(page, "starts with the machine");
    assert.match(await page.locator("main").innerText(), /Unresolved\s+2/);
    await page.getByRole("button", { name: "Restart the service" }).click();
    await until(page, () => document.querySelector(".va-control button")?.disabled === false);
    assert.ok(system.commands.some(([name, verb]) => name === "systemctl" && verb === "restart"));
    await see(page, "alertData.db");
    await close(page);
  });
});
