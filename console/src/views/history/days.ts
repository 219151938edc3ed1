// SPDX-License-Identifier: Apache-2.0
// Alerts counted by the reader's days.

import type { Api } from "../../service/api.ts";
import { dayStart, fromDate, justBefore, toDate, toDay } from "../../service/dates.ts";
import type { HistoryEntry, Item } from "../../service/types.ts";

export const DAYS = 90;

/** A day has 23 hours or 25 where clocks are changed, so the service counts hours, and we put them together. */
const HOUR = 3600;
/** The service counts at most 1000 steps a call; so many days of 25 hours are within that. */
const DAYS_A_CALL = 30;

export interface History {
  /** The first moment of each day, oldest first. */
  days: Date[];
  /** By bundle, the one with most alerts first: how many on each of the days. */
  counts: [string, number[]][];
}

export function lastDays(today: Date): Date[] {
  return Array.from({ length: DAYS }, (_value, index) => dayStart(today, index - DAYS + 1));
}

export function countByDay(entries: HistoryEntry[], days: Date[]): [string, number[]][] {
  const places = new Map(days.map((day, index) => [toDay(day), index]));
  const counts = new Map<string, number[]>();
  for (const { start, bundle = "", count } of entries) {
    const place = places.get(toDay(toDate(start + HOUR / 2)));
    if (place === undefined) continue;
    const row = counts.get(bundle) ?? days.map(() => 0);
    row[place] = (row[place] ?? 0) + count;
    counts.set(bundle, row);
  }
  const sum = (row: number[]) => row.reduce((a, b) => a + b, 0);
  return [...counts].sort(([, a], [, b]) => sum(b) - sum(a));
}

export async function readHistory(api: Pick<Api, "history">, today: Date): Promise<History> {
  const days = lastDays(today);
  const asked: Promise<HistoryEntry[]>[] = [];
  for (let at = 0; at < days.length; at += DAYS_A_CALL) {
    const from = days[at] ?? today;
    const to = days[at + DAYS_A_CALL] ?? dayStart(today, 1);
    asked.push(api.history(justBefore(fromDate(from)), justBefore(fromDate(to)), HOUR));
  }
  return { days, counts: countByDay((await Promise.all(asked)).flat(), days) };
}

/** Bounds of the ages that open alerts are told by, in days; the last one has no end. */
export const AGES = [1, 7, 30, 90, Infinity];

export interface OpenAges {
  /** One for each of AGES. */
  counts: number[];
  /** Whether there are more than were read. */
  isPartial: boolean;
}

const PAGE = 1000;
const MOST_PAGES = 10;

export function countByAge(items: Item[], now: number): number[] {
  const counts = AGES.map(() => 0);
  for (const { alert } of items) {
    const age = (now - (alert.sentDate ?? alert.creationDate ?? now)) / 86400;
    const place = AGES.findIndex((bound) => age < bound);
    counts[place] = (counts[place] ?? 0) + 1;
  }
  return counts;
}

/** The service does not count by age, so the open alerts are read, newest first, up to a bound. */
export async function readOpenAges(api: Pick<Api, "list">, now: number, locale: string): Promise<OpenAges> {
  const counts = AGES.map(() => 0);
  let after: string | undefined;
  for (let page = 0; page < MOST_PAGES; page++) {
    const { items, next } = await api.list({ unresolved: true }, locale, PAGE, after);
    countByAge(items, now).forEach((count, index) => (counts[index] = (counts[index] ?? 0) + count));
    after = next;
    if (after === undefined) return { counts, isPartial: false };
  }
  return { counts, isPartial: true };
}
