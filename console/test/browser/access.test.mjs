// SPDX-License-Identifier: Apache-2.0
// A session whose user may nothing: the daemon decides, by who is at the other end of its socket.

import { after, before, beforeEach, describe, test } from "node:test";

import { alerts, checkAccessibility, checkNoOverflow, close, see, until } from "./helpers.mjs";
import { System } from "./system.mjs";

function useSession(options) {
  const session = {};
  before(async () => (session.system = await System.start({ isOrdinary: true, ...options })));
  beforeEach(() => session.system.reset());
  after(() => session.system?.stop());
  return session;
}

describe("an ordinary user's session that can get administrative access", () => {
  const session = useSession({ canGrant: true });

  test("the page says what it lacks, offers the switch in place, and has the alerts then", async () => {
    const { system } = session;
    await system.service.save(alerts(3));
    const page = await system.open("#/alerts");
    await see(page, "Administrative access is needed");
    await checkAccessibility(page, "without administrative access");
    await page.getByRole("button", { name: "Turn on administrative access" }).click();
    await until(page, () => document.querySelectorAll(".va-row__subject a").length === 3);
    await until(page, () => document.querySelector(".va-nav__count")?.textContent.startsWith("1"));
    // It is the session's from now on, so other pages have it, too.
    const other = await system.open("#/telling");
    await other.getByLabel("Disk space by mail").waitFor();
    await close(other);
    await close(page);
  });
});

describe("an ordinary user's session that cannot get administrative access", () => {
  const session = useSession({});

  for (const width of [1280, 320]) {
    test(`the page says so, and how to, at ${width} pixels`, async () => {
      const page = await session.system.open("#/health", { width, theme: "dark" });
      await see(page, "Administrative access is needed");
      await see(page, "This session cannot get it here");
      await checkAccessibility(page, "without administrative access");
      await checkNoOverflow(page, "without administrative access");
      await close(page);
    });
  }
});
