// SPDX-License-Identifier: Apache-2.0
// Who is told, the history, and the service's health.

import assert from "node:assert/strict";
import { after, before, beforeEach, test } from "node:test";

import { alerts, answer, checkQuiet, see, until } from "./helpers.mjs";
import { scriptedOnly, System } from "./system.mjs";

let system;
before(async () => (system = await System.start()));
after(() => system.stop());
beforeEach(() => system.reset());

async function close(page) {
  checkQuiet(page);
  await page.context().close();
}

test("mail recipients are added, given a language, and removed", async () => {
  const page = await system.open("#/telling");
  await see(page, "Nobody is told by mail yet.");
  await page.getByLabel("Address", { exact: true }).fill("nobody");
  assert.equal(await page.getByRole("button", { name: "Add recipient" }).isDisabled(), true);
  await page.getByLabel("Address", { exact: true }).fill("Ann <ann@example.org>");
  await page.getByRole("button", { name: "Add recipient" }).click();
  const language = page.getByLabel("Language of Ann <ann@example.org>");
  await language.waitFor();
  await language.selectOption({ label: "French" });
  await until(page, () => document.querySelector("#mail-language-0")?.value === "fr" && !document.querySelector("#mail-language-0").disabled);
  assert.deepEqual((await system.service.call("GetMailRecipients", {})).recipients, [{ address: "Ann <ann@example.org>", locale: "fr" }]);
  await page.getByRole("button", { name: "Remove Ann" }).click();
  await answer(page, "Remove");
  await see(page, "Nobody is told by mail yet.");
  assert.deepEqual((await system.service.call("GetMailRecipients", {})).recipients, []);
  await close(page);
});

test("another's change of the recipients is seen, and not overwritten", async () => {
  await system.service.call("AddMailRecipients", { recipients: [{ address: "a@example.org", locale: "en" }] });
  const page = await system.open("#/telling");
  await page.getByLabel("Language of a@example.org").waitFor();
  await until(page, () => document.querySelector(".va-gateway p") !== null);
  await system.service.call("AddMailRecipients", { recipients: [{ address: "b@example.org", locale: "en" }] });
  await page.getByLabel("Language of a@example.org").selectOption({ label: "German" });
  await page.getByLabel("Language of b@example.org").waitFor();
  await until(page, () => document.querySelector("#mail-language-0")?.value === "de" || document.querySelector("#mail-language-1")?.value === "de");
  const { recipients } = await system.service.call("GetMailRecipients", {});
  assert.deepEqual(recipients.map(({ address, locale }) => `${address} ${locale}`).sort(), ["a@example.org de", "b@example.org en"]);
  await close(page);
});

test("push devices are added by their token, switched off, and removed", async () => {
  const page = await system.open("#/telling");
  await see(page, "No device is told by push yet.");
  await page.getByLabel("Name", { exact: true }).fill("Ann's phone");
  await page.getByLabel("Identifier of the device").fill("guid-1");
  await page.getByLabel("Token, in hexadecimal or base64").fill("0a 0b");
  await page.getByRole("button", { name: "Add device" }).click();
  await page.getByLabel("Tell Ann's phone").waitFor();
  const device = async () => (await system.service.call("GetPushRecipients", {})).recipients[0];
  assert.deepEqual([(await device()).token, (await device()).enabled], ["Cgs=", true]);
  await page.getByLabel("Tell Ann's phone").press(" ");
  await until(page, () => document.querySelector("#push-enabled-0")?.checked === false && !document.querySelector("#push-enabled-0").disabled);
  assert.deepEqual([(await device()).enabled, (await device()).token], [false, "Cgs="]);
  await page.getByRole("button", { name: "Remove Ann's phone" }).click();
  await answer(page, "Remove");
  await see(page, "No device is told by push yet.");
  await close(page);
});

