// SPDX-License-Identifier: Apache-2.0
// Words, numbers and dates in the reader's language.

import { toDate } from "../service/dates.ts";

/** Marks a text for translation, and translates it. */
export const _ = (text: string): string => cockpit.gettext(text);

export const plural = (one: string, many: string, count: number): string =>
  cockpit.format(cockpit.ngettext(one, many, count), formatNumber(count));

/** `$0`, `$1`, ... stand for the values. */
export const format = (text: string, ...values: (string | number)[]): string => cockpit.format(text, ...values);

function findLocale(): string {
  const chosen = /(?:^|; )CockpitLang=([^;]+)/.exec(document.cookie)?.[1];
  for (const tag of [chosen && decodeURIComponent(chosen), navigator.language, "en"]) {
    try {
      const [found] = Intl.getCanonicalLocales(tag || []);
      if (found) return found;
    } catch {
      // no language tag; the next one may be
    }
  }
  return "en";
}

/** The reader's language, as Cockpit or else the browser has it; it may be one that the page does not speak. */
export const locale = findLocale();

const numbers = new Intl.NumberFormat(locale);
const dateTimes = new Intl.DateTimeFormat(locale, { dateStyle: "medium", timeStyle: "medium" });
const shortDateTimes = new Intl.DateTimeFormat(locale, { dateStyle: "medium", timeStyle: "short" });
const days = new Intl.DateTimeFormat(locale, { dateStyle: "medium" });
const relative = new Intl.RelativeTimeFormat(locale, { numeric: "auto" });
const languages = new Intl.DisplayNames([locale], { type: "language" });

export function formatNumber(value: number): string {
  return numbers.format(value);
}

function isDate(date: Date): boolean {
  return !Number.isNaN(date.getTime());
}

/** A date of the service; what is beyond the calendar is told as it is. */
export function formatDate(seconds: number, isShort = false): string {
  const date = toDate(seconds);
  return isDate(date) ? (isShort ? shortDateTimes : dateTimes).format(date) : String(seconds);
}

export function formatTime(milliseconds: number): string {
  const date = new Date(milliseconds);
  return isDate(date) ? shortDateTimes.format(date) : "";
}

export function formatDay(date: Date): string {
  return days.format(date);
}

const STEPS: [Intl.RelativeTimeFormatUnit, number][] = [
  ["year", 31557600],
  ["month", 2629800],
  ["day", 86400],
  ["hour", 3600],
  ["minute", 60],
];

/** "3 hours ago", for a date of the service. */
export function formatAge(seconds: number): string {
  const past = seconds - (Date.now() / 1000 - 978307200);
  const [unit, length] = STEPS.find(([, size]) => Math.abs(past) >= size) ?? ["second", 1];
  return Number.isFinite(past) ? relative.format(Math.trunc(past / length), unit) : "";
}

const BYTES: [string, number][] = [
  ["gigabyte", 1e9],
  ["megabyte", 1e6],
  ["kilobyte", 1e3],
  ["byte", 1],
];

export function formatBytes(bytes: number): string {
  const [unit, size] = BYTES.find(([, least]) => bytes >= least) ?? ["byte", 1];
  const options = { style: "unit", unit, unitDisplay: unit === "byte" ? "long" : "short", maximumFractionDigits: 1 } as const;
  return new Intl.NumberFormat(locale, options).format(bytes / size);
}

export function languageName(tag: string): string {
  try {
    return languages.of(tag) ?? tag;
  } catch {
    return tag;
  }
}

/** The first characters of a text, whole ones; an alert may bring a megabyte. */
export function clip(text: string, most: number): string {
  return text.length <= most ? text : `${text.slice(0, most).replace(/[\uD800-\uDBFF]$/, "")}…`;
}
