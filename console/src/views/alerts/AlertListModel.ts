// SPDX-License-Identifier: Apache-2.0
//
// The list of alerts behind the page: what has been read of it so far, page by page, and how it follows the service.
//
// What changes an alert that is there changes its row in place. What would move rows does so only while nobody
// has a hand on the list (`isHeld`): then it is read anew from its start. Else rows stay where they
// are, one that was deleted stays as a mark, and `fresh` says how many have come, for a button that the reader
// presses when it suits. Of the answers under way only those of the latest reading count (`turn`).

import type { Api, Query } from "../../service/api.ts";
import type { Alert, Item, ServiceEvent } from "../../service/types.ts";
import { clip } from "../../ui/text.ts";

export interface Row {
  /** Unlike all others of the list, also where alerts share an identifier or have none. */
  key: string;
  id: string | undefined;
  type: string;
  bundle: string;
  sentDate: number | undefined;
  isUnread: boolean;
  isUnresolved: boolean;
  subject: string;
  isDeleted: boolean;
}

export interface ListState {
  rows: readonly Row[];
  /** Whether the service has more of them. */
  hasMore: boolean;
  isLoading: boolean;
  /** Why the last reading gave nothing; what was read before is still there. */
  error: unknown;
  /** New alerts that the list does not show yet; `Infinity` when it is not known how many. */
  fresh: number;
}

const FIRST_PAGE = 100;
const NEXT_PAGE = 1000;
/** Milliseconds from a change to reading anew; a flood of alerts is read twice a second. */
const PATIENCE = 500;

const EMPTY: ListState = { rows: [], hasMore: false, isLoading: true, error: undefined, fresh: 0 };

function datesOf(alert: Alert): Pick<Row, "sentDate" | "isUnread" | "isUnresolved"> {
  return {
    sentDate: alert.sentDate,
    isUnread: alert.readDate === undefined,
    isUnresolved: alert.resolvedDate === undefined,
  };
}

export class AlertListModel {
  state = EMPTY;
  /** Whether rows must stay where they are; asked at each change. */
  isHeld: () => boolean = () => false;

  private next: string | undefined;
  private turn = 0;
  private reading: Promise<void> = Promise.resolve();
  private keys = new Set<string>();
  private timer: ReturnType<typeof setTimeout> | undefined;
  private readonly listeners = new Set<() => void>();

  constructor(private readonly api: Pick<Api, "list">, private readonly query: Query, private readonly locale: string) {}

  readonly subscribe = (listener: () => void): (() => void) => {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  };

  readonly getState = (): ListState => this.state;

  /** Reads the list from its start; what is shown stays until the answer is there. */
  load(): Promise<void> {
    this.reading = this.read(this.begin(), FIRST_PAGE, undefined);
    return this.reading;
  }

  /** Reads the page after the last one, or waits for what is being read. */
  loadMore(): Promise<void> {
    if (!this.state.isLoading && this.next !== undefined) this.reading = this.read(this.begin(), NEXT_PAGE, this.next);
    return this.reading;
  }

  /** Reads what is left, for what is to be done to all of it; false when that did not succeed. */
  async loadAll(isWanted: () => boolean): Promise<boolean> {
    while (this.state.hasMore && isWanted()) {
      await this.loadMore();
      if (this.state.error !== undefined) return false;
    }
    return !this.state.hasMore;
  }

  take(events: ServiceEvent[]): void {
    const changed = new Map(events.flatMap(({ kind, alert }) => (kind === "changed" && alert?.identifier ? [[alert.identifier, alert]] : [])));
    const deleted = new Set(events.flatMap(({ kind, identifier }) => (kind === "deleted" && identifier ? [identifier] : [])));
    if (changed.size > 0) this.replaceRows((row) => this.changedRow(row, changed));
    if (deleted.size > 0) this.drop(deleted);
    const isStale = events.some(({ kind }) => kind === "added" || kind === "lost");
    if (isStale) this.readSoon(events.some(({ kind }) => kind === "lost"));
  }

  /** Rows that the reader has deleted go at once. */
  forget(ids: ReadonlySet<string>): void {
    this.set({ rows: this.state.rows.filter(({ id }) => id === undefined || !ids.has(id)) });
  }

  dispose(): void {
    this.turn++;
    clearTimeout(this.timer);
    this.listeners.clear();
  }

  private begin(): number {
    clearTimeout(this.timer);
    this.timer = undefined;
    this.set({ isLoading: true });
    return ++this.turn;
  }

  private async read(turn: number, limit: number, after: string | undefined): Promise<void> {
    try {
      const page = await this.api.list(this.query, this.locale, limit, after);
      if (turn !== this.turn) return;
      if (after === undefined) this.keys = new Set();
      this.next = page.next;
      const { rows: before, fresh: freshBefore } = this.state;
      const read = page.items.map((item) => this.row(item));
      const rows = after === undefined ? read : [...before, ...read];
      const fresh = after === undefined ? 0 : freshBefore;
      this.set({ rows, hasMore: page.next !== undefined, isLoading: false, error: undefined, fresh });
    } catch (error) {
      if (turn === this.turn) this.set({ isLoading: false, error });
    }
  }

  private readSoon(isUnknown: boolean): void {
    if (isUnknown) this.set({ fresh: Infinity });
    this.timer ??= setTimeout(() => {
      this.timer = undefined;
      void (this.isHeld() ? this.countFresh() : this.load());
    }, PATIENCE);
  }

  /** A filter may pass over what has come, so the service is asked and not the events. */
  private async countFresh(): Promise<void> {
    const { turn } = this;
    const page = await this.api.list(this.query, this.locale, FIRST_PAGE).catch(() => undefined);
    if (!page || turn !== this.turn || this.state.fresh === Infinity) return;
    const known = new Set(this.state.rows.map(({ id }) => id));
    const unknown = page.items.filter(({ alert }) => !known.has(alert.identifier)).length;
    this.set({ fresh: unknown === FIRST_PAGE ? Infinity : unknown });
  }

  private row({ alert, subject }: Item): Row {
    const id = alert.identifier;
    let key = id ?? "";
    while (this.keys.has(key)) key += "+";
    this.keys.add(key);
    const { type = "", bundle = "" } = alert;
    const shown = clip(subject ?? (type || (id ?? "")), 300);
    return { key, id, type, bundle, subject: shown, isDeleted: false, ...datesOf(alert) };
  }

  private changedRow(row: Row, changed: Map<string, Alert>): Row {
    const alert = row.id === undefined ? undefined : changed.get(row.id);
    return alert ? { ...row, ...datesOf(alert) } : row;
  }

  private drop(ids: Set<string>): void {
    if (!this.isHeld()) this.forget(ids);
    else this.replaceRows((row) => (row.id !== undefined && ids.has(row.id) ? { ...row, isDeleted: true } : row));
  }

  private replaceRows(change: (row: Row) => Row): void {
    this.set({ rows: this.state.rows.map(change) });
  }

  private set(change: Partial<ListState>): void {
    this.state = { ...this.state, ...change };
    for (const listener of this.listeners) listener();
  }
}
