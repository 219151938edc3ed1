// SPDX-License-Identifier: Apache-2.0
// Runs the unit tests of test/unit, which are TypeScript, in Node's own test runner, and checks the built page's size.
// usage: node scripts/unit.mjs [name...]

import { spawnSync } from "node:child_process";
import { readdir, rm } from "node:fs/promises";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import { build } from "esbuild";

const home = fileURLToPath(new URL("..", import.meta.url));
const out = join(home, ".cache/unit");
const wanted = process.argv.slice(2);

const names = (await readdir(join(home, "test/unit"))).filter(
  (name) => name.endsWith(".test.ts") && (wanted.length === 0 || wanted.some((one) => name.includes(one))),
);
await rm(out, { recursive: true, force: true });
await build({
  entryPoints: names.map((name) => join(home, "test/unit", name)),
  outdir: out,
  outExtension: { ".js": ".mjs" },
  bundle: true,
  platform: "node",
  format: "esm",
  target: "node18",
  jsx: "automatic",
  sourcemap: "inline",
  logLevel: "warning",
});
const files = names.map((name) => join(out, name.replace(/\.ts$/, ".mjs")));
const scripts = (await readdir(join(home, "test/scripts"))).filter((name) => name.endsWith(".test.mjs")).map((name) => join(home, "test/scripts", name));
const all = wanted.length === 0 ? [...files, ...scripts] : files;
process.exitCode = spawnSync(process.execPath, ["--enable-source-maps", "--test", ...all], { stdio: "inherit" }).status ?? 1;
