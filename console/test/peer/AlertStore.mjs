// SPDX-License-Identifier: Apache-2.0
// The alerts of the scripted service, newest sent first, those without a sent date last.

const TEXTS = {
  Common: { en: ["Test alert", "This alert was sent to test the delivery of alerts."] },
  Disk: {
    en: ["The volume %{volume} is almost full", "The volume %{volume} is %{percent}% full. Delete files that are no longer needed."],
    de: ["Das Volume %{volume} ist fast voll", "Das Volume %{volume} ist zu %{percent} % belegt."],
    fr: ["Le volume %{volume} est presque plein", "Le volume %{volume} est plein à %{percent} %."],
  },
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

  texts(alert, locale = "en") {
    const bundle = TEXTS[alert.bundle] ?? {};
    const [subject, message] = bundle[locale.slice(0, 2)] ?? bundle.en ?? [undefined, undefined];
    const { subject: given, message: long, ...attributes } = alert.attributes ?? {};
    const fill = (text) => text?.replace(/%\{(\w+)\}/g, (_all, name) => String(attributes[name] ?? ""));
    return { subject: given ?? fill(subject), message: long ?? fill(message) };
  }
}

/** Whether every filter of a List that is given holds. */
export function matches(alert, { bundle, type, from, to, unread, unresolved, text }) {
  if (bundle !== undefined && alert.bundle !== bundle) return false;
  if (type !== undefined && alert.type !== type) return false;
  if (from !== undefined && !(alert.sentDate > from)) return false;
  if (to !== undefined && !(alert.sentDate <= to)) return false;
  if (unread && alert.readDate !== undefined) return false;
  if (unresolved && alert.resolvedDate !== undefined) return false;
  return text === undefined || JSON.stringify([alert.type, alert.bundle, alert.identifier, alert.attributes]).toLowerCase().includes(text.toLowerCase());
}
