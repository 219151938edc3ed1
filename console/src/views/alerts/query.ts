// SPDX-License-Identifier: Apache-2.0
// The filters of the list, as they stand in the address.

import type { Query } from "../../service/api.ts";
import { dayStart, fromDate, fromDay } from "../../service/dates.ts";

export type Options = Record<string, string>;

/** Those options of the address that are filters; others, and empty ones, are left out. */
export function filtersOf(options: Options): Options {
  const names = ["bundle", "type", "from", "to", "unread", "unresolved", "text"];
  return Object.fromEntries(names.flatMap((name) => (options[name] ? [[name, options[name]]] : [])));
}

/** The period is whole days, both of them included; the service takes what was sent after `from` until `to`. */
export function queryOf(options: Options): Query {
  const from = fromDay(options.from);
  const to = fromDay(options.to);
  return {
    bundle: options.bundle,
    type: options.type,
    from: from && fromDate(from),
    to: to && fromDate(dayStart(to, 1)),
    unread: options.unread === "1" ? true : undefined,
    unresolved: options.unresolved === "1" ? true : undefined,
    text: options.text,
  };
}
