// SPDX-License-Identifier: Apache-2.0
// Every view for every reader: light and dark, narrow and wide, by keyboard, in three languages, and by ear.

import assert from "node:assert/strict";
import { beforeEach, describe, test } from "node:test";

import { alerts, checkAccessibility, checkNoOverflow, close, see, until } from "./helpers.mjs";
import { system, useSystem } from "./system.mjs";

/** Where each view has come to rest. */
const VIEWS = {
  alerts: ["#/alerts", ".va-row__subject a"],
  nothing: ["#/alerts?text=nothing", ".pf-v6-c-empty-state"],
  detail: ["#/alerts/Sample%3A5", ".va-message"],
  history: ["#/history", ".va-lane"],
  telling: ["#/telling", "td .pf-v6-c-label"],
  health: ["#/health", ".va-path"],
};

/** The same with nothing in the service. */
const EMPTY = {
  alerts: ["#/alerts", ".pf-v6-c-empty-state"],
  detail: ["#/alerts/Nobody", "[role=alert]"],
  history: ["#/history", ".pf-v6-c-empty-state"],
  telling: ["#/telling", "#mail-Disk"],
};

async function fill() {
  await system.service.save(alerts(60, 43200));
  await system.service.call("AddMailRecipients", { recipients: [{ address: "Ann Example <ann@example.org>", locale: "de" }] });
  await system.service.call("AddPushRecipients", { recipients: [{ name: "Ann's phone", guid: "g", token: "AQIDBA==", locale: "en" }] });
  system.journal = ["delivered", "failed"].map((VELTO_RESULT) => ({
    __REALTIME_TIMESTAMP: String(Date.now() * 1000), VELTO_ALERT_ID: "Sample:0", VELTO_CHANNEL: "mail", VELTO_RECIPIENTS: "ann@example.org",
    VELTO_LOCALE: "de", VELTO_RESULT, VELTO_STATUS: "0", VELTO_DURATION_USEC: "1000",
  }));
}

async function go(page, [place, rest]) {
  await page.evaluate((hash) => (window.location.hash = hash), place);
  await page.locator(rest).first().waitFor();
  // What is still being asked is drawn, too.
  await until(page, () => document.querySelector(".pf-v6-c-spinner, [aria-busy=true]") === null);
}

async function openView(name, options) {
  const page = await system.open(VIEWS[name][0], options);
  await go(page, VIEWS[name]);
  return page;
}

async function check(page, where) {
  await checkAccessibility(page, where);
  await checkNoOverflow(page, where);
}

/** For dialogs: what is behind them is out of reach, and out of the question. */
async function checkDialog(page, where) {
  await page.getByRole("dialog").waitFor();
  await check(page, where);
  await page.keyboard.press("Escape");
  await page.getByRole("dialog").waitFor({ state: "detached" });
}

