// SPDX-License-Identifier: Apache-2.0
// What Cockpit's menu shows beside the page's name.

import type { Counts } from "../service/types.ts";
import { _, format, plural } from "./text.ts";

interface PageStatus {
  type: "info" | "warning" | "error" | null;
  title?: string;
}

export function statusOf(counts: Counts): PageStatus {
  if (counts.unresolved === 0 && counts.unread === 0) return { type: null };
  const unresolved = plural("$0 unresolved alert", "$0 unresolved alerts", counts.unresolved);
  const unread = plural("$0 unread", "$0 unread", counts.unread);
  return { type: counts.unresolved > 0 ? "warning" : "info", title: format(_("$0, $1"), unresolved, unread) };
}

export function tellPageStatus(status: PageStatus): void {
  cockpit.transport.control("notify", { page_status: status });
}
