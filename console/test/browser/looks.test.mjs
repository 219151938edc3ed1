// SPDX-License-Identifier: Apache-2.0
// Every view for every reader: light and dark, narrow and wide, by keyboard, in three languages, and by ear.

import assert from "node:assert/strict";
import { after, before, test } from "node:test";

import { alerts, checkAccessibility, checkNoOverflow, checkQuiet, see, until } from "./helpers.mjs";
import { System } from "./system.mjs";

let system;
before(async () => {
  system = await System.start();
  await system.reset();
  await system.service.save(alerts(60, 43200));
  await system.service.call("AddMailRecipients", { recipients: [{ address: "Ann Example <ann@example.org>", locale: "de" }] });
  await system.service.call("AddPushRecipients", { recipients: [{ name: "Ann's phone", guid: "g", token: "AQIDBA==", locale: "en" }] });
  await system.service.call("PostAlert", { alert: { bundle: "Common", type: "Test", identifier: "Posted:1" } });
});
after(() => system.stop());

/** Where each view has come to rest. */
const VIEWS = {
  alerts: ["#/alerts", ".va-row__subject a"],
  nothing: ["#/alerts?text=nothing", ".pf-v6-c-empty-state"],
  detail: ["#/alerts/Sample%3A5", ".va-message"],
  history: ["#/history", ".va-lane"],
  telling: ["#/telling", "#push-enabled-0"],
  health: ["#/health", ".va-path"],
};

async function openView(name, options) {
  const [place, rest] = VIEWS[name];
  const page = await system.open(place, options);
  await page.locator(rest).first().waitFor();
  await page.waitForLoadState("networkidle");
  return page;
}

for (const name of Object.keys(VIEWS)) {
  for (const theme of ["light", "dark"]) {
    for (const width of [1280, 320]) {
      test(`${name}, ${theme}, ${width} pixels: axe finds nothing, and nothing is cut off`, async () => {
        const page = await openView(name, { theme, width });
        assert.equal(await page.evaluate(() => document.documentElement.classList.contains("pf-v6-theme-dark")), theme === "dark");
        if (name === "history") await page.getByRole("button", { name: "The same as a table" }).click();
        await checkAccessibility(page, name);
        await checkNoOverflow(page, name);
        checkQuiet(page);
        await page.context().close();
      });
    }
  }
}

test("a question is accessible too", async () => {
  const page = await openView("alerts");
  await page.getByRole("button", { name: "Delete old alerts…" }).click();
  await page.getByRole("dialog").waitFor();
  await checkAccessibility(page, "the question");
  await page.context().close();
});

test("the theme follows Cockpit's menu without a reload", async () => {
  const page = await openView("health", { theme: "light" });
  await page.evaluate(() => window.dispatchEvent(new CustomEvent("cockpit-style", { detail: { style: "dark" } })));
  await until(page, () => document.documentElement.classList.contains("pf-v6-theme-dark"));
  await page.context().close();
});

for (const [locale, words] of Object.entries({
  "de-DE": ["Meldungen", "Das Volume /volume1 ist fast voll", "Ungelöst", "Gesendet ab"],
  "fr-FR": ["Alertes", "Le volume /volume1 est presque plein", "Non résolue", "Envoyées depuis"],
})) {
  test(`${locale}: the page, the alerts and the dates`, async () => {
    const page = await openView("alerts", { locale });
    for (const word of words) await see(page, word);
    assert.equal(await page.evaluate(() => document.documentElement.lang), locale.slice(0, 2));
    const shown = await page.locator(".va-row__date time").nth(1).innerText();
    const expected = new RegExp(locale === "de-DE" ? "^\\d\\d\\.\\d\\d\\.\\d{4}, \\d\\d:\\d\\d$" : "^\\d{1,2} \\p{L}+\\.? \\d{4}[, à]+\\d\\d:\\d\\d$", "u");
    assert.match(shown, expected);
    for (const name of Object.keys(VIEWS)) {
      await page.evaluate((place) => (window.location.hash = place), VIEWS[name][0]);
      await page.locator(VIEWS[name][1]).first().waitFor();
      await page.setViewportSize({ width: 320, height: 700 });
      await checkNoOverflow(page, `${name} in ${locale}`);
    }
    checkQuiet(page);
    await page.context().close();
  });
}

test("by keyboard alone: from the address bar to an alert, its action, and back", async () => {
  const page = await openView("alerts");
  const press = async (key, isThere) => {
    for (let times = 0; times < 40; times++) {
      await page.keyboard.press(key);
      if (await page.evaluate(isThere)) return;
    }
    assert.fail(`${key} does not lead there: ${isThere}`);
  };
  await press("Tab", () => document.activeElement?.matches(".va-row__subject a"));
  await page.keyboard.press("ArrowDown");
  await until(page, () => document.activeElement?.dataset.index === "1");
  await page.keyboard.press("ArrowDown");
  await until(page, () => document.activeElement?.dataset.index === "2");
  const name = await page.evaluate(() => document.activeElement.textContent);
  await page.keyboard.press("Enter");
  await until(page, () => document.activeElement?.tagName === "H2");
  assert.equal(await page.evaluate(() => document.activeElement.textContent), name);
  await press("Tab", () => document.activeElement?.textContent === "Empty the package cache");
  await page.keyboard.press("Enter");
  await page.getByRole("dialog").waitFor();
  await until(page, () => document.activeElement?.closest("[role=dialog]") !== null);
  await page.keyboard.press("Escape");
  await page.getByRole("dialog").waitFor({ state: "detached" });
  await press("Shift+Tab", () => document.activeElement?.textContent === "All alerts");
  await page.keyboard.press("Enter");
  await until(page, () => document.activeElement?.dataset.index === "2");
  await page.context().close();
});