describe("the looks", () => {
  useSystem();
  beforeEach(fill);

  for (const theme of ["light", "dark"]) {
    for (const width of [1280, 320]) {
      test(`every view, ${theme}, ${width} pixels: axe finds nothing, and nothing is cut off`, async () => {
        const page = await system.open("#/alerts", { theme, width });
        for (const [name, view] of Object.entries(VIEWS)) {
          await go(page, view);
          assert.equal(await page.evaluate(() => document.documentElement.classList.contains("pf-v6-theme-dark")), theme === "dark");
          if (name === "history") await page.getByRole("button", { name: "The same as a table" }).click();
          await check(page, `${name}, ${theme}, ${width}`);
        }
        await close(page);
      });
    }
  }

  for (const [theme, width] of [["light", 1280], ["dark", 320]]) {
    test(`every view of an empty service, ${theme}, ${width} pixels`, async () => {
      await system.reset();
      const page = await system.open("#/alerts", { theme, width });
      for (const [name, view] of Object.entries(EMPTY)) {
        await go(page, view);
        await check(page, `empty ${name}, ${theme}, ${width}`);
      }
      await close(page);
    });

    test(`questions, selections and results, ${theme}, ${width} pixels`, async () => {
      const page = await openView("alerts", { theme, width });
      await page.getByRole("button", { name: "Delete old alerts…" }).click();
      await checkDialog(page, "pruning");
      await page.getByLabel("Select all that are listed").check();
      await check(page, "a selection");
      await page.getByRole("button", { name: "Delete…" }).click();
      await checkDialog(page, "deletion");
      await page.getByRole("button", { name: "Mark as read" }).click();
      await see(page, "60 alerts marked as read");
      await check(page, "a result");
      await go(page, VIEWS.detail);
      await page.getByRole("button", { name: "Empty the package cache" }).click();
      await checkDialog(page, "a recovery action");
      await close(page);
    });

    test(`a service that is not there, ${theme}, ${width} pixels`, async () => {
      await system.service.stop();
      Object.assign(system.unit, { ActiveState: "failed", SubState: "failed", Result: "exit-code" });
      const page = await system.open("#/alerts", { theme, width });
      await page.getByRole("button", { name: "Start the service" }).waitFor();
      await check(page, "absent");
      await close(page);
    });
  }

  test("the theme follows Cockpit's menu without a reload", async () => {
    const page = await openView("health", { theme: "light" });
    await page.evaluate(() => window.dispatchEvent(new CustomEvent("cockpit-style", { detail: { style: "dark" } })));
    await until(page, () => document.documentElement.classList.contains("pf-v6-theme-dark"));
    await close(page);
  });

  for (const [locale, words, date] of [
    ["de-DE", ["Meldungen", "Das Volume /volume1 ist fast voll", "Ungelöst", "Gesendet ab"], /^\d\d\.\d\d\.\d{4}, \d\d:\d\d$/],
    ["fr-FR", ["Alertes", "Le volume /volume1 est presque plein", "Non résolue", "Envoyées depuis"], /^\d{1,2} \p{L}+\.? \d{4}[, à]+\d\d:\d\d$/u],
  ]) {
    test(`${locale}: the page, the alerts and the dates`, async () => {
      const page = await openView("alerts", { locale });
      for (const word of words) await see(page, word);
      assert.equal(await page.evaluate(() => document.documentElement.lang), locale.slice(0, 2));
      assert.match(await page.locator(".va-row__date time").nth(1).innerText(), date);
      await page.setViewportSize({ width: 320, height: 700 });
      for (const [name, view] of Object.entries(VIEWS)) {
        await go(page, view);
        await check(page, `${name} in ${locale}`);
      }
      await close(page);
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
    for (const index of ["1", "2"]) {
      await page.keyboard.press("ArrowDown");
      await until(page, (wanted) => document.activeElement?.dataset.index === wanted, index);
    }
    const name = await page.evaluate(() => document.activeElement.textContent);
    await page.keyboard.press("Enter");
    await until(page, () => document.activeElement?.tagName === "H2");
    assert.equal(await page.evaluate(() => document.activeElement.textContent), name);
    await press("Tab", () => document.activeElement?.textContent === "Empty the package cache");
    await page.keyboard.press("Enter");
    await until(page, () => document.activeElement?.closest("[role=dialog]") !== null);
    await press("Tab", () => document.activeElement?.textContent === "Run now");
    await page.keyboard.press("Enter");
    await see(page, "was carried out");
    await press("Shift+Tab", () => document.activeElement?.textContent === "All alerts");
    await page.keyboard.press("Enter");
    await until(page, () => document.activeElement?.dataset.index === "2");
    await close(page);
  });

  test("by keyboard alone: a filter, a selection, and what is done to it", async () => {
    const page = await openView("alerts");
    await page.locator("#filter-text").focus();
    await page.keyboard.type("volume1");
    await until(page, () => document.querySelectorAll(".va-row__subject a").length === 11);
    await page.locator("#select-all").focus();
    await page.keyboard.press(" ");
    await see(page, "11 selected");
    await page.getByRole("button", { name: "Mark as read" }).focus();
    await page.keyboard.press("Enter");
    await see(page, "11 alerts marked as read");
    await close(page);
  });
});
