// SPDX-License-Identifier: Apache-2.0
// The filters of the list, as they stand in the address.

import type { Query } from "../../service/api.ts";
import { dayStart, fromDate, fromDay, justBefore } from "../../service/dates.ts";

export type Options = Record<string, string>;

/** Those options of the address that are filters; others, and empty ones, are left out. */
export function filtersOf(options: Options): Options {
  const names = ["bundle", "type", "from", "to", "unread", "unresolved", "text"];
  return Object.fromEntries(names.flatMap((name) => (options[name] ? [[name, options[name]]] : [])));
}

/** The period is whole days, both of them included. */
export function queryOf(options: Options): Query {
  const from = fromDay(options.from);
  const to = fromDay(options.to);
  return {
    bundle: options.bundle,
    type: options.type,
    from: from && justBefore(fromDate(from)),
    to: to && justBefore(fromDate(dayStart(to, 1))),
    unread: options.unread === "1" ? true : undefined,
    unresolved: options.unresolved === "1" ? true : undefined,
    text: options.text,
  };
}
