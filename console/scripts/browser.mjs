// SPDX-License-Identifier: Apache-2.0
// Runs the tests of test/browser against the page in dist/.
// usage: node scripts/browser.mjs [name...]

import { spawnSync } from "node:child_process";
import { readdir } from "node:fs/promises";
import { join } from "node:path";
import { fileURLToPath } from "node:url";

const folder = fileURLToPath(new URL("../test/browser", import.meta.url));
const wanted = process.argv.slice(2);
const names = (await readdir(folder)).filter(
  (name) => name.endsWith(".test.mjs") && (wanted.length === 0 || wanted.some((one) => name.includes(one))),
);
process.exitCode = spawnSync(process.execPath, ["--test", ...names.map((name) => join(folder, name))], { stdio: "inherit" }).status ?? 1;
