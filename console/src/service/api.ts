// SPDX-License-Identifier: Apache-2.0
// The calls that the page makes, as functions. What changes something has no limit of time and is sent once.

import type { Client } from "../varlink/client.ts";
import type { CallOptions } from "../varlink/connection.ts";
import type { Parameters } from "../varlink/errors.ts";
import { justBefore } from "./dates.ts";
import { dictionary, isAbsent, number, optional, structure, text } from "./shape.ts";
import * as types from "./types.ts";

const MONITOR = "com.ulmora.velto.AlertsMonitor";
const DAEMON = "com.ulmora.velto.AlertsDaemon";

/** How long a question may take; a search through everything is the slowest. */
const READING = { limit: 30_000 };

/** The service carried out the call, or refused it, and says what went wrong. */
export class ServiceError extends Error {
  override name = "ServiceError";

  constructor(readonly domain: string, readonly code: number, readonly description: string | undefined) {
    super(description ?? `${domain} ${code}`);
  }
}

const serviceError = structure<{ domain: string; code: number; userInfo: Parameters | undefined }>({
  domain: text,
  code: number,
  userInfo: optional(dictionary),
});

/** A text, or the bytes of one: what a gateway answered is told as it came. */
function descriptionOf(userInfo: Parameters | undefined): string | undefined {
  const description = userInfo?.NSLocalizedDescription;
  if (typeof description === "string") return description;
  if (typeof description !== "object" || description === null || !("$data" in description)) return undefined;
  const bytes = Uint8Array.from(atob(text(description.$data, "error")), (character) => character.charCodeAt(0));
  return new TextDecoder().decode(bytes);
}

function throwIfError(value: unknown): void {
  if (isAbsent(value)) return;
  const { domain, code, userInfo } = serviceError(value, "error");
  throw new ServiceError(domain, code, descriptionOf(userInfo));
}

export interface Query {
  bundle?: string | undefined;
  type?: string | undefined;
  from?: number | undefined;
  to?: number | undefined;
  unread?: boolean | undefined;
  unresolved?: boolean | undefined;
  text?: string | undefined;
}

export class Api {
  constructor(readonly client: Client) {}

  async status(): Promise<types.Status> {
    return types.status(await this.monitor("GetStatus", {}), "reply").status;
  }

  async list(query: Query, locale: string, limit: number, after?: string): Promise<types.Page> {
    return types.page(await this.monitor("List", { ...query, locale, limit, after }), "reply");
  }

  async alert(identifier: string, locale: string): Promise<types.Detail> {
    return types.detail(await this.monitor("GetAlert", { identifier, locale }), "reply");
  }

  async history(from: number, to: number, step: number): Promise<types.HistoryEntry[]> {
    return types.history(await this.monitor("GetHistory", { from, to, step }), "reply").entries;
  }

  /** How many alerts DeleteAlertsBeforeDate would delete: those sent strictly before. */
  async countBefore(date: number): Promise<number> {
    const from = -1e9; // before any machine
    const to = justBefore(date);
    const entries = await this.history(from, to, to - from);
    return entries.reduce((sum, entry) => sum + entry.count, 0);
  }

  markRead(alertId: string): Promise<void> {
    return this.change("MarkAlertAsReadWithAlertId", { alertId });
  }

  markResolved(alertId: string): Promise<void> {
    return this.change("MarkAlertAsResolvedWithAlertId", { alertId });
  }

  perform(action: string, alertId: string): Promise<void> {
    return this.change("PerformRecoveryAction", { action, alertId });
  }

  remove(alertIds: string[]): Promise<void> {
    return this.change("DeleteAlertsWithIds", { alertIds });
  }

  /** How many were deleted. */
  async removeBefore(date: number): Promise<number> {
    const reply = await this.daemon("DeleteAlertsBeforeDate", { date });
    return optional(number)(reply.count, "count") ?? 0;
  }

  /** Stores alerts as they are; nobody is told. */
  save(alerts: types.Alert[]): Promise<void> {
    return this.change("SaveAlerts", { alerts });
  }

  post(alert: Partial<types.Alert>): Promise<void> {
    return this.change("PostAlert", { alert });
  }

  async bundleSettings(): Promise<Record<string, types.BundleSettings>> {
    const reply = await this.daemon("GetAlertBundleSettings", {}, READING);
    return optional(types.bundleSettings)(reply.settings, "settings") ?? {};
  }

  setBundleSettings(settings: Record<string, Partial<types.BundleSettings>>): Promise<void> {
    return this.change("SetAlertBundleSettings", { settings });
  }

  async mailRecipients(): Promise<types.MailRecipient[]> {
    const reply = await this.daemon("GetMailRecipients", {}, READING);
    return optional(types.mailRecipients)(reply.recipients, "recipients") ?? [];
  }

  setMailRecipients(recipients: types.MailRecipient[]): Promise<void> {
    return this.change("SetMailRecipients", { recipients });
  }

  addMailRecipient(recipient: types.MailRecipient): Promise<void> {
    return this.change("AddMailRecipients", { recipients: [recipient] });
  }

  async pushRecipients(): Promise<types.PushRecipient[]> {
    const reply = await this.daemon("GetPushRecipients", {}, READING);
    return optional(types.pushRecipients)(reply.recipients, "recipients") ?? [];
  }

  setPushRecipients(recipients: types.PushRecipient[]): Promise<void> {
    return this.change("SetPushRecipients", { recipients });
  }

  addPushRecipient(recipient: types.PushRecipient): Promise<void> {
    return this.change("AddPushRecipients", { recipients: [recipient] });
  }

  private monitor(method: string, parameters: Parameters): Promise<Parameters> {
    return this.client.call(`${MONITOR}.${method}`, parameters, READING);
  }

  private async change(method: string, parameters: Parameters): Promise<void> {
    await this.daemon(method, parameters);
  }

  private async daemon(method: string, parameters: Parameters, options: CallOptions = {}): Promise<Parameters> {
    const reply = await this.client.call(`${DAEMON}.${method}`, parameters, options);
    throwIfError(reply.error);
    return reply;
  }
}

export const FOLLOW = `${MONITOR}.Follow`;
