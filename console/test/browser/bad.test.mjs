// SPDX-License-Identifier: Apache-2.0
// What no daemon can be made to do when a test wants it: answers that are late, cut off, out of shape or errors, and a
// daemon of an earlier time. The page says it in place, goes on where it can, and sends nothing again that changes something.

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { failure } from "../peer/administration.mjs";
import { alerts, answer, close, see, subjects, until } from "./helpers.mjs";
import { system, useSystem } from "./system.mjs";

const BAD = {
  "cut off": (client) => client.end('{"parameters":{"items":['),
  "no JSON": (client) => client.write("<html>\0"),
  "out of shape": (client) => client.write('{"parameters":{"items":[{"alert":{"sentDate":"yesterday"}}]}}\0'),
  "an error": (client) => client.write('{"error":"com.ulmora.velto.AlertsMonitor.Broken<b>","parameters":{}}\0'),
};

/** A page that speaks to a scripted service with so many alerts. */
async function open(count, place = "#/alerts") {
  await system.scripted.save(alerts(count));
  return system.open(place, { service: system.scripted });
}

function rows(page, count) {
  return until(page, (wanted) => document.querySelectorAll(".va-row__subject a").length === wanted, count);
}

describe("a service that misbehaves", () => {
  useSystem();

  for (const [what, deal] of Object.entries(BAD)) {
    test(`a list whose answer is ${what}: said in place, and asked again when the reader wants`, async () => {
      const { scripted } = system;
      scripted.script("List", (client) => (deal(client), true));
      const page = await open(3);
      await see(page, "The alerts could not be read");
      const asked = scripted.callsOf("List").length;
      // The rest of the page is usable.
      await page.getByRole("link", { name: "Health" }).click();
      await see(page, "No failure since the service started");
      await page.getByRole("link", { name: "Alerts", exact: false }).first().click();
      await see(page, "The alerts could not be read");
      assert.ok(scripted.callsOf("List").length <= asked + 1, "asked once for each look");
      scripted.behave();
      await page.getByRole("button", { name: "Try again" }).click();
      await rows(page, 3);
      await close(page);
    });
  }

  test("a late list: the page waits, says it, and shows it when it comes", async () => {
    let release;
    system.scripted.script("List", () => new Promise((resolve) => (release = () => resolve(false))));
    const page = await open(3);
    await page.locator("[role=status] .pf-v6-c-spinner").waitFor();
    await page.locator(".va-nav__count").waitFor();
    release();
    await rows(page, 3);
    await close(page);
  });

  test("a page of the list that fails keeps what was read", async () => {
    system.scripted.script("List", (client, { parameters }) => parameters.after !== undefined && (client.write('{"error":"x.Broken"}\0'), true));
    const page = await open(150);
    await see(page, "More than 100 alerts");
    await page.evaluate(() => window.scrollTo(0, document.documentElement.scrollHeight));
    await see(page, "The alerts could not be read");
    system.scripted.behave();
    await page.getByRole("button", { name: "Try again" }).click();
    await see(page, "150 alerts");
    await close(page);
  });

  test("a deletion whose answer is cut off is not sent again", async () => {
    const { scripted } = system;
    const page = await open(3);
    await page.getByLabel("Select The volume /volume1 is almost full").check();
    scripted.script("DeleteAlertsWithIds", (client) => (client.end('{"param'), true));
    await page.getByRole("button", { name: "Delete…" }).click();
    await page.getByRole("dialog").getByRole("button", { name: "Delete", exact: true }).click();
    await see(page, "The alerts could not be deleted");
    await see(page, "The connection to the service ended before it answered.");
    await answer(page, "Cancel");
    assert.equal(scripted.callsOf("DeleteAlertsWithIds").length, 1);
    assert.equal((await subjects(page)).length, 3);
    await close(page);
  });

  test("a mark whose answer makes no sense is not sent again, and the list goes on", async () => {
    const { scripted } = system;
    const page = await open(3);
    await page.getByLabel("Select The volume /volume1 is almost full").check();
    scripted.script("MarkAlertAsResolvedWithAlertId", (client) => (client.write('{"parameters":{"error":"no"}}\0'), true));
    await page.getByRole("button", { name: "Mark as resolved" }).click();
    await see(page, "1 alert could not be changed");
    await see(page, "The service's answer could not be understood.");
    assert.equal(scripted.callsOf("MarkAlertAsResolvedWithAlertId").length, 1);
    scripted.behave();
    await page.getByRole("button", { name: "Mark as resolved" }).click();
    await see(page, "1 alert marked as resolved");
    await close(page);
  });

  test("of many marks some fail: the others are done, and the failure is told", async () => {
    const { scripted } = system;
    let count = 0;
    scripted.script("MarkAlertAsResolvedWithAlertId", (client) => {
      if (++count !== 2) return false;
      scripted.reply(client, { parameters: failure("the disk is full") });
      return true;
    });
    const page = await open(6);
    await rows(page, 6);
    await page.getByLabel("Select all that are listed").check();
    await page.getByRole("button", { name: "Mark as resolved" }).click();
    await see(page, "5 alerts marked as resolved. 1 alert could not be changed");
    await see(page, "the disk is full");
    assert.equal(count, 6, "nothing is tried twice");
    await close(page);
  });

  test("a change that fails is said, and the switch shows what is", async () => {
    const { scripted } = system;
    scripted.script("SetAlertBundleSettings", (client) => (scripted.reply(client, { parameters: failure("the disk is full") }), true));
    const page = await open(0, "#/telling");
    await page.getByLabel("Disk space by mail").press(" ");
    await see(page, "The change was not made");
    await see(page, "the disk is full");
    assert.equal(await page.getByLabel("Disk space by mail").isChecked(), true);
    assert.equal(scripted.callsOf("SetAlertBundleSettings").length, 1);
    await close(page);
  });

  test("an old service is told from one that is gone", async () => {
    const { scripted } = system;
    scripted.isOld = true;
    const page = await open(0);
    await see(page, "The alerts service is too old for this page");
    await see(page, "Update its package; if that has been done, restart the service.");
    system.onStart = () => (scripted.isOld = false);
    await page.getByRole("button", { name: "Restart the service" }).click();
    await see(page, "it appears here by itself");
    await close(page);
  });

  test("a service that does not make sense is said, with what it said", async () => {
    const { scripted } = system;
    scripted.script("Follow", (client) => (client.write('{"parameters":{"sequence":"one"},"continues":true}\0'), true));
    const page = await open(0);
    await see(page, "The alerts service gives no proper answer");
    await see(page, "sequence is no number");
    scripted.behave();
    await see(page, "it appears here by itself");
    await close(page);
  });
});
