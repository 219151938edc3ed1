// SPDX-License-Identifier: Apache-2.0
// The values of the service's two interfaces. Dates are seconds since 2001-01-01 00:00:00 UTC.

import { boolean, dictionary, list, map, number, oneOf, optional, structure, text } from "./shape.ts";

type Maybe<T> = T | undefined;

export interface Alert {
  identifier: Maybe<string>;
  type: Maybe<string>;
  bundle: Maybe<string>;
  creationDate: Maybe<number>;
  sentDate: Maybe<number>;
  readDate: Maybe<number>;
  resolvedDate: Maybe<number>;
  attributes: Maybe<Record<string, unknown>>;
}

export const alert = structure<Alert>({
  identifier: optional(text),
  type: optional(text),
  bundle: optional(text),
  creationDate: optional(number),
  sentDate: optional(number),
  readDate: optional(number),
  resolvedDate: optional(number),
  attributes: optional(dictionary),
});

export interface Item {
  alert: Alert;
  subject: Maybe<string>;
}

export const item = structure<Item>({ alert, subject: optional(text) });

export const page = structure<{ items: Item[]; next: Maybe<string> }>({ items: list(item), next: optional(text) });
export type Page = ReturnType<typeof page>;

export interface Action {
  name: string;
  title: string;
}

export interface Detail extends Item {
  message: Maybe<string>;
  actions: Action[];
}

export const detail = structure<Detail>({
  alert,
  subject: optional(text),
  message: optional(text),
  actions: list(structure<Action>({ name: text, title: text })),
});

export interface HistoryEntry {
  start: number;
  bundle: Maybe<string>;
  count: number;
}

export const history = structure<{ entries: HistoryEntry[] }>({
  entries: list(structure<HistoryEntry>({ start: number, bundle: optional(text), count: number })),
});

export interface Channel {
  name: "mail" | "push";
  delivered: number;
  failed: number;
  pending: number;
  lastFailure: Maybe<number>;
  lastError: Maybe<string>;
}

export interface Counts {
  alerts: number;
  unread: number;
  unresolved: number;
}

export interface Store {
  usable: boolean;
  problem: Maybe<string>;
  path: string;
  size: number;
  logSize: number;
  freeSize: number;
  saves: number;
  failedSaves: number;
}

export interface Status {
  version: string;
  startDate: number;
  counts: Counts;
  store: Store;
  channels: Channel[];
  connections: number;
  calls: number;
  served: number;
}

const channel = structure<Channel>({
  name: oneOf("mail", "push"),
  delivered: number,
  failed: number,
  pending: number,
  lastFailure: optional(number),
  lastError: optional(text),
});

const store = structure<Store>({
  usable: boolean,
  problem: optional(text),
  path: text,
  size: number,
  logSize: number,
  freeSize: number,
  saves: number,
  failedSaves: number,
});

export const status = structure<{ status: Status }>({
  status: structure<Status>({
    version: text,
    startDate: number,
    counts: structure<Counts>({ alerts: number, unread: number, unresolved: number }),
    store,
    channels: list(channel),
    connections: number,
    calls: number,
    served: number,
  }),
});

export interface ServiceEvent {
  sequence: number;
  kind: "added" | "changed" | "deleted" | "settings" | "lost";
  identifier: Maybe<string>;
  alert: Maybe<Alert>;
}

export const events = structure<{ sequence: number; events: ServiceEvent[] }>({
  sequence: number,
  events: list(
    structure<ServiceEvent>({
      sequence: number,
      kind: oneOf("added", "changed", "deleted", "settings", "lost"),
      identifier: optional(text),
      alert: optional(alert),
    }),
  ),
});

export interface BundleSettings {
  name: Maybe<string>;
  pushEnabled: Maybe<boolean>;
  mailEnabled: Maybe<boolean>;
}

export const bundleSettings = map(
  structure<BundleSettings>({ name: optional(text), pushEnabled: optional(boolean), mailEnabled: optional(boolean) }),
);

export interface MailRecipient {
  address: Maybe<string>;
  locale: Maybe<string>;
}

export const mailRecipients = list(structure<MailRecipient>({ address: optional(text), locale: optional(text) }));

export interface PushRecipient {
  guid: Maybe<string>;
  token: Maybe<string>;
  name: Maybe<string>;
  locale: Maybe<string>;
  enabled: Maybe<boolean>;
}

export const pushRecipients = list(
  structure<PushRecipient>({
    guid: optional(text),
    token: optional(text),
    name: optional(text),
    locale: optional(text),
    enabled: optional(boolean),
  }),
);
