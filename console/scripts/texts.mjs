// SPDX-License-Identifier: Apache-2.0
// The texts of the page that are to be translated, as its sources mark them.

import { readdir, readFile } from "node:fs/promises";
import { join } from "node:path";
import ts from "typescript";

async function sources(folder) {
  const entries = await readdir(folder, { withFileTypes: true, recursive: false });
  const found = await Promise.all(
    entries.map((entry) => {
      const path = join(folder, entry.name);
      if (entry.isDirectory()) return sources(path);
      return /\.tsx?$/.test(entry.name) && !entry.name.endsWith(".d.ts") ? [path] : [];
    }),
  );
  return found.flat();
}

function literal(node, path) {
  if (node && ts.isStringLiteralLike(node)) return node.text;
  throw new Error(`${path}: only literal texts can be translated`);
}

/** `{ id, plural }` for each text, in the order of the sources. */
export async function textsOf(folder) {
  const texts = new Map();
  for (const path of (await sources(folder)).sort()) {
    if (path.endsWith("ui/text.ts")) continue; // where the marks themselves are made
    const file = ts.createSourceFile(path, await readFile(path, "utf8"), ts.ScriptTarget.Latest, true, ts.ScriptKind.TSX);
    const visit = (node) => {
      if (ts.isCallExpression(node) && ts.isIdentifier(node.expression)) {
        const name = node.expression.text;
        if (name === "_") texts.set(literal(node.arguments[0], path), undefined);
        if (name === "plural") texts.set(literal(node.arguments[0], path), literal(node.arguments[1], path));
      }
      ts.forEachChild(node, visit);
    };
    visit(file);
  }
  return [...texts].map(([id, plural]) => ({ id, plural }));
}
