// SPDX-License-Identifier: Apache-2.0

import assert from "node:assert/strict";
import { mock, test } from "node:test";

import { type State, stateOfError, Watcher } from "../../src/service/watcher.ts";
import { Client } from "../../src/varlink/client.ts";
import { ConnectionLost, type LossReason, VarlinkError } from "../../src/varlink/errors.ts";
import { FakeChannel, settle } from "./FakeChannel.ts";

function make() {
  const channels: FakeChannel[] = [];
  const waiting: (() => void)[] = [];
  const client = new Client(() => {
    const channel = new FakeChannel();
    channels.push(channel);
    return channel;
  });
  // Timers are the test's: `pass` lets the next try begin.
  const timers = mock.method(globalThis, "setTimeout", (call: () => void) => waiting.push(call));
  const watcher = new Watcher(client);
  const states: State[] = [];
  watcher.onSituation(({ state }) => states.push(state));
  watcher.start();
  return { client, watcher, channels, states, pass: () => waiting.pop()?.(), restore: () => timers.mock.restore() };
}

const first = { parameters: { sequence: 4, events: [] }, continues: true };

test("the first reply makes it ready, and the others are its listeners' events", () => {
  const { watcher, channels, states, restore } = make();
  const told: unknown[] = [];
  watcher.onEvents((events) => told.push(...events.map(({ kind, identifier }) => [kind, identifier])));
  assert.deepEqual(channels[0]?.sent, [{ method: "com.ulmora.velto.AlertsMonitor.Follow", parameters: {}, more: true }]);
  channels[0].reply(first);
  assert.deepEqual(states, ["ready"]);
  channels[0].reply({ parameters: { sequence: 6, events: [{ sequence: 5, kind: "deleted", identifier: "a" }, { sequence: 6, kind: "settings" }] }, continues: true });
  assert.deepEqual(told, [["deleted", "a"], ["settings", undefined]]);
  restore();
});

test("a service that goes is restarting, and back it is a generation later", async () => {
  const { watcher, channels, states, pass, restore } = make();
  channels[0]?.reply(first);
  channels[0]?.onClose("disconnected");
  await settle();
  pass();
  channels[1]?.onClose("not-found");
  await settle();
  pass();
  channels[2]?.reply(first);
  assert.deepEqual(states, ["ready", "restarting", "ready"]);
  assert.equal(watcher.situation.generation, 2);
  restore();
});

test("a service that was never there is absent, and comes by itself", async () => {
  const { channels, states, pass, restore } = make();
  channels[0]?.onClose("not-found");
  await settle();
  assert.deepEqual(states, ["absent"]);
  pass();
  channels[1]?.reply(first);
  assert.deepEqual(states, ["absent", "ready"]);
  restore();
});

test("who was denied has connections of its own once it is let in, and asks anew what it asked in vain", async () => {
  const { client, watcher, channels, pass, restore } = make();
  const asked = assert.rejects(client.call("x.Y"));
  channels[0]?.reply({ error: "com.ulmora.velto.AlertsMonitor.NotPermitted", parameters: {} });
  await settle();
  await asked;
  assert.equal(channels[1]?.isClosed, true, "what was connected without rights");
  pass();
  channels[2]?.reply(first);
  assert.deepEqual([watcher.situation.state, watcher.situation.generation], ["ready", 2]);
  void client.call("x.Y");
  assert.deepEqual(channels[3]?.methods, ["x.Y"]);
  restore();
});

test("to start anew when ready is a new connection, too", () => {
  const { watcher, channels, restore } = make();
  channels[0]?.reply(first);
  watcher.start();
  assert.equal(watcher.situation.generation, 1);
  channels[1]?.reply(first, { parameters: { sequence: 5, events: [{ sequence: 5, kind: "settings" }] }, continues: true });
  assert.deepEqual([watcher.situation.state, watcher.situation.generation], ["ready", 2]);
  restore();
});

test("a reply out of shape is a failure that is tried again", async () => {
  const { watcher, channels, states, pass, restore } = make();
  channels[0]?.reply({ parameters: { sequence: "4", events: [] }, continues: true });
  await settle();
  assert.deepEqual(states, ["failing"]);
  assert.match(watcher.situation.detail, /sequence/);
  pass();
  channels[1]?.reply(first);
  assert.equal(watcher.situation.state, "ready");
  restore();
});

test("a service that answers once and does not go on is not taken for one that can be followed", async () => {
  const { channels, watcher, restore } = make();
  channels[0]?.reply({ parameters: { sequence: 1, events: [] } });
  await settle();
  assert.notEqual(watcher.situation.state, "ready");
  restore();
});

test("after stop nothing is tried any more", async () => {
  const { watcher, channels, restore } = make();
  watcher.stop();
  await settle();
  assert.equal(channels.length, 1);
  assert.equal(channels[0]?.isClosed, true);
  restore();
});

for (const [error, state] of [
  ["com.ulmora.velto.AlertsMonitor.NotPermitted", "denied"],
  ["org.varlink.service.MethodNotFound", "old"],
  ["org.varlink.service.InterfaceNotFound", "old"],
  ["org.varlink.service.InvalidParameter", "failing"],
] as const) {
  test(`${error} is ${state}`, () => assert.equal(stateOfError(new VarlinkError(error, {})), state));
}

for (const [reason, state] of Object.entries({
  "not-found": "absent",
  disconnected: "absent",
  "access-denied": "denied",
  timeout: "failing",
  "bad-reply": "failing",
})) {
  test(`a connection lost as ${reason} is ${state}`, () => assert.equal(stateOfError(new ConnectionLost(reason as LossReason)), state));
}
