// SPDX-License-Identifier: Apache-2.0
// The calls that the page makes, against answers that are written out.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Api, ServiceError } from "../../src/service/api.ts";
import { ShapeError } from "../../src/service/shape.ts";
import type { Client } from "../../src/varlink/client.ts";
import type { Parameters } from "../../src/varlink/errors.ts";

function apiThatAnswers(reply: Parameters, calls: [string, Parameters][] = []): Api {
  const call = (method: string, parameters: Parameters) => {
    calls.push([method, parameters]);
    return Promise.resolve(reply);
  };
  return new Api({ call } as unknown as Client);
}

test("what was sent at a moment is not counted as sent before it", async () => {
  const calls: [string, Parameters][] = [];
  const api = apiThatAnswers({ entries: [{ start: -1e9, bundle: "Disk", count: 2 }, { start: -1e9, count: 3 }] }, calls);
  assert.equal(await api.countBefore(800_000_000), 5);
  const { to = 0, from = 0, step = 0 } = calls[0]?.[1] as Record<string, number>;
  assert.ok(to < 800_000_000 && to > 799_999_999, String(to));
  assert.equal(from + step, to, "one step");
});

test("an error of the service is told with its text, also where that came as bytes", async () => {
  const fails = (userInfo: Parameters) => apiThatAnswers({ error: { domain: "UlmoraPushProvider", code: 410, userInfo } }).markRead("x");
  const told: [Parameters, string | undefined][] = [
    [{ NSLocalizedDescription: "no such device" }, "no such device"],
    [{ NSLocalizedDescription: { $data: Buffer.from("Gerät ist weg").toString("base64") } }, "Gerät ist weg"],
    [{ NSLocalizedDescription: 5 }, undefined],
    [{}, undefined],
  ];
  for (const [userInfo, description] of told) {
    await assert.rejects(fails(userInfo), (error) => error instanceof ServiceError && error.code === 410 && error.description === description);
  }
  await assert.rejects(fails({ NSLocalizedDescription: { $data: 1 } }), ShapeError);
});

test("an absent count of deleted alerts is none", async () => {
  assert.equal(await apiThatAnswers({}).removeBefore(1), 0);
  assert.equal(await apiThatAnswers({ count: 7 }).removeBefore(1), 7);
});
