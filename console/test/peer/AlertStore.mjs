// SPDX-License-Identifier: Apache-2.0
// The alerts of the scripted service, newest sent first, those without a sent date last.

const TEXTS = {
  Common: ["Test alert", "This alert was sent to test the delivery of alerts."],
  Disk: ["The volume %{volume} is almost full", "The volume %{volume} is %{percent}% full."],
};

function sortKey(alert) {
  return alert.sentDate ?? -Infinity;
}

export class AlertStore {
  constructor() {
    this.alerts = [];
  }

  insert(alert) {
    const last = this.alerts[this.alerts.length - 1];
    if (!last || sortKey(last) >= sortKey(alert)) {
      this.alerts.push(alert);
      return;
    }
    const at = this.alerts.findIndex((one) => sortKey(one) <= sortKey(alert));
    this.alerts.splice(at, 0, alert);
  }

  find(identifier) {
    return this.alerts.find((alert) => alert.identifier === identifier);
  }

  /** The identifiers of what was deleted. */
  removeWhere(isOut) {
    const removed = this.alerts.filter(isOut).map(({ identifier }) => identifier);
    this.alerts = this.alerts.filter((alert) => !isOut(alert));
    return removed;
  }

  counts() {
    return {
      alerts: this.alerts.length,
      unread: this.alerts.filter(({ readDate }) => readDate === undefined).length,
      unresolved: this.alerts.filter(({ resolvedDate }) => resolvedDate === undefined).length,
    };
  }

  /** In English, whatever is asked for. */
  texts({ bundle, attributes = {} }) {
    const [subject, message] = TEXTS[bundle] ?? [];
    const fill = (text) => text?.replace(/%\{(\w+)\}/g, (_all, name) => String(attributes[name] ?? ""));
    return { subject: fill(subject), message: fill(message) };
  }
}
