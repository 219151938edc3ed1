// SPDX-License-Identifier: Apache-2.0
// Builds the page into dist/.
// usage: node scripts/build.mjs

import { cp, mkdir, readdir, readFile, rm, writeFile } from "node:fs/promises";
import { basename, join } from "node:path";
import { fileURLToPath } from "node:url";
import { build } from "esbuild";

import { poScript } from "./po.mjs";

const home = fileURLToPath(new URL("..", import.meta.url));
const out = join(home, "dist");

/** PatternFly brings fonts and pictures of its own; Cockpit serves the fonts already, and the pictures are not used. */
const withoutAssets = {
  name: "without-assets",
  setup(builder) {
    builder.onLoad({ filter: /react-core\/dist\/styles\/base\.css$/ }, async ({ path }) => {
      const text = await readFile(path, "utf8");
      const contents = text.replace(/@font-face\s*\{[^}]*\}/g, "").replace(/url\([^)]*assets\/[^)]*\)/g, "none");
      return { contents, loader: "css" };
    });
    builder.onResolve({ filter: /\.(woff2?|svg|png|jpg)$/ }, ({ path }) => ({ path, external: true }));
  },
};

await rm(out, { recursive: true, force: true });
await mkdir(out, { recursive: true });
await build({
  entryPoints: [join(home, "src/index.tsx")],
  outdir: out,
  bundle: true,
  minify: true,
  legalComments: "linked",
  format: "iife",
  jsx: "automatic",
  target: ["chrome100", "firefox102", "safari16"],
  define: { "process.env.NODE_ENV": '"production"' },
  plugins: [withoutAssets],
  logLevel: "warning",
});
for (const name of ["index.html", "manifest.json"]) await cp(join(home, "src", name), join(out, name));
for (const name of await readdir(join(home, "po"))) {
  if (name.endsWith(".po")) await writeFile(join(out, `po.${basename(name, ".po")}.js`), await poScript(join(home, "po", name)));
}
