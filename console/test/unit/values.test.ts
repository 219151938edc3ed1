// SPDX-License-Identifier: Apache-2.0
// Small functions from values to values.

import assert from "node:assert/strict";
import { test } from "node:test";

import { dayStart, fromDate, fromDay, toDate, toDay } from "../../src/service/dates.ts";
import { parseJournal } from "../../src/service/journal.ts";
import { alert, events, status } from "../../src/service/types.ts";
import { ShapeError } from "../../src/service/shape.ts";
import { parseUnit } from "../../src/service/unit.ts";
import { doToMany } from "../../src/views/alerts/doToMany.ts";
import { filtersOf, queryOf } from "../../src/views/alerts/query.ts";
import { countByAge, countByDay, lastDays } from "../../src/views/history/days.ts";
import { tokenHint, tokenToBase64 } from "../../src/views/telling/token.ts";

// Berlin has a day of 23 hours and one of 25.
process.env.TZ = "Europe/Berlin";

test("dates count from 2001, and days are the reader's", () => {
  assert.equal(toDate(0).toISOString(), "2001-01-01T00:00:00.000Z");
  assert.equal(fromDate(new Date("2026-01-01T00:00:00Z")), 788918400);
  assert.equal(toDay(dayStart(new Date(2026, 2, 29, 12), 1)), "2026-03-30");
  assert.equal(dayStart(new Date(2026, 2, 29, 12), 1).getTime() - dayStart(new Date(2026, 2, 29)).getTime(), 23 * 3600_000);
  for (const wrong of ["", "2026-02-30", "2026-1-1", "x", "2026-13-01"]) assert.equal(fromDay(wrong), undefined, wrong);
});

test("an absent member is left out, null, or the mark of libraries without null", () => {
  for (const absent of [{}, { type: null }, { type: { $absent: true } }]) {
    assert.equal(alert(absent, "alert").type, undefined);
  }
});

test("what is of the wrong kind is named by its path", () => {
  const wrong: [unknown, RegExp][] = [
    [{ sequence: 1, events: [{ sequence: 1, kind: "new" }] }, /reply\.events\[0\]\.kind/],
    [{ sequence: "1", events: [] }, /reply\.sequence/],
    [{ sequence: 1, events: {} }, /reply\.events is no array/],
    [{ sequence: 1, events: [{ sequence: 1, kind: "added", alert: { sentDate: "x" } }] }, /alert\.sentDate/],
  ];
  for (const [value, path] of wrong) assert.throws(() => events(value, "reply"), (error) => error instanceof ShapeError && path.test(error.message));
  assert.throws(() => status({ status: null }, "reply"), /reply\.status is no object/);
});

test("the filters of an address, and what they ask for", () => {
  assert.deepEqual(filtersOf({ bundle: "Disk", text: "", other: "x" }), { bundle: "Disk" });
  const query = queryOf({ from: "2026-03-29", to: "2026-03-29", unread: "1", unresolved: "0" });
  assert.equal(Math.round((query.to ?? 0) - (query.from ?? 0)), 23 * 3600);
  // What is sent at midnight belongs to the day that begins; the service leaves out the beginning and takes in the end.
  const midnight = fromDate(new Date(2026, 2, 29));
  assert.ok((query.from ?? 0) < midnight && (query.to ?? 0) < midnight + 23 * 3600);
  assert.deepEqual([query.unread, query.unresolved], [true, undefined]);
  assert.deepEqual([queryOf({ from: "nonsense" }).from], [undefined]);
});

test("a token is hexadecimal or base64", () => {
  const cases: [string, string | undefined][] = [
    ["0a0B", "Cgs="],
    ["<0a 0b 0c>", "CgsM"],
    ["Cgs=", "Cgs="],
    ["", undefined],
    ["xyz", undefined],
    ["abc", undefined],
    ["Cgs", undefined],
    ["ä".repeat(4), undefined],
  ];
  for (const [given, expected] of cases) assert.equal(tokenToBase64(given), expected, given);
  assert.equal(tokenHint("Cgs="), "0a0b…");
  assert.equal(tokenHint("?"), "");
});

test("of the journal's lines those that are entries count", () => {
  const entry = { __REALTIME_TIMESTAMP: "1000000", VELTO_CHANNEL: "mail", VELTO_RECIPIENTS: [0x61, 0xc3, 0xa4], VELTO_RESULT: "failed", VELTO_STATUS: ["75", "76"], VELTO_DURATION_USEC: "1500" };
  const [delivery, ...others] = parseJournal(`-- No entries --\n${JSON.stringify(entry)}\n{"cut`);
  assert.deepEqual(others, []);
  assert.deepEqual([delivery?.time, delivery?.recipients, delivery?.isDelivered, delivery?.status, delivery?.duration], [1000, "aä", false, "75", 1.5]);
});

test("a unit is read from what systemctl shows", () => {
  const unit = parseUnit("LoadState=loaded\nActiveState=failed\nSubState=failed\nResult=exit-code\n");
  assert.deepEqual(unit, { load: "loaded", active: "failed", sub: "failed", file: "", result: "exit-code" });
});

test("hours are counted in the reader's days, the longest included", () => {
  const days = lastDays(new Date(2026, 9, 26, 12));
  assert.deepEqual([days.length, toDay(days[88] ?? new Date(0))], [90, "2026-10-25"]);
  const start = fromDate(days[88] ?? new Date(0));
  const entries = Array.from({ length: 26 }, (_value, hour) => ({ start: start + hour * 3600, bundle: "B", count: 1 }));
  const [[, counts] = ["", []]] = countByDay([...entries, { start: 0, bundle: "old", count: 9 }], days);
  assert.deepEqual(counts.slice(87), [0, 25, 1]);
});

test("open alerts by age, from the newest to the oldest", () => {
  const of = (days: number) => ({ alert: alert({ sentDate: -days * 86400 }, "alert"), subject: undefined });
  assert.deepEqual(countByAge([of(0.5), of(1), of(6.9), of(7), of(89), of(90), of(5000)], 0), [1, 2, 1, 1, 2]);
});

test("of many changes each is tried once, and those that fail are told", async () => {
  const tried: string[] = [];
  const change = async (id: string) => {
    tried.push(id);
    if (id === "c") throw new Error("broken");
  };
  const seen: number[] = [];
  const { done, failed } = await doToMany(["a", "b", "c", "d", "e", "f"], change, (count) => seen.push(count), () => true);
  assert.deepEqual(tried.sort(), ["a", "b", "c", "d", "e", "f"]);
  assert.deepEqual([done.sort(), failed.map(([id]) => id)], [["a", "b", "d", "e", "f"], ["c"]]);
  assert.deepEqual(seen, [1, 2, 3, 4, 5, 6]);
});

test("many changes end when they are not wanted any more", async () => {
  let count = 0;
  const ids = Array.from({ length: 100 }, (_value, index) => String(index));
  const { done } = await doToMany(ids, async () => {
    count++;
  }, () => {}, () => count < 10);
  assert.ok(done.length >= 10 && done.length < 20, String(done.length));
});
