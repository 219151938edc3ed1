// SPDX-License-Identifier: Apache-2.0
// Every text of the page is there in every language, with its placeholders.

import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";
import { fileURLToPath } from "node:url";
import { runInNewContext } from "node:vm";

import { parsePo, poScript } from "../../scripts/po.mjs";
import { textsOf } from "../../scripts/texts.mjs";

const path = (name) => fileURLToPath(new URL(`../../${name}`, import.meta.url));
const placeholders = (text) => [...new Set(text.match(/\$\d/g))].sort().join();

test("po files are read as gettext writes them", () => {
  const text = 'msgid ""\nmsgstr "Language: xx\\n"\n"Plural-Forms: nplurals=2; plural=n>1;\\n"\n\n#: a.ts\nmsgid "a \\"b\\""\n"c"\nmsgid_plural "d"\nmsgstr[0] "e"\nmsgstr[1] ""\n"f"\n';
  assert.deepEqual(parsePo(text)[1], { id: 'a "b"c', plural: "d", strings: ["e", "f"] });
});

for (const language of ["de", "fr"]) {
  test(`everything is said in ${language}, and nothing that is not asked for`, async () => {
    const entries = parsePo(await readFile(path(`po/${language}.po`), "utf8")).slice(1);
    const texts = await textsOf(path("src"));
    assert.deepEqual(entries.map(({ id, plural }) => [id, plural]).sort(), texts.map(({ id, plural }) => [id, plural]).sort());
    for (const { id, plural, strings } of entries) {
      assert.equal(strings.length, plural === undefined ? 1 : 2, id);
      for (const string of strings) assert.notEqual(string, "", id);
      assert.equal(placeholders(strings[strings.length - 1]), placeholders(plural ?? id), id);
    }
  });

  test(`Cockpit takes the script for ${language}`, async () => {
    let taken;
    runInNewContext(await poScript(path(`po/${language}.po`)), { cockpit: { locale: (texts) => (taken = texts) } });
    assert.equal(taken[""].language, language);
    assert.equal(Number(taken[""]["plural-forms"](2)), 1);
    assert.equal(Number(taken[""]["plural-forms"](1)), 0);
    assert.equal(taken.History.length, 2);
  });
}
