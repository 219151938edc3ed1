// SPDX-License-Identifier: Apache-2.0
// Translations: po files, and the scripts that Cockpit's pages load them as.

import { readFile } from "node:fs/promises";

function unquote(line) {
  return JSON.parse(line.slice(line.indexOf('"')));
}

/** The entries of a po file: `{ id, plural, strings }`; the first has the empty id and is the head. */
export function parsePo(text) {
  const entries = [];
  let entry;
  let add = () => {};
  for (const line of text.split("\n")) {
    if (line.startsWith("msgid ")) {
      entry = { id: "", plural: undefined, strings: [] };
      entries.push(entry);
      add = (part) => (entry.id += part);
    } else if (line.startsWith("msgid_plural ")) {
      entry.plural = "";
      add = (part) => (entry.plural += part);
    } else if (line.startsWith("msgstr")) {
      const place = entry.strings.push("") - 1;
      add = (part) => (entry.strings[place] += part);
    }
    if (line.includes('"') && !line.startsWith("#")) add(unquote(line));
  }
  return entries;
}

function headOf(entries) {
  const lines = entries[0].strings[0].split("\n");
  return new Map(lines.map((line) => [line.slice(0, line.indexOf(":")).toLowerCase(), line.slice(line.indexOf(":") + 1).trim()]));
}

/** The script for a page: the plural's formula is a function there, which the content security policy lets through. */
export async function poScript(path) {
  const entries = parsePo(await readFile(path, "utf8"));
  const head = headOf(entries);
  const formula = /plural=([n0-9\s()?:<>=!&|%]+);?/.exec(head.get("plural-forms"))?.[1];
  if (!formula) throw new Error(`${path}: no plural formula`);
  const texts = entries.slice(1).map(({ id, strings }) => `${JSON.stringify(id)}:${JSON.stringify([null, ...strings])}`);
  const meta = `"":{"plural-forms":(n)=>${formula.trim()},"language":${JSON.stringify(head.get("language"))},"language-direction":"ltr"}`;
  return `cockpit.locale({${[meta, ...texts].join(",")}});\n`;
}
