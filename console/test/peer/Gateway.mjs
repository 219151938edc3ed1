// SPDX-License-Identifier: Apache-2.0
//
// The push gateway of the daemon's own tests, for a private system: it does with a notification what its device's token,
// taken as text, says ("ok", "status 410 gone").

import { execFileSync, spawn } from "node:child_process";
import { once } from "node:events";
import { mkdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { fileURLToPath } from "node:url";

const script = fileURLToPath(new URL("../../../tests/support/gateway.js", import.meta.url));

function makeCertificates(folder) {
  mkdirSync(folder, { recursive: true });
  const openssl = (...words) => execFileSync("openssl", words, { cwd: folder, stdio: "ignore" });
  writeFileSync(join(folder, "extensions"), "subjectAltName=DNS:localhost,IP:127.0.0.1\n");
  for (const name of ["ca", "server"]) openssl("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", `${name}.key`);
  openssl("req", "-x509", "-key", "ca.key", "-subj", "/CN=authority", "-days", "2", "-out", "ca.pem");
  openssl("req", "-new", "-key", "server.key", "-subj", "/CN=server", "-out", "server.csr");
  const signed = ["-CA", "ca.pem", "-CAkey", "ca.key", "-CAcreateserial", "-days", "2", "-extfile", "extensions"];
  openssl("x509", "-req", "-in", "server.csr", ...signed, "-out", "server.pem");
}

export class Gateway {
  /** A running one, that the daemon below this root will use. */
  static async start(root) {
    const gateway = new Gateway();
    makeCertificates(join(root, "pki"));
    // It ends with its standard input, so with us.
    gateway.process = spawn(process.execPath, [script, join(root, "pki"), "{}"], { stdio: ["pipe", "pipe", "inherit"] });
    const [port] = await once(gateway.process.stdout, "data");
    const identity = `{ Endpoint = "https://localhost:${parseInt(port, 10)}/3/device"; CertificateAuthority = "/pki/ca.pem"; }\n`;
    writeFileSync(join(root, "etc/velto/push/ovix:com.ulmora.alerts.plist"), identity, { mode: 0o600 });
    return gateway;
  }

  async stop() {
    const isGone = once(this.process, "exit");
    this.process.stdin.end();
    await isGone;
  }
}

/** The token of a device, with which the gateway deals so. */
export function token(deed) {
  return Buffer.from(deed).toString("base64");
}
