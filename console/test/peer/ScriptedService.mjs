// SPDX-License-Identifier: Apache-2.0
//
// Stands in for the daemon where that cannot be made to do what a test needs: be old, answer late, wrongly, or not
// at all. It has the methods of the two interfaces that those tests need, over a list in memory; a script for
// a method is asked first, and may deal with the call in its own way.

import { createServer } from "node:net";
import { rm } from "node:fs/promises";

import { administration } from "./administration.mjs";
import { AlertStore } from "./AlertStore.mjs";
import { monitoring } from "./monitoring.mjs";

export const MONITOR = "com.ulmora.velto.AlertsMonitor";
export const DAEMON = "com.ulmora.velto.AlertsDaemon";

/** Thrown by a method: answers with an error of Varlink's kind. */
export class Refusal extends Error {
  constructor(error, parameters = {}) {
    super(error);
    this.parameters = parameters;
  }
}

/** Milliseconds for which changes are gathered before they are told. */
const GATHERING = 100;

export class ScriptedService {
  constructor(socket) {
    this.socket = socket;
    this.store = new AlertStore();
    this.settings = {
      Common: { name: "Common", pushEnabled: true, mailEnabled: true },
      Disk: { name: "Disk space", pushEnabled: true, mailEnabled: true },
    };
    this.isOld = false;
    /** Method name to `(socket, message) => true` when the script has dealt with the call. */
    this.scripts = new Map();
    /** Every call, as `[method, parameters]`. */
    this.calls = [];
    this.clients = new Set();
    this.followers = new Map();
    this.gathered = [];
    this.sequence = 0;
    this.methods = { ...monitoring(this), ...administration(this) };
  }

  /** Does nothing where it runs already. */
  async start() {
    if (this.server) return;
    await rm(this.socket, { force: true });
    this.server = createServer((client) => this.serve(client));
    await new Promise((resolve) => this.server.listen(this.socket, resolve));
  }

  async stop() {
    const { server } = this;
    if (!server) return;
    this.server = undefined;
    const isClosed = new Promise((resolve) => server.close(resolve));
    for (const client of this.clients) client.destroy();
    await isClosed;
    await rm(this.socket, { force: true });
  }

  // What tests do to the service from outside.

  async save(alerts) {
    for (const alert of alerts) this.insert(alert);
  }

  script(method, deal) {
    this.scripts.set(method, deal);
  }

  /** Behaves again; what it holds stays. */
  behave() {
    this.scripts.clear();
    this.isOld = false;
    this.calls = [];
  }

  async reset() {
    this.behave();
    this.store.removeWhere(() => true);
    await this.start();
  }

  callsOf(name) {
    return this.calls.filter(([method]) => method.endsWith(`.${name}`)).map(([, parameters]) => parameters);
  }

  // What methods do.

  insert(alert) {
    this.store.insert(alert);
    this.tell({ kind: "added", alert });
  }

  tell(event) {
    this.gathered.push({ sequence: ++this.sequence, ...event });
    this.timer ??= setTimeout(() => this.tellFollowers(), GATHERING);
  }

  tellFollowers() {
    this.timer = undefined;
    const events = this.gathered.splice(0);
    for (const [client, { bundle, type }] of this.followers) {
      const isWanted = ({ alert }) => (!bundle || alert?.bundle === bundle) && (!type || alert?.type === type);
      const told = bundle || type ? events.filter(isWanted) : events;
      if (told.length > 0) this.reply(client, { parameters: { sequence: this.sequence, events: told }, continues: true });
    }
  }

  reply(client, message) {
    if (!client.destroyed) client.write(`${JSON.stringify(message)}\0`);
  }

  serve(client) {
    this.clients.add(client);
    let pending = "";
    let turn = Promise.resolve();
    client.setEncoding("utf8");
    client.on("error", () => {});
    client.on("close", () => {
      this.clients.delete(client);
      this.followers.delete(client);
    });
    client.on("data", (text) => {
      const messages = (pending + text).split("\0");
      pending = messages.pop();
      // The calls of a connection are carried out one after the other.
      for (const message of messages) turn = turn.then(() => this.answer(client, JSON.parse(message)));
    });
  }

  async answer(client, message) {
    const { method, parameters = {}, more } = message;
    this.calls.push([method, parameters]);
    const script = this.scripts.get(method.slice(method.lastIndexOf(".") + 1));
    if (script && (await script(client, message))) return;
    try {
      this.checkAccess(method);
      if (method === `${MONITOR}.Follow` && more) this.followers.set(client, parameters);
      const result = (await this.methods[method](parameters)) ?? {};
      this.reply(client, { parameters: result, ...(this.followers.has(client) ? { continues: true } : {}) });
    } catch (error) {
      if (!(error instanceof Refusal)) throw error;
      this.reply(client, { error: error.message, parameters: error.parameters });
    }
  }

  checkAccess(method) {
    const isWatching = method.startsWith(MONITOR);
    if (!this.methods[method] || (isWatching && this.isOld)) {
      throw new Refusal("org.varlink.service.MethodNotFound", { method });
    }
  }
}
