// SPDX-License-Identifier: Apache-2.0

import assert from "node:assert/strict";
import { test } from "node:test";

import { frame, FrameError, Frames } from "../../src/varlink/frames.ts";

const bytes = (text: string) => new TextEncoder().encode(text);

test("a message is its JSON and a NUL", () => {
  assert.deepEqual(frame({ method: "a.b", parameters: { text: "é" } }), bytes('{"method":"a.b","parameters":{"text":"é"}}\0'));
});

test("messages come out whole however the bytes come in", () => {
  const stream = bytes('{"a":"ä€😀"}\0{}\0{"b":1}\0');
  for (let size = 1; size <= stream.length; size++) {
    const frames = new Frames();
    const found: string[] = [];
    for (let at = 0; at < stream.length; at += size) found.push(...frames.push(stream.subarray(at, at + size)));
    assert.deepEqual(found, ['{"a":"ä€😀"}', "{}", '{"b":1}'], `in pieces of ${size}`);
    assert.equal(frames.isWithin, false);
  }
});

test("what has begun and not ended is kept, also when the bytes' owner writes over them", () => {
  const frames = new Frames();
  const piece = bytes('{"a":');
  assert.deepEqual(frames.push(piece), []);
  assert.equal(frames.isWithin, true);
  piece.fill(0x78);
  assert.deepEqual(frames.push(bytes("1}\0")), ['{"a":1}']);
});

test("bytes that are not UTF-8 are no message", () => {
  assert.throws(() => new Frames().push(Uint8Array.from([0x22, 0xff, 0x22, 0])), FrameError);
});

test("a message without an end is not kept for ever", () => {
  const frames = new Frames(10);
  frames.push(bytes("12345"));
  assert.throws(() => frames.push(bytes("678901")), FrameError);
});

test("a long message in many pieces takes time in proportion", () => {
  const frames = new Frames();
  const piece = new Uint8Array(1024).fill(0x20);
  for (let count = 0; count < 20_000; count++) frames.push(piece);
  assert.equal(frames.push(bytes("\0"))[0]?.length, 20_000 * 1024);
});
