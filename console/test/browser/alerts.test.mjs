// SPDX-License-Identifier: Apache-2.0
// The list of alerts, one alert, and what is done to them.

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { alerts, answer, close, now, row, see, subjects, until } from "./helpers.mjs";
import { system, useSystem } from "./system.mjs";

async function openWith(some, place = "#/alerts", options = {}) {
  await system.service.save(some);
  const page = await system.open(place, options);
  await page.locator(".va-list .va-row__subject a").first().waitFor();
  return page;
}

describe("the alerts", () => {
  useSystem();

  test("alerts are listed newest first, with their texts and states", async () => {
    const page = await openWith(alerts(3));
    assert.deepEqual(await subjects(page), ["Test alert", "The volume /volume1 is almost full", "The volume /volume2 is almost full"]);
    const first = row(page, "Test alert");
    assert.match(await first.innerText(), /Unresolved/);
    assert.match(await first.innerText(), /Unread/);
    assert.match(await row(page, "The volume /volume1 is almost full").innerText(), /Disk space · AlmostFull[\s\S]*Resolved/);
    assert.match(await first.getAttribute("class"), /va-row--unread/);
    await see(page, "3 alerts");
    await close(page);
  });

  test("an empty store says so", async () => {
    const page = await system.open("#/alerts");
    await see(page, "When a service raises an alert, it appears here by itself.");
    await close(page);
  });

  test("filters stand in the address, and an address brings its filters", async () => {
    const page = await openWith(alerts(50));
    await page.getByLabel("Bundle", { exact: true }).selectOption("Disk space");
    await page.getByLabel("Kind").selectOption("AlmostFull");
    await page.getByLabel("Unread", { exact: true }).check();
    await page.getByLabel("Unresolved", { exact: true }).check();
    await page.getByLabel("Sent from").fill("2020-01-01");
    await page.getByLabel("Sent until").fill("2099-12-31");
    await until(page, () => ["bundle=Disk", "type=AlmostFull", "unread=1", "unresolved=1", "from=2020-01-01", "to=2099-12-31"].every((one) => window.location.hash.includes(one)));
    await until(page, () => document.querySelectorAll(".va-list .va-row__subject a").length === 2);
    await page.getByLabel("Text").fill("volume20");
    await until(page, () => document.querySelectorAll(".va-list .va-row__subject a").length === 1);
    assert.deepEqual(await subjects(page), ["The volume /volume20 is almost full"]);
    const address = page.url();
    await page.getByRole("button", { name: "Clear filters" }).click();
    await see(page, "50 alerts");
    const other = await system.open(address.slice(address.indexOf("#")));
    await see(other, "1 alert");
    assert.equal(await other.getByLabel("Text").inputValue(), "volume20");
    assert.equal(await other.getByLabel("Unread", { exact: true }).isChecked(), true);
    assert.equal(await other.getByLabel("Sent until").inputValue(), "2099-12-31");
    await page.goBack();
    await until(page, () => document.querySelector("#filter-bundle").value === "Disk" && document.querySelector("#filter-from").value === "2020-01-01");
    await close(page);
    await close(other);
  });

  test("a period takes whole days of the reader's time zone, both of them included", async () => {
    const at = (text) => Date.parse(text) / 1000 - 978307200;
    const some = [["A", "2026-03-09T23:59:59+01:00"], ["B", "2026-03-10T00:00:00+01:00"], ["C", "2026-03-11T23:59:59+01:00"], ["D", "2026-03-12T00:00:00+01:00"]];
    const page = await openWith(
      some.map(([volume, text]) => ({ identifier: volume, bundle: "Disk", type: "AlmostFull", sentDate: at(text), attributes: { volume } })),
      "#/alerts?from=2026-03-10&to=2026-03-11",
    );
    assert.deepEqual(await subjects(page), ["The volume C is almost full", "The volume B is almost full"]);
    await close(page);
  });

  test("no match says so, and leads back to all", async () => {
    const page = await openWith(alerts(2));
    await page.getByLabel("Text").fill("nothing like it");
    await see(page, "No alert matches these filters");
    await page.locator("main").getByRole("button", { name: "Clear filters" }).last().click();
    await see(page, "2 alerts");
    await close(page);
  });

  test("an alert tells its message, dates and attributes, and the way back leads to its row", async () => {
    const page = await openWith([
      ...alerts(60),
      { identifier: "Odd:1", bundle: "Disk", type: "AlmostFull", sentDate: now(), attributes: { volume: "/odd", percent: 12.5, seen: { $date: 0 }, bytes: { $data: "AAECAw==" }, list: ["x", "y"], deep: { is: true } } },
    ]);
    await page.getByRole("link", { name: "The volume /odd is almost full" }).click();
    await see(page, "The volume /odd is 12.5");
    assert.match(page.url(), /#\/alerts\/Odd%3A1/);
    const text = await page.locator("article").innerText();
    for (const one of ["Jan 1, 2001, 1:00:00 AM", "4 bytes", "is: yes", "Odd:1", "AlmostFull"]) assert.ok(text.includes(one), one);
    await page.getByRole("button", { name: "All alerts" }).click();
    await until(page, () => document.activeElement?.textContent === "The volume /odd is almost full");
    await close(page);
  });

  test("an alert that is gone says so", async () => {
    const page = await system.open("#/alerts/Nobody%3A1");
    await see(page, "This alert is gone");
    await close(page);
  });

  test("reading and resolving one alert shows at once", async () => {
    const page = await openWith([{ identifier: "One:1", bundle: "Disk", type: "AlmostFull", sentDate: now(), attributes: { volume: "/" } }]);
    await page.getByRole("link", { name: "The volume / is almost full" }).click();
    await page.getByRole("button", { name: "Mark as read" }).click();
    await see(page, "1 alert marked as read");
    await page.getByRole("button", { name: "Mark as read" }).waitFor({ state: "detached" });
    await page.getByRole("button", { name: "Mark as resolved" }).click();
    await see(page, "1 alert marked as resolved");
    await page.getByRole("button", { name: "All alerts" }).click();
    await until(page, () => document.querySelector(".va-states")?.innerText.trim() === "Resolved");
    await close(page);
  });

  test("many are marked at once", async () => {
    const page = await openWith(alerts(40));
    await page.getByLabel("Select all that are listed").check();
    await see(page, "40 selected");
    await page.getByRole("button", { name: "Mark as read" }).click();
    await see(page, "40 alerts marked as read");
    await until(page, () => document.querySelector(".va-row--unread") === null);
    await close(page);
  });

  test("deletion asks first, and can be undone", async () => {
    const page = await openWith(alerts(5));
    await page.getByLabel("Select The volume /volume1 is almost full").check();
    await page.getByLabel("Select The volume /volume2 is almost full").check();
    await page.getByRole("button", { name: "Delete…" }).click();
    await see(page, "Delete 2 alerts?");
    await answer(page, "Cancel");
    await page.getByRole("button", { name: "Delete…" }).click();
    await answer(page, "Delete");
    await see(page, "2 alerts deleted");
    await until(page, () => document.querySelectorAll(".va-list .va-row__subject a").length === 3);
    await page.mouse.move(0, 0);
    await page.getByRole("button", { name: "Undo" }).click();
    await until(page, () => document.querySelectorAll(".va-list .va-row__subject a").length === 5);
    assert.equal((await subjects(page))[1], "The volume /volume1 is almost full");
    await page.getByRole("link", { name: "The volume /volume1 is almost full" }).click();
    await see(page, "The volume /volume1 is 91");
    await close(page);
  });

  test("old alerts are counted before they are deleted", async () => {
    const day = new Date(Date.now() - 4 * 86400_000).toISOString().slice(0, 10);
    const atMidnight = { identifier: "Midnight:1", bundle: "Disk", type: "AlmostFull", sentDate: Date.parse(day) / 1000 - 978307200, attributes: { volume: "/midnight" } };
    const page = await openWith([...alerts(10, 86400), atMidnight], "#/alerts", { zone: "UTC" });
    await page.getByRole("button", { name: "Delete old alerts…" }).click();
    const dialog = page.getByRole("dialog");
    await dialog.getByText("0 alerts").waitFor();
    assert.equal(await dialog.getByRole("button", { name: "Delete", exact: true }).isDisabled(), true);
    await dialog.getByLabel("Delete what was sent before").fill(day);
    await until(page, () => /[1-9] alerts/.test(document.querySelector(".va-prune strong")?.textContent ?? ""));
    const count = parseInt(await dialog.locator("strong").innerText(), 10);
    await answer(page, "Delete");
    await see(page, `${count} old alerts deleted.`);
    await see(page, `${11 - count} alerts`);
    await row(page, "The volume /midnight is almost full").waitFor();
    await close(page);
  });

  test("a recovery action is asked for, runs, and resolves its alert", async () => {
    const page = await openWith([{ identifier: "One:1", bundle: "Disk", type: "AlmostFull", sentDate: now(), attributes: { volume: "/" } }], "#/alerts");
    await page.getByRole("link", { name: "The volume / is almost full" }).click();
    await page.getByRole("button", { name: "Empty the package cache" }).click();
    await see(page, "The bundle Disk space offers this");
    await answer(page, "Run now");
    await see(page, "was carried out");
    await until(page, () => document.querySelector(".va-detail__head")?.innerText.includes("Resolved"));
    await close(page);
  });

  test("a recovery action that fails says why, and the alert stays as it is", async () => {
    await system.service.failActions("there is <b>no</b> space to free");
    const page = await openWith([{ identifier: "One:1", bundle: "Disk", type: "AlmostFull", sentDate: now(), attributes: { volume: "/" } }]);
    await page.getByRole("link", { name: "The volume / is almost full" }).click();
    await page.getByRole("button", { name: "Empty the package cache" }).click();
    await answer(page, "Run now");
    await see(page, "“Empty the package cache” failed");
    await see(page, "there is <b>no</b> space to free");
    assert.match(await page.locator(".va-detail__head").innerText(), /Unresolved/);
    await close(page);
  });
});
