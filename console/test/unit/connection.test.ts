// SPDX-License-Identifier: Apache-2.0

import assert from "node:assert/strict";
import { test } from "node:test";

import { Connection } from "../../src/varlink/connection.ts";
import { ConnectionLost, VarlinkError } from "../../src/varlink/errors.ts";
import { FakeChannel } from "./FakeChannel.ts";

function lost(reason: string) {
  return (error: unknown) => error instanceof ConnectionLost && error.reason === reason;
}

test("calls go out at once, and answers find their calls in order", async () => {
  const channel = new FakeChannel();
  const connection = new Connection(channel);
  const first = connection.call("x.First", { a: 1 });
  const second = connection.call("x.Second", {});
  assert.deepEqual(channel.sent, [{ method: "x.First", parameters: { a: 1 } }, { method: "x.Second", parameters: {} }]);
  assert.equal(connection.load, 2);
  channel.reply({ parameters: { n: 1 } }, { parameters: { n: 2 } });
  assert.deepEqual(await Promise.all([first, second]), [{ n: 1 }, { n: 2 }]);
  assert.equal(connection.load, 0);
});

test("absent parameters are none", async () => {
  const channel = new FakeChannel();
  const connection = new Connection(channel);
  const calls = [connection.call("x.A", {}), connection.call("x.B", {})];
  channel.reply({}, { parameters: null });
  assert.deepEqual(await Promise.all(calls), [{}, {}]);
});

test("an error is the call's, and the next call goes on", async () => {
  const channel = new FakeChannel();
  const connection = new Connection(channel);
  const failing = connection.call("x.Fail", {});
  const next = connection.call("x.Next", {});
  channel.reply({ error: "x.Broken", parameters: { why: "so" } }, { parameters: {} });
  await assert.rejects(failing, (error) => error instanceof VarlinkError && error.short === "Broken" && error.parameters.why === "so");
  assert.deepEqual(await next, {});
  assert.equal(connection.isOpen, true);
});

test("a call for more gets each answer, and ends with the last", async () => {
  const channel = new FakeChannel();
  const connection = new Connection(channel);
  const seen: unknown[] = [];
  const more = connection.call("x.More", {}, { onReply: (parameters) => seen.push(parameters.n) });
  const next = connection.call("x.Next", {});
  assert.equal(channel.sent[0]?.more, true);
  channel.reply({ parameters: { n: 1 }, continues: true }, { parameters: { n: 2 }, continues: true });
  assert.deepEqual(seen, [1, 2]);
  channel.reply({ parameters: { n: 3 } }, { parameters: { n: 4 } });
  assert.deepEqual(await more, { n: 3 });
  assert.deepEqual(await next, { n: 4 });
  assert.deepEqual(seen, [1, 2]);
});

test("when the connection ends, everybody who waits is told, and nothing is sent again", async () => {
  const channel = new FakeChannel();
  let told: ConnectionLost | undefined;
  const connection = new Connection(channel, (loss) => (told = loss));
  const calls = [connection.call("x.A", {}), connection.call("x.B", {})];
  channel.reply({ parameters: {} });
  channel.bytes('{"parameters":{"half"');
  channel.onClose("disconnected");
  assert.deepEqual(await calls[0], {});
  await assert.rejects(calls[1] ?? Promise.resolve(), lost("disconnected"));
  assert.equal(told?.reason, "disconnected");
  await assert.rejects(connection.call("x.C", {}), lost("disconnected"));
  assert.deepEqual(channel.methods, ["x.A", "x.B"]);
});

for (const [what, text] of [
  ["no JSON", "nonsense\0"],
  ["no object", "[1]\0"],
  ["parameters that are none", '{"parameters":7}\0'],
  ["an error that is no name", '{"error":{"a":1}}\0'],
  ["a continuation that nobody asked for", '{"parameters":{},"continues":true}\0'],
] as const) {
  test(`an answer that is ${what} ends the connection`, async () => {
    const channel = new FakeChannel();
    const connection = new Connection(channel);
    const calls = [connection.call("x.A", {}), connection.call("x.B", {})];
    channel.bytes(text);
    for (const call of calls) await assert.rejects(call, lost("bad-reply"));
    assert.equal(channel.isClosed, true);
    assert.equal(connection.isOpen, false);
  });
}

test("an answer that nobody waits for ends the connection", () => {
  const channel = new FakeChannel();
  const connection = new Connection(channel);
  channel.reply({ parameters: {} });
  assert.equal(connection.isOpen, false);
});

test("what comes after the end is passed over", async () => {
  const channel = new FakeChannel();
  const connection = new Connection(channel);
  const call = connection.call("x.A", {});
  channel.reply(7, { parameters: { late: true } });
  await assert.rejects(call, lost("bad-reply"));
});

test("a late answer ends the connection, since nobody knows whose answer comes next", async () => {
  const channel = new FakeChannel();
  const connection = new Connection(channel);
  const slow = connection.call("x.Slow", {}, { limit: 1 });
  await assert.rejects(slow, lost("timeout"));
  assert.equal(channel.isClosed, true);
});

test("closing tells those who wait, and not onLost", async () => {
  const channel = new FakeChannel();
  let isTold = false;
  const connection = new Connection(channel, () => (isTold = true));
  const call = connection.call("x.A", {});
  connection.close();
  await assert.rejects(call, lost("closed"));
  assert.equal(isTold, false);
  assert.equal(channel.isClosed, true);
});
