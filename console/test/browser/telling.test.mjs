// SPDX-License-Identifier: Apache-2.0
// Who is told of alerts, and what came of it.

import assert from "node:assert/strict";
import { after, before, describe, test } from "node:test";

import { Gateway, token } from "../peer/Gateway.mjs";
import { answer, close, see, until } from "./helpers.mjs";
import { system, useSystem } from "./system.mjs";

async function addMail(address) {
  await system.service.call("AddMailRecipients", { recipients: [{ address, locale: "en" }] });
}

async function addDevice(name, locale, deed) {
  await system.service.call("AddPushRecipients", { recipients: [{ name, guid: name, token: token(deed), locale }] });
}

async function sendTest(page, way) {
  await page.getByRole("button", { name: `Send a test by ${way}` }).click();
  await answer(page, "Send");
}

describe("those who are told", () => {
  useSystem();

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
});

describe("tests of the ways", () => {
  let gateway;
  useSystem();
  before(async () => (gateway = await Gateway.start(system.service.root)));
  after(() => gateway?.stop());

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

  test("a test by mail that fails shows what the mail program answered", async () => {
    await addMail("ann@example.org");
    await system.service.failMail(75);
    const page = await system.open("#/telling");
    await sendTest(page, "mail");
    await see(page, "The test was not delivered to everybody");
    await see(page, "0 delivered, 1 failed.");
    await see(page, "failed with status 75");
    await page.getByRole("link", { name: "Health" }).click();
    await see(page, "Last failure of Mail");
    await see(page, "Look at the mail program's own log, then send a test.");
    await close(page);
  });

  test("a test by push shows what the gateway answered, and the gateway's state", async () => {
    await addDevice("Phone", "en", "ok");
    const page = await system.open("#/telling");
    await sendTest(page, "push");
    await see(page, "The test was delivered");
    await until(page, () => document.querySelector(".va-gateway")?.innerText.includes("answers"));
    await addDevice("Old phone", "de", "status 410 gone for good");
    await sendTest(page, "push");
    await see(page, "1 delivered, 1 failed.");
    await see(page, "gone for good");
    await until(page, () => document.querySelector(".va-gateway")?.innerText.includes("has failed"));
    const table = page.getByRole("table", { name: "Last deliveries" });
    await table.getByText("failed with status 410").waitFor();
    await table.getByText("Old phone").waitFor();
    await close(page);
  });

  test("the last deliveries lead to their alerts, and a journal that cannot be read is said", async () => {
    await addMail("ann@example.org");
    await system.service.call("PostAlert", { alert: { bundle: "Disk", type: "AlmostFull", attributes: { volume: "/var", percent: 91 } } });
    const page = await system.open("#/telling");
    await page.getByRole("table", { name: "Last deliveries" }).getByRole("link").first().click();
    await see(page, "The volume /var is almost full");
    system.journalError = "No journal files were opened";
    await page.getByRole("link", { name: "Notifications" }).click();
    await see(page, "The journal could not be read");
    await see(page, "No journal files were opened");
    system.journalError = undefined;
    await page.getByRole("button", { name: "Try again" }).click();
    await page.getByRole("table", { name: "Last deliveries" }).waitFor();
    await close(page);
  });
});
