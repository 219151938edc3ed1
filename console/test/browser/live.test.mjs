// SPDX-License-Identifier: Apache-2.0
// Changes as they come, and a service that goes and comes back.

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { alerts, answer, close, now, row, see, subjects, until } from "./helpers.mjs";
import { system, useSystem } from "./system.mjs";

const fresh = (volume) => ({ identifier: `Fresh:${volume}`, bundle: "Disk", type: "AlmostFull", sentDate: now(), attributes: { volume } });

async function open(place = "#/alerts") {
  const page = await system.open(place);
  await page.locator(".va-list .va-row__subject a").first().waitFor();
  await until(page, () => document.querySelector(".va-nav__count") !== null);
  return page;
}

describe("a service that is watched", () => {
  useSystem();

  test("a new alert appears by itself at the top", async () => {
    await system.service.save(alerts(3));
    const page = await open();
    await system.service.save([fresh("/new")]);
    await until(page, () => document.querySelector(".va-row__subject a")?.textContent === "The volume /new is almost full");
    assert.equal((await subjects(page)).length, 4);
    await close(page);
  });

  test("under the reader's hand nothing moves: a button tells what is new", async () => {
    await system.service.save(alerts(80));
    const page = await open();
    await page.evaluate(() => window.scrollTo(0, 1500));
    // Which rows are in the page changes with the window; this one is in its middle from now on.
    const link = page.locator('[data-index="30"]');
    const before = await link.evaluate((element) => [element.textContent, element.getBoundingClientRect().top]);
    await system.service.save([fresh("/a"), fresh("/b")]);
    await see(page, "Show 2 new alerts");
    assert.deepEqual(await link.evaluate((element) => [element.textContent, element.getBoundingClientRect().top]), before);
    await page.getByRole("button", { name: "Show 2 new alerts" }).click();
    await until(page, () => window.scrollY === 0 && /volume \/[ab] is/.test(document.querySelector(".va-row__subject a")?.textContent ?? ""));
    await close(page);
  });

  test("what a filter does not let through is not announced", async () => {
    await system.service.save(alerts(30));
    const page = await open("#/alerts?bundle=Common");
    await page.locator(".va-row__subject a").first().focus();
    await system.service.save([fresh("/not-shown"), { identifier: "Test:new", bundle: "Common", type: "Test", sentDate: now() }]);
    await see(page, "Show 1 new alert");
    await close(page);
  });

  test("changes and deletions by others show in place", async () => {
    await system.service.save(alerts(5));
    const page = await open();
    const link = page.getByRole("link", { name: "The volume /volume4 is almost full" });
    await link.focus();
    await system.service.call("MarkAlertAsReadWithAlertId", { alertId: "Sample:4" });
    await until(page, () => document.querySelectorAll(".va-row--unread").length === 1);
    await system.service.call("DeleteAlertsWithIds", { alertIds: ["Sample:2"] });
    await until(page, () => document.querySelector(".va-row--deleted")?.textContent.includes("/volume2"));
    assert.equal(await link.evaluate((element) => element === document.activeElement), true);
    await close(page);
  });

  test("an open alert follows its changes", async () => {
    await system.service.save(alerts(1));
    const page = await system.open("#/alerts/Sample%3A0");
    await page.getByRole("button", { name: "Mark as resolved" }).waitFor();
    await until(page, () => document.querySelector(".va-nav__count") !== null);
    await system.service.call("MarkAlertAsResolvedWithAlertId", { alertId: "Sample:0" });
    await page.getByRole("button", { name: "Mark as resolved" }).waitFor({ state: "detached" });
    await close(page);
  });

  test("a service that restarts under the page: the view stays, and goes on by itself", async () => {
    await system.service.save(alerts(4));
    const page = await open();
    await system.service.stop();
    await see(page, "The alerts service is restarting");
    assert.equal((await subjects(page)).length, 4);
    await system.service.start();
    await page.getByText("The alerts service is restarting").waitFor({ state: "detached" });
    await system.service.save([fresh("/after")]);
    await until(page, () => document.querySelector(".va-row__subject a")?.textContent.includes("/after"));
    await close(page);
  });

  test("a service that is not running is said, and can be started in place", async () => {
    await system.service.stop();
    Object.assign(system.unit, { ActiveState: "failed", SubState: "failed", Result: "exit-code" });
    const page = await system.open("#/alerts");
    await see(page, "The alerts service is not running");
    await see(page, "failed");
    await see(page, "(exit-code)");
    await page.getByRole("button", { name: "Start the service" }).click();
    await see(page, "it appears here by itself");
    assert.ok(system.commands.some(([name, verb]) => name === "systemctl" && verb === "start"));
    await close(page);
  });

  test("a service that cannot be started says why", async () => {
    await system.service.stop();
    Object.assign(system.unit, { ActiveState: "inactive", SubState: "dead", Result: "success" });
    system.unitError = "Job for velto-alerts.service failed";
    const page = await system.open("#/alerts");
    await page.getByRole("button", { name: "Start the service" }).click();
    await see(page, "systemd refused");
    await see(page, "Job for velto-alerts.service failed");
    // It comes by another hand, and the page with it.
    await system.service.start();
    await see(page, "it appears here by itself");
    await close(page);
  });

  test("Cockpit's menu is told how many are unresolved", async () => {
    await system.service.save(alerts(10));
    const page = await system.open("about:blank");
    // The menu's part of Cockpit listens to what pages tell their transport; so do we, from the beginning.
    await page.addInitScript(() => {
      document.addEventListener("DOMContentLoaded", () => {
        const { transport } = window.cockpit;
        const { control } = transport;
        transport.control = (command, options) => {
          control(command, options);
          if (command === "notify" && options.page_status.title) window.told = options.page_status;
        };
      }, { once: true });
    });
    await page.goto(system.address);
    await until(page, () => window.told !== undefined);
    const told = await page.evaluate(() => window.told);
    assert.deepEqual(told, { type: "warning", title: "2 unresolved alerts, 3 unread" });
    await system.service.save([fresh("/more")]);
    await until(page, () => window.told.title === "3 unresolved alerts, 4 unread");
    await close(page);
  });

  test("who has the row's link in focus goes up and down with the keys", async () => {
    await system.service.save(alerts(50));
    const page = await open();
    await page.locator(".va-row__subject a").first().focus();
    for (let step = 1; step <= 30; step++) {
      await page.keyboard.press("ArrowDown");
      await until(page, (index) => document.activeElement?.dataset.index === index, String(step));
    }
    assert.equal(await row(page, "Test alert").count() > 0, true);
    const isSeen = await page.evaluate(() => {
      const { top, bottom } = document.activeElement.getBoundingClientRect();
      return top >= 0 && bottom <= window.innerHeight;
    });
    assert.equal(isSeen, true);
    await close(page);
  });

  test("a recovery action whose service ends under it is not run again", async () => {
    await system.service.save([fresh("/held")]);
    await system.service.holdActions();
    const page = await system.open("#/alerts/Fresh%3A%2Fheld");
    await page.getByRole("button", { name: "Empty the package cache" }).click();
    await answer(page, "Run now");
    await see(page, "is running");
    while ((await system.service.actionRuns()) === 0) await new Promise((resolve) => setTimeout(resolve, 10));
    await system.service.kill();
    await see(page, "“Empty the package cache” failed");
    await see(page, "The connection to the service ended before it answered.");
    await system.service.start();
    await page.getByText("The alerts service is restarting").waitFor({ state: "detached" });
    await page.getByRole("button", { name: "Mark as resolved" }).waitFor();
    assert.equal(await system.service.actionRuns(), 1);
    await close(page);
  });

  test("a store that cannot be opened is said, with what to do, and the page goes on once it can", async () => {
    await system.service.stop();
    await system.service.hideStore();
    try {
      await system.service.start();
      const page = await system.open("#/alerts");
      await see(page, "The alerts could not be read");
      await see(page, "Library/Velto does not exist; create it");
      await page.getByRole("link", { name: "Health" }).click();
      await see(page, "The store cannot be used");
      await see(page, "then restart the service");
      await close(page);
    } finally {
      await system.service.stop();
      await system.service.bringBackStore();
    }
  });
});
