// SPDX-License-Identifier: Apache-2.0

import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { createRequire } from "node:module";

const axeSource = await readFile(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

const EPOCH = 978307200;

export function now() {
  return Date.now() / 1000 - EPOCH;
}

/** So many alerts, the newest sent a minute ago and each of the others so many seconds before the last one. */
export function alerts(count, apart = 600) {
  const start = now() - 60;
  return Array.from({ length: count }, (_value, index) => {
    const date = start - index * apart;
    const isDisk = index % 3 !== 0;
    return {
      identifier: `Sample:${index}`,
      bundle: isDisk ? "Disk" : "Common",
      type: isDisk ? "AlmostFull" : "Test",
      creationDate: date,
      sentDate: date,
      ...(index % 4 === 0 ? {} : { readDate: date }),
      ...(index % 5 === 0 ? {} : { resolvedDate: date }),
      attributes: { volume: `/volume${index}`, percent: 90 + (index % 10) },
    };
  });
}

/** The row of an alert, by its subject. */
export function row(page, subject) {
  return page.locator(".va-list [role=row]", { has: page.getByRole("link", { name: subject, exact: true }) });
}

export async function subjects(page) {
  return page.locator(".va-list .va-row__subject a").allTextContents();
}

/** Waits until it is so. */
export async function until(page, question, argument) {
  await page.waitForFunction(question, argument, { timeout: 60_000 });
}

export async function see(page, text) {
  await page.getByText(text).first().waitFor({ timeout: 60_000 });
}

/** Waits for the button of a question, presses it, and waits for the question to be gone. */
export async function answer(page, name) {
  const dialog = page.getByRole("dialog");
  await dialog.getByRole("button", { name, exact: true }).click();
  await dialog.waitFor({ state: "detached" });
}

/** What is on its way is half transparent, or not yet where it will be. */
function allRests() {
  const isEndless = (animation) => animation.effect?.getComputedTiming().endTime === Infinity;
  return Promise.all(document.getAnimations().filter((one) => !isEndless(one)).map(({ finished }) => finished.catch(() => {})));
}

export async function checkAccessibility(page, where) {
  await page.evaluate(allRests);
  // Playwright's evaluation is not under the page's content security policy, a script element would be.
  await page.evaluate(axeSource);
  const { violations } = await page.evaluate(() => axe.run(document, { runOnly: ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "wcag22aa", "best-practice"] }));
  const found = violations.map(({ id, nodes }) => `${id}: ${nodes.map(({ target, failureSummary }) => `${target} ${failureSummary}`).slice(0, 3).join(" | ")}`);
  assert.deepEqual(found, [], where);
}

export async function checkNoOverflow(page, where) {
  const outside = await page.evaluate(() => {
    const edge = document.documentElement.clientWidth;
    const isOut = (element) => element.getBoundingClientRect().right > edge + 1 && element.checkVisibility() && !element.closest(".va-hidden, .va-row__subject");
    return [...document.querySelectorAll("#page *")].filter(isOut).map((element) => `${element.tagName} ${element.className}`).slice(0, 5);
  });
  assert.deepEqual(outside, [], `${where}: what goes beyond the window's edge`);
}

/** Nothing was refused by the content security policy, and no script has failed. */
export function checkQuiet(page) {
  assert.deepEqual(page.complaints, []);
}

export async function close(page) {
  checkQuiet(page);
  await page.context().close();
}
