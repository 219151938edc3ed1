// SPDX-License-Identifier: Apache-2.0
//
// A system to try the page in: the daemon in a private system, Cockpit, and Chromium. Beside the daemon stands a service
// that does as it is told, for what a daemon cannot be made to do.

import { chmod, mkdtemp, rm } from "node:fs/promises";
import { join } from "node:path";
import { after, before, beforeEach } from "node:test";
import { chromium } from "playwright-core";

import { RealService } from "../peer/RealService.mjs";
import { ScriptedService } from "../peer/ScriptedService.mjs";
import { Cockpit } from "./Cockpit.mjs";

/** Milliseconds after which what a test waits for will not come; the machine may be busy with other tests. */
export const PATIENCE = 60_000;

const RUNNING = { LoadState: "loaded", ActiveState: "active", SubState: "running", UnitFileState: "enabled", Result: "success" };

export class System {
  /** A running one; the options are Cockpit's. */
  static async start(options) {
    const system = new System();
    try {
      await system.begin(options);
    } catch (error) {
      await system.stop().catch(() => {}); // what went wrong first is told
      throw error;
    }
    return system;
  }

  async begin(options) {
    // The path of a socket must be short, whatever TMPDIR says; and another user has to reach it.
    this.folder = await mkdtemp("/tmp/va-");
    await chmod(this.folder, 0o755);
    this.service = new RealService(this.folder);
    this.scripted = new ScriptedService(join(this.folder, "scripted"));
    this.cockpit = new Cockpit(this.folder, (name, words) => this.answer(name, words), options);
    await this.service.prepare();
    const parts = await Promise.allSettled([this.service.start(), this.scripted.start(), this.cockpit.start(), this.launch()]);
    for (const { reason } of parts) if (reason) throw reason;
    await this.cockpit.keepSession(this.browser);
  }

  async launch() {
    this.browser = await chromium.launch({
      executablePath: process.env.VELTO_CHROMIUM ?? "/usr/bin/chromium",
      args: process.getuid() === 0 ? ["--no-sandbox", "--disable-dev-shm-usage"] : [],
    });
  }

  get address() {
    return this.cockpit.address;
  }

  answer(name, words) {
    this.commands.push([name, ...words]);
    return name === "journalctl" ? this.answerJournal(words) : this.answerUnit(words);
  }

  async answerJournal(words) {
    if (this.journalError) return { output: this.journalError, code: 1 };
    const id = words.find((word) => word.startsWith("VELTO_ALERT_ID="))?.slice(15);
    const entries = (this.journal ?? (await this.service.journal())).filter((entry) => id === undefined || entry.VELTO_ALERT_ID === id);
    return { output: entries.map((entry) => `${JSON.stringify(entry)}\n`).join(""), code: 0 };
  }

  async answerUnit([verb]) {
    if (verb === "show") {
      return { output: Object.entries(this.unit).map(([name, value]) => `${name}=${value}\n`).join(""), code: 0 };
    }
    if (this.unitError) return { output: this.unitError, code: 1 };
    if (verb === "restart") await this.service.stop();
    this.onStart?.();
    await this.service.start();
    Object.assign(this.unit, RUNNING);
    return { output: "", code: 0 };
  }

  /** A page of a browser with nothing kept, at a place of ours or still empty; what it complained of is in `complaints`. */
  async open(place = "#/", { width = 1280, height = 800, locale = "en-US", theme, zone = "Europe/Berlin", service = this.service } = {}) {
    const context = await this.browser.newContext({ viewport: { width, height }, locale, timezoneId: zone, reducedMotion: "reduce" });
    context.setDefaultTimeout(PATIENCE);
    const settings = [service.socket, theme ?? "light"];
    await context.addInitScript(([socket, style]) => {
      if (window.location.protocol !== "http:") return;
      window.sessionStorage.setItem("veltoSocket", socket);
      window.localStorage.setItem("shell:style", style);
    }, settings);
    const page = await context.newPage();
    page.complaints = [];
    page.on("console", (message) => message.type() === "error" && page.complaints.push(message.text()));
    page.on("pageerror", (error) => page.complaints.push(String(error)));
    await page.goto(place === "about:blank" ? place : this.address + place);
    return page;
  }

  /** Closes the pages that a test has left, and makes everything behave; the services run, with nothing in them. */
  async reset() {
    for (const context of this.browser.contexts().slice(1)) await context.close(); // the first one keeps the session
    this.unit = { ...RUNNING };
    this.commands = [];
    this.unitError = this.journalError = this.journal = this.onStart = undefined;
    await this.scripted.reset();
    await this.service.reset();
  }

  async stop() {
    await this.browser?.close();
    await this.cockpit?.stop();
    await this.scripted?.stop();
    await this.service?.stop();
    await rm(this.folder, { recursive: true, force: true });
  }
}

/** The one system of all tests that need none of their own. */
export let system;

/** For a suite: it runs before, and behaves, with nothing in it, before each test. */
export function useSystem() {
  before(async () => (system ??= await System.start()));
  beforeEach(() => system.reset());
}

/** Once, where the suites are gathered: ends it after the last of them. */
export function endSystem() {
  after(() => system?.stop());
}
