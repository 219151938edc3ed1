// SPDX-License-Identifier: Apache-2.0
// The built page stays small, and loads nothing from elsewhere.

import assert from "node:assert/strict";
import { readdir, readFile } from "node:fs/promises";
import { test } from "node:test";
import { gzipSync } from "node:zlib";

const dist = new URL("../../dist/", import.meta.url);
const MOST = 350 * 1024;

test("the whole page, in all its languages, has at most 350 KB compressed", async (context) => {
  const names = await readdir(dist);
  assert.ok(names.includes("index.js") && names.includes("index.css") && names.includes("manifest.json"), "npm run build makes it");
  let sum = 0;
  for (const name of names) sum += gzipSync(await readFile(new URL(name, dist)), { level: 9 }).length;
  context.diagnostic(`${Math.round(sum / 1024)} KB`);
  assert.ok(sum <= MOST, `${sum} bytes`);
});

test("styles name nothing but Cockpit's fonts", async () => {
  const styles = await readFile(new URL("index.css", dist), "utf8");
  const addresses = [...styles.matchAll(/url\(\s*["']?([^)"']+)/g)].map(([, address]) => address);
  assert.deepEqual(addresses.filter((address) => !/^(\.\.\/\.\.\/static\/fonts\/\w+-\w+\.woff2|data:)/.test(address)), []);
  assert.doesNotMatch(styles, /@import/);
});

test("the page has no script, style or handler within it, as Cockpit's content security policy wants", async () => {
  const page = await readFile(new URL("index.html", dist), "utf8");
  assert.doesNotMatch(page, /<style|style=|<script(?![^>]*\ssrc=)|\son\w+=|https?:/);
});
