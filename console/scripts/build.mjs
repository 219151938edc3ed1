// SPDX-License-Identifier: Apache-2.0
// Builds the page into dist/.
// usage: node scripts/build.mjs

import { appendFile, cp, mkdir, readdir, readFile, rm, writeFile } from "node:fs/promises";
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

/** The licences of the packages that are in the page, each under a line with its name: their makers want them to come along. */
async function licences({ outputs }) {
  const paths = Object.values(outputs).flatMap(({ inputs }) => Object.keys(inputs).filter((path) => inputs[path].bytesInOutput > 0));
  const names = new Set(paths.flatMap((path) => /node_modules\/((?:@[^/]+\/)?[^/]+)/.exec(path)?.[1] ?? []));
  const texts = [...names].sort().map(async (name) => {
    const folder = join(home, "node_modules", name);
    const file = (await readdir(folder)).find((entry) => /^licen[cs]e/i.test(entry));
    if (!file) throw new Error(`${name} comes without its licence`);
    return `\n== ${name}\n\n${(await readFile(join(folder, file), "utf8")).trim()}\n`;
  });
  return (await Promise.all(texts)).join("");
}

await rm(out, { recursive: true, force: true });
await mkdir(out, { recursive: true });
const { metafile } = await build({
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
  metafile: true,
  logLevel: "warning",
});
await appendFile(join(out, "index.js.LEGAL.txt"), await licences(metafile));
for (const name of ["index.html", "manifest.json"]) await cp(join(home, "src", name), join(out, name));
for (const name of await readdir(join(home, "po"))) {
  if (name.endsWith(".po")) await writeFile(join(out, `po.${basename(name, ".po")}.js`), await poScript(join(home, "po", name)));
}
