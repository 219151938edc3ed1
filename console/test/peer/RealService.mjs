// SPDX-License-Identifier: Apache-2.0
// The real daemon in a private system, behind the same functions as the scripted service.

import { spawn } from "node:child_process";
import { cp, mkdir, writeFile, chmod } from "node:fs/promises";
import { connect } from "node:net";
import { join } from "node:path";

const DAEMON = "com.ulmora.velto.AlertsDaemon";

export class RealService {
  constructor(folder) {
    this.root = join(folder, "root");
    this.socket = join(this.root, "run/velto", DAEMON);
    this.build = process.env.VELTO_BUILD ?? "build/release";
    this.journal = [];
  }

  get isScripted() {
    return false;
  }

  async prepare() {
    if (this.isPrepared) return;
    this.isPrepared = true;
    const bundles = join(this.root, "usr/lib/velto/alert-bundles");
    await mkdir(join(this.root, "Library/Velto"), { recursive: true });
    await mkdir(join(this.root, "usr/sbin"), { recursive: true });
    await cp(join(this.build, "bundles"), bundles, { recursive: true });
    // The action of the example would empty this machine's cache of packages.
    const action = join(bundles, "Disk.bundle/Contents/Actions/FreeSpace");
    const error = join(this.root, "action-error");
    await writeFile(action, `#!/bin/sh\ncat >/dev/null\n[ "$1" = run ] || exit 1\n[ -s ${error} ] || exit 0\ncat ${error} >&2\nexit 1\n`);
    await chmod(action, 0o755);
    const mailer = join(this.root, "usr/sbin/sendmail");
    await writeFile(mailer, "#!/bin/sh\nexec cat >/dev/null\n");
    await chmod(mailer, 0o755);
  }

  get isRunning() {
    return this.process !== undefined && this.process.exitCode === null && this.process.signalCode === null;
  }

  /** Does nothing where it runs already. */
  async start() {
    if (this.isRunning) return;
    await this.prepare();
    this.process = spawn(join(this.build, "bin/alertsd"), [], { env: { ...process.env, VELTO_ROOT: this.root }, stdio: ["ignore", "ignore", "pipe"] });
    this.process.stderr.on("data", (text) => this.note(String(text)));
    for (;;) {
      try {
        await this.call("GetAlertBundleNames", {});
        const both = { pushEnabled: true, mailEnabled: true };
        await this.call("SetAlertBundleSettings", { settings: { Common: both, Disk: both } });
        return;
      } catch (error) {
        if (this.process.exitCode !== null) throw error;
        await new Promise((resolve) => setTimeout(resolve, 20));
      }
    }
  }

  /** In a private system the entries of the journal are lines on the standard error. */
  note(text) {
    for (const line of text.split("\n").filter((one) => one.includes("VELTO_CHANNEL="))) {
      const fields = line.matchAll(/(?:^| )(VELTO_[A-Z_]+)=(.*?)(?= VELTO_[A-Z_]+=|$)/g);
      this.journal.unshift({ __REALTIME_TIMESTAMP: String(Date.now() * 1000), ...Object.fromEntries([...fields].map(([, key, value]) => [key, value])) });
    }
  }

  async stop() {
    const { process: child } = this;
    if (!this.isRunning) return;
    const isGone = new Promise((resolve) => child.once("exit", resolve));
    child.kill();
    await isGone;
  }

  async save(alerts) {
    for (let at = 0; at < alerts.length; at += 1000) await this.call("SaveAlerts", { alerts: alerts.slice(at, at + 1000) });
  }

  async reset() {
    await this.prepare();
    await this.setActionError(undefined);
    this.journal = [];
  }

  async setActionError(text) {
    await writeFile(join(this.root, "action-error"), text ?? "");
  }

  call(method, parameters) {
    return new Promise((resolve, reject) => {
      const socket = connect(this.socket);
      let text = "";
      socket.setEncoding("utf8");
      socket.on("error", reject);
      socket.on("close", () => reject(new Error(`${method}: no answer`)));
      socket.on("data", (part) => {
        text += part;
        if (!text.includes("\0")) return;
        const { parameters: reply, error } = JSON.parse(text.slice(0, text.indexOf("\0")));
        if (error) reject(new Error(error));
        else resolve(reply ?? {});
        socket.destroy();
      });
      socket.write(`${JSON.stringify({ method: `${DAEMON}.${method}`, parameters })}\0`);
    });
  }
}
