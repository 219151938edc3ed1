// SPDX-License-Identifier: Apache-2.0
// Those of the 26 methods that the page calls.

import { DAEMON } from "./ScriptedService.mjs";

const EPOCH = 978307200;
const now = () => Date.now() / 1000 - EPOCH;

function storeError(text) {
  return { error: { domain: "VeltoAlertsStore", code: 100, userInfo: { NSLocalizedDescription: text } } };
}

function mark(service, identifier, field) {
  const alert = service.store.find(identifier);
  if (!alert) return storeError("Update Alert: Alert not found.");
  alert[field] = now();
  service.tell({ kind: "changed", alert });
  return {};
}

/** The numbers of what went out, and an entry of the journal for each recipient. */
function deliver(service, alert, channel, recipients) {
  const isFailed = service.deliveryError?.channel === channel;
  const counts = service.channels[channel];
  for (const recipient of recipients) {
    counts[isFailed ? "failed" : "delivered"]++;
    service.journal.unshift({
      __REALTIME_TIMESTAMP: String(Date.now() * 1000),
      VELTO_ALERT_ID: alert.identifier,
      VELTO_BUNDLE: alert.bundle,
      VELTO_CHANNEL: channel,
      VELTO_RECIPIENTS: recipient,
      VELTO_LOCALE: "en",
      VELTO_RESULT: isFailed ? "failed" : "delivered",
      VELTO_STATUS: isFailed ? "75" : "0",
      VELTO_DURATION_USEC: "12345",
    });
  }
  if (isFailed && recipients.length > 0) Object.assign(counts, { lastFailure: now(), lastError: service.deliveryError.text });
}

function post(service, alert) {
  const { pushEnabled, mailEnabled } = service.settings[alert.bundle] ?? {};
  if (pushEnabled === undefined) return storeError(`Get Alert Bundle: Bundle '${alert.bundle}' not found.`);
  if (!pushEnabled && !mailEnabled) return {};
  const made = { identifier: `${alert.type}:${service.sequence}${Date.now().toString(16)}`, ...alert, sentDate: now() };
  service.insert(made);
  if (pushEnabled) deliver(service, made, "push", service.pushRecipients.filter(({ enabled }) => enabled).map(({ name }) => name));
  if (mailEnabled) deliver(service, made, "mail", service.mailRecipients.map(({ address }) => address));
  return service.deliveryError ? { error: service.deliveryError.error } : {};
}

function remove(service, isOut) {
  const removed = service.store.removeWhere(isOut);
  for (const identifier of removed) service.tell({ kind: "deleted", identifier });
  return removed.length;
}

function perform(service, alertId) {
  if (service.actionError) return { error: service.actionError };
  return mark(service, alertId, "resolvedDate");
}

function recipients(service) {
  const settings = () => service.tell({ kind: "settings" });
  const set = (list) => (given) => {
    service[list] = given;
    settings();
    return {};
  };
  const add = (list, key, extra) => (given) => {
    const known = new Set(service[list].map((one) => one[key]));
    service[list].push(...given.filter((one) => !known.has(one[key])).map((one) => ({ locale: "en", ...one, ...extra })));
    settings();
    return {};
  };
  return {
    [`${DAEMON}.GetMailRecipients`]: () => ({ recipients: service.mailRecipients }),
    [`${DAEMON}.SetMailRecipients`]: ({ recipients: given }) => set("mailRecipients")(given),
    [`${DAEMON}.AddMailRecipients`]: ({ recipients: given }) => add("mailRecipients", "address", {})(given),
    [`${DAEMON}.GetPushRecipients`]: () => ({ recipients: service.pushRecipients }),
    [`${DAEMON}.SetPushRecipients`]: ({ recipients: given }) => set("pushRecipients")(given),
    [`${DAEMON}.AddPushRecipients`]: ({ recipients: given }) => add("pushRecipients", "guid", { enabled: true })(given),
  };
}

export function administration(service) {
  return {
    ...recipients(service),
    [`${DAEMON}.MarkAlertAsReadWithAlertId`]: ({ alertId }) => mark(service, alertId, "readDate"),
    [`${DAEMON}.MarkAlertAsResolvedWithAlertId`]: ({ alertId }) => mark(service, alertId, "resolvedDate"),
    [`${DAEMON}.PerformRecoveryAction`]: ({ alertId }) => perform(service, alertId),
    [`${DAEMON}.SaveAlerts`]: ({ alerts }) => void alerts.forEach((alert) => service.insert(alert)),
    [`${DAEMON}.PostAlert`]: ({ alert }) => post(service, alert),
    [`${DAEMON}.DeleteAlertsWithIds`]: ({ alertIds }) => {
      const out = new Set(alertIds);
      remove(service, ({ identifier }) => out.has(identifier));
    },
    [`${DAEMON}.DeleteAlertsBeforeDate`]: ({ date }) => ({ count: remove(service, ({ sentDate }) => sentDate < date) }),
    [`${DAEMON}.GetAlertBundleSettings`]: () => ({ settings: service.settings }),
    [`${DAEMON}.SetAlertBundleSettings`]: ({ settings }) => {
      for (const [bundle, { pushEnabled = false, mailEnabled = false }] of Object.entries(settings)) {
        Object.assign(service.settings[bundle] ?? {}, { pushEnabled, mailEnabled });
      }
      service.tell({ kind: "settings" });
    },
  };
}