test("a bundle's switches are set one by one", async () => {
  const page = await system.open("#/telling");
  await page.getByLabel("Disk space by push").waitFor();
  await page.getByLabel("Disk space by push").press(" ");
  await until(page, () => document.querySelector("#push-Disk")?.checked === false && !document.querySelector("#push-Disk").disabled);
  const { settings } = await system.service.call("GetAlertBundleSettings", {});
  assert.deepEqual([settings.Disk.mailEnabled, settings.Disk.pushEnabled], [true, false]);
  assert.deepEqual([settings.Common.mailEnabled, settings.Common.pushEnabled], [true, true]);
  await page.getByLabel("Disk space by mail").press(" ");
  await see(page, "Its alerts are dropped, and not kept either.");
  await system.service.call("SetAlertBundleSettings", { settings: { Disk: { mailEnabled: true, pushEnabled: true } } });
  await page.getByText("Its alerts are dropped").waitFor({ state: "detached" });
  await close(page);
});

test("a test by mail shows what came of it, and stands in the last deliveries", async () => {
  await system.service.call("AddMailRecipients", { recipients: [{ address: "ann@example.org", locale: "en" }] });
  const page = await system.open("#/telling");
  await page.getByRole("button", { name: "Send a test by mail" }).click();
  await answer(page, "Send");
  await see(page, "The test was delivered");
  await see(page, "1 delivered, 0 failed.");
  const table = page.getByRole("table", { name: "Last deliveries" });
  await table.getByText("ann@example.org").waitFor();
  assert.match(await table.innerText(), /Mail[\s\S]*delivered/);
  await close(page);
});

test("a test by push that nobody receives says so", async () => {
  const page = await system.open("#/telling");
  await page.getByRole("button", { name: "Send a test by push" }).click();
  await answer(page, "Send");
  await see(page, "There was nobody to tell");
  await close(page);
});

test("a test that fails shows what the channel answered", scriptedOnly, async () => {
  await system.service.call("AddMailRecipients", { recipients: [{ address: "ann@example.org", locale: "en" }] });
  const text = "the mail program ended with status 75";
  system.service.deliveryError = { channel: "mail", text, error: { domain: "VeltoAlertsMailer", code: 75, userInfo: {} } };
  const page = await system.open("#/telling");
  await page.getByRole("button", { name: "Send a test by mail" }).click();
  await answer(page, "Send");
  await see(page, "The test was not delivered to everybody");
  await see(page, "Error 75 of VeltoAlertsMailer");
  await see(page, "failed with status 75");
  await page.getByRole("link", { name: "Health" }).click();
  await see(page, "Last failure of Mail");
  await see(page, text);
  await close(page);
});

test("a change that fails is said, and the switch shows what is", scriptedOnly, async () => {
  const failing = { error: { domain: "VeltoAlertsStore", code: 100, userInfo: { NSLocalizedDescription: "the disk is full" } } };
  system.service.script("SetAlertBundleSettings", (client) => (system.service.reply(client, { parameters: failing }), true));
  const page = await system.open("#/telling");
  await page.getByLabel("Disk space by mail").press(" ");
  await see(page, "The change was not made");
  await see(page, "the disk is full");
  assert.equal(await page.getByLabel("Disk space by mail").isChecked(), true);
  assert.equal(system.service.callsOf("SetAlertBundleSettings").length, 1);
  await close(page);
});

test("the history counts the reader's days, and leads to the alerts of one", async () => {
  await system.service.save(alerts(60, 86400));
  const page = await system.open("#/history");
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
  // 25 hours in Berlin; one alert in each of them and one before and after.
  const start = Date.parse("2026-10-24T22:30:00Z") / 1000 - 978307200;
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

test("a store that cannot be opened is said, with what to do", scriptedOnly, async () => {
  system.service.storeProblem = "/Library/Velto does not exist; create it";
  const page = await system.open("#/health");
  await see(page, "The store cannot be used");
  await see(page, "/Library/Velto does not exist; create it");
  await close(page);
});
