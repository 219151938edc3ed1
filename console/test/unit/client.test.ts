// SPDX-License-Identifier: Apache-2.0

import assert from "node:assert/strict";
import { test } from "node:test";

import { Client } from "../../src/varlink/client.ts";
import { FakeChannel } from "./FakeChannel.ts";

function make(most: number): { client: Client; channels: FakeChannel[] } {
  const channels: FakeChannel[] = [];
  const open = () => {
    const channel = new FakeChannel();
    channels.push(channel);
    return channel;
  };
  return { client: new Client(open, most), channels };
}

test("a call goes over the connection that has nothing to do", async () => {
  const { client, channels } = make(3);
  for (let turn = 0; turn < 3; turn++) {
    const call = client.call("x.A");
    channels[0]?.reply({ parameters: {} });
    await call;
  }
  assert.equal(channels.length, 1);
});

test("calls at once have connections of their own, and beyond the bound they queue where it is shortest", () => {
  const { client, channels } = make(2);
  const calls = ["x.A", "x.B", "x.C", "x.D", "x.E"].map((method) => client.call(method));
  for (const call of calls) call.catch(() => {});
  assert.deepEqual(channels.map(({ methods }) => methods), [["x.A", "x.C", "x.E"], ["x.B", "x.D"]]);
  client.close();
});

test("a call whose connection ends fails once, and the next one has a new connection", async () => {
  const { client, channels } = make(2);
  const failing = client.call("x.Delete");
  channels[0]?.onClose("disconnected");
  await assert.rejects(failing);
  const next = client.call("x.Next");
  channels[1]?.reply({ parameters: { ok: true } });
  assert.deepEqual(await next, { ok: true });
  assert.deepEqual(channels.map(({ methods }) => methods), [["x.Delete"], ["x.Next"]]);
});

test("closing ends all connections, and calls can be made again", () => {
  const { client, channels } = make(2);
  client.call("x.A").catch(() => {});
  client.call("x.B").catch(() => {});
  client.close();
  assert.deepEqual(channels.map(({ isClosed }) => isClosed), [true, true]);
  client.call("x.C").catch(() => {});
  assert.deepEqual(channels[2]?.methods, ["x.C"]);
});

test("a separate connection's answers hold up no others", () => {
  const { client, channels } = make(1);
  client.separate(() => {}).call("x.Follow", {}, { onReply: () => {} }).catch(() => {});
  client.call("x.A").catch(() => {});
  assert.deepEqual(channels.map(({ methods }) => methods), [["x.Follow"], ["x.A"]]);
});
