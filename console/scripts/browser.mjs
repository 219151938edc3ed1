// SPDX-License-Identifier: Apache-2.0
// Runs the tests of test/browser against the page in dist/ and the daemon of VELTO_BUILD. All are in one process, one after
// the other, since they share a daemon, a Cockpit and a browser.
// usage: node scripts/browser.mjs [name...]

import { readdir } from "node:fs/promises";
import { join } from "node:path";
import { fileURLToPath } from "node:url";

import { endSystem } from "../test/browser/system.mjs";

const folder = fileURLToPath(new URL("../test/browser", import.meta.url));
const wanted = process.argv.slice(2);
const names = (await readdir(folder)).filter(
  (name) => name.endsWith(".test.mjs") && (wanted.length === 0 || wanted.some((one) => name.includes(one))),
);
endSystem();
for (const name of names.sort()) await import(join(folder, name));
