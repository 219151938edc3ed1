// SPDX-License-Identifier: Apache-2.0
// Answers that are late, cut off, out of shape or errors, and alerts that mean harm. All but the last are for the
// scripted service alone.

import assert from "node:assert/strict";
import { after, before, beforeEach, test } from "node:test";

import { alerts, answer, checkNoOverflow, checkQuiet, now, see, subjects, until } from "./helpers.mjs";
import { scriptedOnly, System } from "./system.mjs";

let system;
before(async () => (system = await System.start()));
after(() => system.stop());
beforeEach(() => system.reset());

const BAD = {
  "cut off": (client) => client.end('{"parameters":{"items":['),
  "no JSON": (client) => client.write("<html>\0"),
  "out of shape": (client) => client.write('{"parameters":{"items":[{"alert":{"sentDate":"yesterday"}}]}}\0'),
  "an error": (client) => client.write('{"error":"com.ulmora.velto.AlertsMonitor.Broken<b>","parameters":{}}\0'),
};

for (const [what, deal] of Object.entries(BAD)) {
  test(`a list whose answer is ${what}: said in place, and asked again when the reader wants`, scriptedOnly, async () => {
    await system.service.save(alerts(3));
    system.service.script("List", (client) => (deal(client), true));
    const page = await system.open("#/alerts");
    await see(page, "The alerts could not be read");
    const asked = system.service.callsOf("List").length;
    // The rest of the page is usable.
    await page.getByRole("link", { name: "Health" }).click();
    await see(page, "No failure since the service started");
    await page.getByRole("link", { name: "Alerts", exact: false }).first().click();
    await see(page, "The alerts could not be read");
    assert.ok(system.service.callsOf("List").length <= asked + 1, "asked once for each look");
    await system.service.reset();
    await page.getByRole("button", { name: "Try again" }).click();
    await until(page, () => document.querySelectorAll(".va-row__subject a").length === 3);
    checkQuiet(page);
    await page.context().close();
  });
}

test("a late list: the page waits, says it, and shows it when it comes", scriptedOnly, async () => {
  await system.service.save(alerts(3));
  let release;
  system.service.script("List", () => new Promise((resolve) => (release = () => resolve(false))));
  const page = await system.open("#/alerts");
  await page.locator("[role=status] .pf-v6-c-spinner").waitFor();
  await until(page, () => document.querySelector(".va-nav__count") !== null);
  release();
  await until(page, () => document.querySelectorAll(".va-row__subject a").length === 3);
  await page.context().close();
});

test("a deletion whose answer is cut off is not sent again", scriptedOnly, async () => {
  await system.service.save(alerts(3));
  const page = await system.open("#/alerts");
  await page.getByLabel("Select The volume /volume1 is almost full").check();
  system.service.script("DeleteAlertsWithIds", (client) => (client.end('{"param'), true));
  await page.getByRole("button", { name: "Delete…" }).click();
  await page.getByRole("dialog").getByRole("button", { name: "Delete", exact: true }).click();
  await see(page, "The alerts could not be deleted");
  await see(page, "The connection to the service ended before it answered.");
  await answer(page, "Cancel");
  assert.equal(system.service.callsOf("DeleteAlertsWithIds").length, 1);
  assert.equal((await subjects(page)).length, 3);
  checkQuiet(page);
  await page.context().close();
});

test("a recovery action whose service ends under it is not run again", scriptedOnly, async () => {
  await system.service.save(alerts(2));
  const page = await system.open("#/alerts/Sample%3A1");
  await page.getByRole("button", { name: "Empty the package cache" }).click();
  let isAsked;
  const asked = new Promise((resolve) => (isAsked = resolve));
  system.service.script("PerformRecoveryAction", () => (isAsked(), true));
  await answer(page, "Run now");
  await asked;
  await see(page, "is running");
  await system.service.stop();
  await see(page, "failed");
  await system.service.start();
  await page.getByText("The alerts service is restarting").waitFor({ state: "detached" });
  assert.equal(system.service.callsOf("PerformRecoveryAction").length, 1);
  await page.context().close();
});

test("a page of the list that fails keeps what was read", scriptedOnly, async () => {
  await system.service.save(alerts(150));
  system.service.script("List", (client, { parameters }) => parameters.after !== undefined && (client.write('{"error":"x.Broken"}\0'), true));
  const page = await system.open("#/alerts");
  await see(page, "More than 100 alerts");
  await page.keyboard.press("End");
  await see(page, "The alerts could not be read");
  await system.service.reset();
  await page.getByRole("button", { name: "Try again" }).click();
  await see(page, "150 alerts");
  await page.context().close();
});

test("hostile texts are texts", async () => {
  const evil = '<img src=x onerror="window.evil=1"><script>window.evil=2</script>';
  const rtl = "\u202Egnp.exe \u2067\u200F";
  const megabyte = "x".repeat(500_000) + "<b>end</b>";
  const make = (identifier, volume) => ({ identifier, bundle: "Disk", type: "AlmostFull", sentDate: now(), attributes: { volume, [evil]: evil, constructor: "c" } });
  await system.service.save([make("javascript:alert(1)", evil), make(`Evil:${rtl}`, rtl), make("Long:1", megabyte)]);
  const page = await system.open("#/alerts", { width: 1000 });
  await until(page, () => document.querySelectorAll(".va-row__subject a").length === 3);
  await checkNoOverflow(page, "the list");
  for (const index of [0, 1, 2]) {
    await page.locator(".va-row__subject a").nth(index).click();
    await page.locator(".va-message").waitFor();
    await checkNoOverflow(page, `alert ${index}`);
    assert.ok((await page.locator("article").innerText()).includes("<img src=x onerror"));
    assert.ok((await page.evaluate(() => document.body.textContent.length)) < 200_000, "a megabyte is shown in parts");
    await page.getByRole("button", { name: "All alerts" }).click();
    await page.locator(".va-row__subject a").first().waitFor();
  }
  assert.equal(await page.evaluate(() => window.evil), undefined);
  assert.equal(await page.locator("img, script:not([src])").count(), 0);
  checkQuiet(page);
  await page.context().close();
});
