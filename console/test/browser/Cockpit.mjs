// SPDX-License-Identifier: Apache-2.0
//
// Cockpit's web service and bridge, as Debian has them, with nothing but our page in them. `journalctl`, `systemctl`,
// and what gives administrative access are programs that ask the test what to say.

import { spawn } from "node:child_process";
import { once } from "node:events";
import { chmod, cp, mkdir, symlink, writeFile } from "node:fs/promises";
import { createServer } from "node:net";
import { join } from "node:path";
import { fileURLToPath } from "node:url";

const dist = fileURLToPath(new URL("../../dist", import.meta.url));
const grants = fileURLToPath(new URL("grants.py", import.meta.url));
const WEB_SERVICE = "/usr/lib/cockpit/cockpit-ws";
const BRIDGE = "/usr/bin/cockpit-bridge";

/** The folder of another Debian, whose Cockpit is tried instead of this system's. */
const otherRoot = process.env.VELTO_COCKPIT_ROOT;

/** Runs a command in another Debian, which sees the folder for temporary files as this one does. */
const INSIDE = `root=$1; shift
mount --bind /tmp "$root/tmp"
mount --bind /dev "$root/dev"
mount -t proc proc "$root/proc"
exec chroot "$root" "$@"`;

/** Sends what it was called with, and ends as it is told to. In Python, which another Debian has as well. */
const ASKING = `#!/usr/bin/python3
import json, socket, sys
with socket.socket(socket.AF_UNIX) as peer:
    peer.connect("@FOLDER@/asked")
    peer.sendall(json.dumps(["@NAME@", *sys.argv[1:]]).encode())
    peer.shutdown(socket.SHUT_WR)
    answer = json.loads(b"".join(iter(lambda: peer.recv(65536), b"")))
(sys.stderr if answer["code"] else sys.stdout).write(answer["output"])
sys.exit(answer["code"])
`;

/** Becomes the bridge with administrative access. */
const GRANTING = `#!/bin/sh
exec /usr/bin/python3 @FOLDER@/bin/grants.py ask @FOLDER@/grants
`;

/** The session's bridge, as a user who may nothing. */
const ORDINARY = `#!/bin/sh
exec setpriv --reuid=nobody --regid=nogroup --clear-groups ${BRIDGE} "$@"
`;

export class Cockpit {
  /**
   * `answer(name, words)` gives `{ output, code }` for a program. With `isOrdinary` the session is nobody's; with
   * `canGrant` it has a way to administrative access.
   */
  constructor(folder, answer, { isOrdinary = false, canGrant = false } = {}) {
    Object.assign(this, { folder, answer, isOrdinary, canGrant });
    this.children = [];
  }

  path(name) {
    return join(this.folder, name);
  }

  async start() {
    await this.makeShare();
    await this.makePrograms();
    if (this.canGrant) await this.startGranting();
    const port = await freePort();
    this.address = `http://127.0.0.1:${port}/cockpit/@localhost/velto/index.html`;
    const session = this.isOrdinary ? this.path("bin/ordinary") : BRIDGE;
    const words = ["--no-tls", "-a", "127.0.0.1", "-p", String(port), `--local-session=${session}`];
    this.process = this.spawn(WEB_SERVICE, words, ["ignore", "ignore", "pipe"]);
    this.process.stderr.on("data", (text) => process.env.VELTO_CONSOLE_LOG && process.stderr.write(text));
    await reachable(this.address, this.process);
  }

  spawn(program, words, stdio) {
    const environment = {
      ...process.env,
      PATH: `${this.path("bin")}:${process.env.PATH}`,
      XDG_DATA_DIRS: this.path("share"),
      XDG_CONFIG_HOME: this.folder,
      LANG: "C.UTF-8",
    };
    // It must not outlive us, however we end.
    const inside = otherRoot ? ["unshare", "--mount", "sh", "-ec", INSIDE, "sh", otherRoot] : [];
    const child = spawn("setpriv", ["--pdeathsig", "TERM", ...inside, program, ...words], { env: environment, stdio });
    child.gone = once(child, "exit");
    this.children.push(child);
    return child;
  }

  async makeShare() {
    const packages = this.path("share/cockpit");
    await cp(dist, join(packages, "velto"), { recursive: true });
    for (const name of ["base1", "static", "branding"]) await symlink(`/usr/share/cockpit/${name}`, join(packages, name));
    if (this.canGrant) {
      const bridges = [{ privileged: true, label: "Trial", spawn: ["grant"] }];
      await this.makePackage("trial", { "manifest.json": JSON.stringify({ bridges }) });
    }
    await this.makePackage("keeper", {
      "manifest.json": "{}",
      "index.html": '<!DOCTYPE html><script src="../base1/cockpit.js"></script><script src="keep.js"></script>',
      "keep.js": "cockpit.transport.wait(() => (document.title = 'kept'));",
    });
  }

  async makePackage(name, files) {
    const folder = this.path(`share/cockpit/${name}`);
    await mkdir(folder, { recursive: true });
    for (const [file, text] of Object.entries(files)) await writeFile(join(folder, file), text);
  }

  async makePrograms() {
    this.door = createServer({ allowHalfOpen: true }, (socket) => void this.serve(socket));
    await new Promise((resolve) => this.door.listen(this.path("asked"), resolve));
    await chmod(this.path("asked"), 0o666);
    await mkdir(this.path("bin"), { recursive: true });
    const programs = { journalctl: ASKING, systemctl: ASKING, grant: GRANTING, ordinary: ORDINARY };
    for (const [name, text] of Object.entries(programs)) {
      const path = this.path(`bin/${name}`);
      await writeFile(path, text.replaceAll("@FOLDER@", this.folder).replaceAll("@NAME@", name));
      await chmod(path, 0o755);
    }
  }

  /** One of the programs asks. Its page may go at any time, and the program with it. */
  async serve(socket) {
    let text = "";
    socket.on("error", () => {});
    socket.setEncoding("utf8").on("data", (part) => (text += part));
    await once(socket, "end");
    if (text === "") return void socket.destroy();
    const [name, ...words] = JSON.parse(text);
    socket.end(JSON.stringify(await this.answer(name, words)));
  }

  async startGranting() {
    const program = this.path("bin/grants.py");
    await cp(grants, program); // where another user, and another Debian, can read it
    const { stdout, gone } = this.spawn("/usr/bin/python3", [program, "serve", this.path("grants")], ["ignore", "pipe", "inherit"]);
    await Promise.race([once(stdout, "data"), gone.then(([code]) => Promise.reject(new Error(`grants.py ended with ${code}`)))]);
  }

  /** A session ends for good when no page has been connected for a while, so one always is. */
  async keepSession(browser) {
    const page = await browser.newPage();
    await page.goto(this.address.replace("velto", "keeper"));
    await page.waitForFunction(() => document.title === "kept", undefined, { timeout: 60_000 });
  }

  async stop() {
    for (const child of this.children) child.kill();
    await Promise.all(this.children.map(({ gone }) => gone));
    this.door?.close();
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
async function reachable(address, child) {
  for (;;) {
    if (child.exitCode !== null) throw new Error(`cockpit-ws ended with ${child.exitCode}`);
    try {
      if ((await fetch(address)).ok) return;
    } catch {
      // not yet
    }
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}
