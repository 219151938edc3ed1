// SPDX-License-Identifier: Apache-2.0
// The methods of the watching interface.

import { MONITOR, Refusal } from "./ScriptedService.mjs";

/** Without filters; the tests of those ask the daemon. */
function list(service, { limit = 100, after }) {
  const { alerts } = service.store;
  const start = after === undefined ? 0 : alerts.findIndex(({ identifier }) => identifier === after) + 1;
  if (after !== undefined && start === 0) throw new Refusal(`${MONITOR}.InvalidPosition`);
  const found = alerts.slice(start, start + limit);
  const isLast = start + found.length === alerts.length;
  return {
    items: found.map((alert) => ({ alert, subject: service.store.texts(alert).subject })),
    next: isLast ? undefined : found[found.length - 1].identifier,
  };
}

function status(service) {
  const { store } = service;
  return {
    status: {
      version: "0.1.0",
      startDate: 816912000,
      counts: store.counts(),
      store: { usable: true, path: "/Library/Velto/Alerts/alertData.db", size: 4718592, logSize: 65536, freeSize: 8192, saves: 12, failedSaves: 0 },
      channels: ["mail", "push"].map((name) => ({ name, delivered: 0, failed: 0, pending: 0 })),
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
    [`${MONITOR}.GetAlert`]: ({ identifier }) => {
      const alert = service.store.find(identifier);
      if (!alert) throw new Refusal(`${MONITOR}.NoSuchAlert`, { identifier });
      const actions = alert.bundle === "Disk" ? [{ name: "FreeSpace", title: "Empty the package cache" }] : [];
      return { alert, ...service.store.texts(alert), actions };
    },
    [`${MONITOR}.Follow`]: () => ({ sequence: service.sequence, events: [] }),
  };
}
