// SPDX-License-Identifier: Apache-2.0
// Alerts that mean harm are texts like all others.

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { checkNoOverflow, close, now, until } from "./helpers.mjs";
import { system, useSystem } from "./system.mjs";

const EVIL = '<img src=x onerror="window.evil=1"><script>window.evil=2</script>';
const TURNED = "\u202Egnp.exe \u2067\u200F";
const MEGABYTE = `${"x".repeat(1_000_000)}<b>end</b>`;

function hostile(identifier, volume) {
  return { identifier, bundle: "Disk", type: "AlmostFull", sentDate: now(), attributes: { volume, [EVIL]: EVIL, constructor: "c", __proto: "p" } };
}

async function checkHarmless(page, where) {
  await checkNoOverflow(page, where);
  assert.equal(await page.evaluate(() => window.evil), undefined);
  assert.equal(await page.locator("img, script:not([src])").count(), 0);
  assert.ok((await page.evaluate(() => document.body.textContent.length)) < 200_000, "a megabyte is shown in parts");
}

describe("hostile texts", () => {
  useSystem();

  for (const width of [1000, 320]) {
    test(`hostile texts are texts, at ${width} pixels`, async () => {
      await system.service.save([hostile("javascript:alert(1)", EVIL), hostile(`Evil:${TURNED}`, TURNED), hostile("Long:1", MEGABYTE)]);
      const page = await system.open("#/alerts", { width });
      await until(page, () => document.querySelectorAll(".va-row__subject a").length === 3);
      await checkHarmless(page, "the list");
      for (const index of [0, 1, 2]) {
        await page.locator(".va-row__subject a").nth(index).click();
        await page.locator(".va-message").waitFor();
        await checkHarmless(page, `alert ${index}`);
        assert.ok((await page.locator("article").innerText()).includes("<img src=x onerror"));
        await page.getByRole("button", { name: "All alerts" }).click();
        await page.locator(".va-row__subject a").first().waitFor();
      }
      await close(page);
    });
  }

  test("a text that turns the direction of writing turns its own alone", async () => {
    await system.service.save([hostile("Turned:1", TURNED)]);
    const page = await system.open("#/alerts/Turned%3A1");
    await page.locator(".va-message").waitFor();
    const isolated = await page.locator("h2 bdi, .va-message bdi, dd bdi").count();
    const outside = await page.evaluate((text) => {
      const walker = document.createTreeWalker(document.body, 4 /* texts */);
      const found = [];
      while (walker.nextNode()) if (walker.currentNode.data.includes(text) && !walker.currentNode.parentElement.closest("bdi")) found.push(walker.currentNode.data);
      return found;
    }, "\u202E");
    assert.ok(isolated >= 3);
    assert.deepEqual(outside, []);
    await close(page);
  });

  test("recipients and devices with hostile names stay in their rows", async () => {
    const address = '"<b>x</b>" <x@example.org>';
    await system.service.call("AddMailRecipients", { recipients: [{ address, locale: "en" }] });
    await system.service.call("AddPushRecipients", { recipients: [{ name: EVIL + TURNED, guid: "g", token: "AQ==", locale: "en" }] });
    const page = await system.open("#/telling", { width: 320 });
    await page.getByText(address).first().waitFor();
    await page.getByText("<img src=x").first().waitFor();
    await checkHarmless(page, "the notifications");
    await close(page);
  });
});
