// SPDX-License-Identifier: Apache-2.0
// Property-list values as texts.

import { _, formatBytes, formatDate, formatNumber } from "../../ui/text.ts";

/** Beyond this depth a value is only hinted at. */
const DEEPEST = 6;

function isObject(value: unknown): value is Record<string, unknown> {
  return typeof value === "object" && value !== null && !Array.isArray(value);
}

function base64Length(text: string): number {
  return Math.floor((text.replace(/=+$/, "").length * 3) / 4);
}

function dictionaryText(members: Record<string, unknown>, depth: number): string {
  return Object.entries(members)
    .map(([key, value]) => `${key}: ${valueText(value, depth + 1)}`)
    .join("\n");
}

/** A value in the reader's language; dates and bytes come as objects with one reserved key. */
export function valueText(value: unknown, depth = 0): string {
  if (typeof value === "string") return value;
  if (typeof value === "number") return formatNumber(value);
  if (typeof value === "boolean") return value ? _("yes") : _("no");
  if (depth > DEEPEST) return "…";
  if (Array.isArray(value)) return value.map((one) => valueText(one, depth + 1)).join("\n");
  if (!isObject(value)) return "–";
  if (typeof value.$date === "number") return formatDate(value.$date);
  if (typeof value.$data === "string") return formatBytes(base64Length(value.$data));
  return dictionaryText(isObject(value.$dict) ? value.$dict : value, depth);
}
