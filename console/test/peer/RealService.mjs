// SPDX-License-Identifier: Apache-2.0
//
// The daemon in a private system below a folder, with the bundles of its build. What it would do to this machine
// is done by programs of ours: the example's recovery action, and the mail program. Both do what files beside them say.

import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import { closeSync, openSync } from "node:fs";
import { chmod, cp, mkdir, readFile, rename, rm, writeFile } from "node:fs/promises";
import { join } from "node:path";
import { fileURLToPath } from "node:url";

import { call } from "./call.mjs";

const DAEMON = "com.ulmora.velto.AlertsDaemon";
const SANITIZER = /(Address|Leak|Thread|UndefinedBehavior)Sanitizer|runtime error:/;

export const BUILD = process.env.VELTO_BUILD ?? fileURLToPath(new URL("../../../build/release", import.meta.url));

export class RealService {
  constructor(folder) {
    this.root = join(folder, "root");
    this.socket = join(this.root, "run/velto", DAEMON);
    this.log = join(this.root, "log");
  }

  path(name) {
    return join(this.root, name);
  }

  async prepare() {
    const bundles = this.path("usr/lib/velto/alert-bundles");
    for (const folder of ["Library/Velto", "usr/sbin", "etc/velto/push"]) await mkdir(this.path(folder), { recursive: true });
    for (const name of ["Common", "Disk", "Load"]) await cp(join(BUILD, `bundles/${name}.bundle`), join(bundles, `${name}.bundle`), { recursive: true });
    await this.makeProgram(join(bundles, "Disk.bundle/Contents/Actions/FreeSpace"), ACTION);
    await this.makeProgram(this.path("usr/sbin/sendmail"), MAILER);
    await this.behave();
  }

  async makeProgram(path, text) {
    await writeFile(path, text.replaceAll("@ROOT@", this.root));
    await chmod(path, 0o755);
  }

  /** The action succeeds at once and says that it was not needed; mail is delivered. */
  async behave() {
    for (const name of ["action-error", "action-waits", "action-runs", "mail-error"]) await rm(this.path(name), { force: true });
  }

  /** From now on recovery actions fail so. */
  async failActions(text) {
    await writeFile(this.path("action-error"), text);
  }

  /** From now on recovery actions go on until the service is to behave again. */
  async holdActions() {
    await writeFile(this.path("action-waits"), "");
  }

  /** How often a recovery action was begun. */
  async actionRuns() {
    return (await readFile(this.path("action-runs"), "utf8").catch(() => "")).length;
  }

  /** From now on the mail program ends with this status. */
  async failMail(status) {
    await writeFile(this.path("mail-error"), String(status));
  }

  /** Where the store is to be, there is no folder for it: it cannot be opened. To be done while the service is stopped. */
  async hideStore() {
    await rename(this.path("Library/Velto"), this.path("Library/Hidden"));
  }

  async bringBackStore() {
    await rename(this.path("Library/Hidden"), this.path("Library/Velto"));
  }

  get isRunning() {
    return this.process !== undefined && this.process.exitCode === null && this.process.signalCode === null;
  }

  /** Does nothing where it runs already. */
  async start() {
    if (this.isRunning) return;
    const log = openSync(this.log, "a");
    const environment = { ...process.env, VELTO_ROOT: this.root, LANGUAGE: "", LC_ALL: "C.UTF-8" };
    delete environment.NOTIFY_SOCKET;
    // It must not outlive us, however we end.
    this.process = spawn("setpriv", ["--pdeathsig", "KILL", join(BUILD, "bin/alertsd")], { env: environment, stdio: ["ignore", "ignore", log] });
    this.end = once(this.process, "exit");
    closeSync(log);
    await this.answers();
  }

  /** Its readiness goes to service managers, with which Node cannot speak; so it is asked. */
  async answers() {
    for (;;) {
      try {
        return await call(this.socket, "org.varlink.service.GetInfo", {});
      } catch (error) {
        if (!this.isRunning) throw new Error(`the daemon ended: ${await readFile(this.log, "utf8")}`, { cause: error });
        await new Promise((resolve) => setTimeout(resolve, 10));
      }
    }
  }

  async stop() {
    if (!this.isRunning) return;
    this.process.kill();
    assert.deepEqual(await this.end, [0, null], await readFile(this.log, "utf8"));
    await this.checkLog();
  }

  /** No sanitizer has complained. */
  async checkLog() {
    assert.doesNotMatch(await readFile(this.log, "utf8"), SANITIZER);
  }

  /** Ends it as a crash would. */
  async kill() {
    this.process.kill("SIGKILL");
    await this.end;
  }

  /** Running, with nothing in it. */
  async reset() {
    await this.behave();
    await this.start();
    const both = { pushEnabled: true, mailEnabled: true };
    await this.call("SetAlertBundleSettings", { settings: { Common: both, Disk: both, Load: both } });
    await this.call("DeleteAlertsBeforeDate", { date: 1e10 });
    await this.call("SetMailRecipients", { recipients: [] });
    await this.call("SetPushRecipients", { recipients: [] });
    await this.checkLog();
    await writeFile(this.log, "");
  }

  async save(alerts) {
    for (let at = 0; at < alerts.length; at += 10_000) await this.call("SaveAlerts", { alerts: alerts.slice(at, at + 10_000) });
  }

  /** One of the 26 methods, as another client would call it. */
  async call(method, parameters) {
    const reply = await call(this.socket, `${DAEMON}.${method}`, parameters);
    assert.equal(reply.error, undefined, `${method}: ${JSON.stringify(reply.error)}`);
    return reply;
  }

  /** Its entries of the journal, newest first: in a private system they are lines of its log. */
  async journal() {
    const lines = (await readFile(this.log, "utf8")).split("\n").filter((line) => line.includes("VELTO_CHANNEL="));
    return lines.reverse().map((line) => {
      const fields = [...line.matchAll(/(?:^| )([A-Z_]+)=(.*?)(?= [A-Z_]+=|$)/g)].map(([, key, value]) => [key, value]);
      return { __REALTIME_TIMESTAMP: String(Date.now() * 1000), ...Object.fromEntries(fields) };
    });
  }
}

const ACTION = `#!/bin/sh
cat >/dev/null
[ "$1" = run ] || exit 1
printf x >>@ROOT@/action-runs
while [ -e @ROOT@/action-waits ]; do sleep 0.1; done
[ -e @ROOT@/action-error ] || exit 0
cat @ROOT@/action-error >&2
exit 1
`;

const MAILER = `#!/bin/sh
cat >/dev/null
[ -e @ROOT@/mail-error ] || exit 0
echo "the mail program was told to fail" >&2
exit "$(cat @ROOT@/mail-error)"
`;
