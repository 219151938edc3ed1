// SPDX-License-Identifier: Apache-2.0
// The methods of the watching interface.

import { matches } from "./AlertStore.mjs";
import { DAEMON, MONITOR, Refusal } from "./ScriptedService.mjs";

function list(service, parameters) {
  const { locale, limit = 100, after } = parameters;
  const { alerts } = service.store;
  const start = after === undefined ? 0 : alerts.findIndex(({ identifier }) => identifier === after) + 1;
  if (after !== undefined && start === 0) throw new Refusal(`${MONITOR}.InvalidPosition`);
  const most = Math.min(limit, 1000);
  const found = [];
  let next;
  for (let at = start; at < alerts.length; at++) {
    if (!matches(alerts[at], parameters)) continue;
    if (found.length === most) {
      next = found[most - 1].identifier;
      break;
    }
    found.push(alerts[at]);
  }
  const subject = (alert) => (locale === undefined ? undefined : service.store.texts(alert, locale).subject);
  return { items: found.map((alert) => ({ alert, subject: subject(alert) })), next };
}

function history(service, { from, to, step }) {
  const counts = new Map();
  for (const { sentDate, bundle } of service.store.alerts) {
    if (!(sentDate > from && sentDate <= to)) continue;
    const start = from + Math.floor((sentDate - from) / step) * step;
    const key = JSON.stringify([start, bundle]);
    counts.set(key, (counts.get(key) ?? 0) + 1);
  }
  return {
    entries: [...counts].map(([key, count]) => {
      const [start, bundle] = JSON.parse(key);
      return { start, bundle, count };
    }),
  };
}

function status(service) {
  const { store, storeProblem, channels } = service;
  return {
    status: {
      version: "0.1.0",
      startDate: 816912000,
      counts: store.counts(),
      store: { usable: storeProblem === undefined, problem: storeProblem, path: "/Library/Velto/Alerts/alertData.db", size: 4718592, logSize: 65536, freeSize: 8192, saves: 12, failedSaves: 0 },
      channels: ["mail", "push"].map((name) => ({ name, pending: 0, ...channels[name] })),
      connections: service.clients.size,
      calls: 1,
      served: service.calls.length,
    },
  };
}

export function monitoring(service) {
  return {
    [`${MONITOR}.GetStatus`]: () => status(service),
    [`${MONITOR}.List`]: (parameters) => list(service, parameters),
    [`${MONITOR}.GetHistory`]: (parameters) => history(service, parameters),
    [`${MONITOR}.GetAlert`]: ({ identifier, locale }) => {
      const alert = service.store.find(identifier);
      if (!alert) throw new Refusal(`${MONITOR}.NoSuchAlert`, { identifier });
      const actions = alert.bundle === "Disk" ? [{ name: "FreeSpace", title: "Empty the package cache" }] : [];
      return { alert, ...service.store.texts(alert, locale), actions };
    },
    [`${MONITOR}.Follow`]: () => ({ sequence: service.sequence, events: [] }),
    [`${DAEMON}.GetAlertBundleNames`]: () => ({ names: Object.keys(service.settings) }),
  };
}
