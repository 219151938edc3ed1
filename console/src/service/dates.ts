// SPDX-License-Identifier: Apache-2.0

/** Seconds from 1970 to 2001, when the service's dates begin. */
const EPOCH = 978307200;

export const DAY = 86400;

export function toDate(seconds: number): Date {
  return new Date((seconds + EPOCH) * 1000);
}

export function fromDate(date: Date): number {
  return date.getTime() / 1000 - EPOCH;
}

/** The last moment before a date: the service's periods have their end and not their beginning, days are the other way round. */
export function justBefore(seconds: number): number {
  return seconds - 1e-6; // a double of this century tells apart a tenth of that
}

export function now(): number {
  return fromDate(new Date());
}

/** Midnight of the reader's day, so many days after the one that `date` is in; also where a day has 23 hours. */
export function dayStart(date: Date, days = 0): Date {
  return new Date(date.getFullYear(), date.getMonth(), date.getDate() + days);
}

/** A day as date fields write it, in the reader's time zone. */
export function toDay(date: Date): string {
  const two = (value: number) => String(value).padStart(2, "0");
  return `${String(date.getFullYear()).padStart(4, "0")}-${two(date.getMonth() + 1)}-${two(date.getDate())}`;
}

/** Midnight at the start of a day that a date field wrote; undefined for what is no day. */
export function fromDay(day: string | undefined): Date | undefined {
  const found = /^(\d{4})-(\d{2})-(\d{2})$/.exec(day ?? "");
  if (!found) return undefined;
  const date = new Date(Number(found[1]), Number(found[2]) - 1, Number(found[3]));
  return toDay(date) === day ? date : undefined;
}
