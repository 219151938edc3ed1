// SPDX-License-Identifier: Apache-2.0
// Those of the 26 methods that tests of a scripted service get to.

import { DAEMON } from "./ScriptedService.mjs";

const EPOCH = 978307200;

/** What a call of the 26 methods replies when it did not succeed. */
export function failure(text) {
  return { error: { domain: "VeltoAlertsStore", code: 100, userInfo: { NSLocalizedDescription: text } } };
}

function mark(service, identifier, field) {
  const alert = service.store.find(identifier);
  if (!alert) return failure("Update Alert: Alert not found.");
  alert[field] = Date.now() / 1000 - EPOCH;
  service.tell({ kind: "changed", alert });
  return {};
}

function remove(service, identifiers) {
  const out = new Set(identifiers);
  for (const identifier of service.store.removeWhere((alert) => out.has(alert.identifier))) {
    service.tell({ kind: "deleted", identifier });
  }
}

export function administration(service) {
  return {
    [`${DAEMON}.MarkAlertAsReadWithAlertId`]: ({ alertId }) => mark(service, alertId, "readDate"),
    [`${DAEMON}.MarkAlertAsResolvedWithAlertId`]: ({ alertId }) => mark(service, alertId, "resolvedDate"),
    [`${DAEMON}.DeleteAlertsWithIds`]: ({ alertIds }) => remove(service, alertIds),
    [`${DAEMON}.GetAlertBundleSettings`]: () => ({ settings: service.settings }),
    [`${DAEMON}.GetMailRecipients`]: () => ({ recipients: [] }),
    [`${DAEMON}.GetPushRecipients`]: () => ({ recipients: [] }),
  };
}
