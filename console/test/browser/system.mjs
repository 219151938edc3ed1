// SPDX-License-Identifier: Apache-2.0
//
// A system to try the page in: the service, Cockpit's web service and bridge as Debian has them, and Chromium.
// `journalctl`, `systemctl`, and what gives administrative access are programs of ours that ask the test what to say.

import { spawn } from "node:child_process";
import { once } from "node:events";
import { chmod, cp, mkdir, mkdtemp, rm, writeFile } from "node:fs/promises";
import { createServer } from "node:net";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

import { RealService } from "../peer/RealService.mjs";
import { ScriptedService } from "../peer/ScriptedService.mjs";

const dist = fileURLToPath(new URL("../../dist", import.meta.url));

/** The folder of another Debian, whose Cockpit is tried instead of this system's (console/scripts/cockpit-root makes one). */
const otherRoot = process.env.VELTO_COCKPIT_ROOT;

/** Runs a command in another Debian, which sees the folder for temporary files as this one does. */
const INSIDE = `root=$1 shared=$2; shift 2
mkdir -p "$root$shared"
mount --bind "$shared" "$root$shared"
mount --bind /dev "$root/dev"
mount -t proc proc "$root/proc"
exec chroot "$root" "$@"`;

/** The tests that need more than the real service can be told to do pass it over. */
export const isReal = process.env.VELTO_CONSOLE_PEER === "daemon";
export const scriptedOnly = isReal ? { skip: "only the scripted service can be told to do this" } : {};

export class System {
  /** A running one; `session` is the command that serves Cockpit's session. */
  static async start({ session = "/usr/bin/cockpit-bridge", manifests = {} } = {}) {
    const system = new System();
    system.folder = await mkdtemp(join(tmpdir(), "va-"));
    system.service = isReal ? new RealService(system.folder) : new ScriptedService(join(system.folder, "daemon"));
    system.unit = { LoadState: "loaded", ActiveState: "active", SubState: "running", UnitFileState: "enabled", Result: "success" };
    system.journal = undefined;
    system.commands = [];
    await system.service.start();
    await system.makeShare(manifests);
    await system.makePrograms();
    await system.startCockpit(session);
    system.browser = await chromium.launch({
      executablePath: process.env.VELTO_CHROMIUM ?? "/usr/bin/chromium",
      args: process.getuid() === 0 ? ["--no-sandbox", "--disable-dev-shm-usage"] : [],
    });
    await system.keepSession();
    return system;
  }

  /** The session ends for good when no page has been connected for a while, so one always is. */
  async keepSession() {
    const page = await this.browser.newPage();
    await page.goto(this.address.replace("velto", "keeper"));
    await page.waitForFunction(() => document.title === "kept");
  }

  async makeShare(manifests) {
    const packages = join(this.folder, "share/cockpit");
    await cp(dist, join(packages, "velto"), { recursive: true });
    for (const [name, manifest] of Object.entries(manifests)) {
      await mkdir(join(packages, name), { recursive: true });
      await writeFile(join(packages, name, "manifest.json"), JSON.stringify(manifest));
    }
    await mkdir(join(packages, "keeper"));
    await writeFile(join(packages, "keeper/manifest.json"), "{}");
    await writeFile(join(packages, "keeper/index.html"), '<!DOCTYPE html><script src="../base1/cockpit.js"></script><script src="keep.js"></script>');
    await writeFile(join(packages, "keeper/keep.js"), "cockpit.transport.wait(() => (document.title = 'kept'));");
  }

  async makePrograms() {
    this.control = join(this.folder, "control");
    this.controller = createServer({ allowHalfOpen: true }, (socket) => void this.takeCommand(socket));
    await new Promise((resolve) => this.controller.listen(this.control, resolve));
    await mkdir(join(this.folder, "bin"));
    for (const name of ["journalctl", "systemctl", "grant"]) {
      const path = join(this.folder, "bin", name);
      const program = `#!/usr/bin/python3
import json, os, socket, sys
with socket.socket(socket.AF_UNIX) as control:
    control.connect(${JSON.stringify(this.control)})
    control.sendall(json.dumps([${JSON.stringify(name)}, *sys.argv[1:]]).encode())
    control.shutdown(socket.SHUT_WR)
    answer = json.loads(b"".join(iter(lambda: control.recv(65536), b"")))
if ${JSON.stringify(name)} == "grant":
    os.execvp("cockpit-bridge", ["cockpit-bridge", "--privileged"])
(sys.stderr if answer["code"] else sys.stdout).write(answer["output"])
sys.exit(answer["code"])
`;
      await writeFile(path, program);
      await chmod(path, 0o755);
    }
  }

  async takeCommand(socket) {
    let text = "";
    socket.on("error", () => {}); // its page has gone, and it with it
    socket.setEncoding("utf8").on("data", (part) => (text += part));
    await once(socket, "end");
    if (text === "") return void socket.destroy(); // the page has gone, and its program with it
    const [name, ...words] = JSON.parse(text);
    this.commands.push([name, ...words]);
    const answer = await this.answers[name](words);
    socket.end(JSON.stringify(answer));
  }

  get answers() {
    return {
      journalctl: (words) => this.answerJournal(words),
      systemctl: (words) => this.answerUnit(words),
      // On the way to administrative access, before the bridge that has it starts.
      grant: () => (this.onGrant?.(), { output: "", code: 0 }),
    };
  }

  answerJournal(words) {
    const id = words.find((word) => word.startsWith("VELTO_ALERT_ID="))?.slice(15);
    const entries = (this.journal ?? this.service.journal ?? []).filter((entry) => id === undefined || entry.VELTO_ALERT_ID === id);
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
    Object.assign(this.unit, { ActiveState: "active", SubState: "running", Result: "success" });
    return { output: "", code: 0 };
  }

  async startCockpit(session) {
    this.port = await freePort();
    const words = ["--no-tls", "-a", "127.0.0.1", "-p", String(this.port), `--local-session=${session}`];
    const environment = {
      ...process.env,
      PATH: `${join(this.folder, "bin")}:${process.env.PATH}`,
      XDG_DATA_DIRS: `${join(this.folder, "share")}:/usr/share`,
      XDG_CONFIG_HOME: this.folder,
      LANG: "C.UTF-8",
    };
    const inside = otherRoot ? ["unshare", "--mount", "sh", "-ec", INSIDE, "sh", otherRoot, tmpdir()] : [];
    // It must not outlive us, however we end.
    this.cockpit = spawn("setpriv", ["--pdeathsig", "TERM", ...inside, "/usr/lib/cockpit/cockpit-ws", ...words], { env: environment, stdio: ["ignore", "ignore", "pipe"] });
    this.cockpit.stderr.on("data", (text) => process.env.VELTO_CONSOLE_LOG && process.stderr.write(text));
    this.address = `http://127.0.0.1:${this.port}/cockpit/@localhost/velto/index.html`;
    await reachable(this.address, this.cockpit);
  }

  /** A page of a browser with nothing kept, at a place of ours or still empty; what it complained of is in `complaints`. */
  async open(place = "#/", { width = 1280, height = 800, locale = "en-US", theme, zone = "Europe/Berlin", context: more = {} } = {}) {
    const context = await this.browser.newContext({ viewport: { width, height }, locale, timezoneId: zone, ...more });
    const settings = [this.service.socket, theme ?? "light"];
    await context.addInitScript(([socket, style]) => {
      if (window.location.protocol !== "http:") return;
      window.sessionStorage.setItem("veltoSocket", socket);
      window.localStorage.setItem("shell:style", style);
    }, settings);
    context.setDefaultTimeout(60_000); // the machine may be busy with other tests
    const page = await context.newPage();
    page.complaints = [];
    page.on("console", (message) => message.type() === "error" && page.complaints.push(message.text()));
    page.on("pageerror", (error) => page.complaints.push(String(error)));
    await page.goto(place === "about:blank" ? place : this.address + place);
    return page;
  }

  /** A running service with nothing in it, that behaves. */
  async reset() {
    Object.assign(this.unit, { ActiveState: "active", SubState: "running", Result: "success" });
    this.unitError = this.onStart = this.onGrant = undefined;
    await this.service.reset();
    await this.service.start();
    await this.service.call("DeleteAlertsBeforeDate", { date: 1e9 });
    await this.service.call("SetMailRecipients", { recipients: [] });
    await this.service.call("SetPushRecipients", { recipients: [] });
  }

  async stop() {
    await this.browser?.close();
    if (this.cockpit && this.cockpit.exitCode === null) {
      const isGone = new Promise((resolve) => this.cockpit.once("exit", resolve));
      this.cockpit.kill();
      await isGone;
    }
    this.controller?.close();
    await this.service.stop();
    await rm(this.folder, { recursive: true, force: true });
  }
}

function freePort() {
  return new Promise((resolve) => {
    const server = createServer().listen(0, "127.0.0.1", () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
}

/** Waits until Cockpit serves; there is no event for it. */
async function reachable(address, process) {
  for (let tries = 0; tries < 200; tries++) {
    if (process.exitCode !== null) throw new Error(`cockpit-ws ended with ${process.exitCode}`);
    try {
      if ((await fetch(address)).ok) return;
    } catch {
      // not yet
    }
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
  throw new Error("cockpit-ws does not serve");
}
