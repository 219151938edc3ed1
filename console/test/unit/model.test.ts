// SPDX-License-Identifier: Apache-2.0

import assert from "node:assert/strict";
import { mock, test } from "node:test";

import type { Query } from "../../src/service/api.ts";
import type { Alert, Page, ServiceEvent } from "../../src/service/types.ts";
import { settle } from "./FakeChannel.ts";

// The module reads the reader's language from the browser.
Object.assign(globalThis, { document: { cookie: "" }, cockpit: { gettext: (text: string) => text } });
if (!("navigator" in globalThis)) Object.assign(globalThis, { navigator: { language: "en" } });
const { AlertListModel } = await import("../../src/views/alerts/AlertListModel.ts");

function alert(identifier: string | undefined, more: Partial<Alert> = {}): Alert {
  return { identifier, type: "T", bundle: "B", creationDate: undefined, sentDate: 1, readDate: undefined, resolvedDate: undefined, attributes: undefined, ...more };
}

function page(ids: (string | undefined)[], next?: string): Page {
  return { items: ids.map((id) => ({ alert: alert(id), subject: `about ${id ?? ""}` })), next };
}

/** A service whose answers the test gives one by one. */
function make() {
  const asked: { limit: number; after: string | undefined; give: (page: Page) => void; fail: (error: Error) => void }[] = [];
  const api = {
    list: (_query: Query, _locale: string, limit: number, after?: string) =>
      new Promise<Page>((give, fail) => asked.push({ limit, after, give, fail })),
  };
  const waiting: (() => void)[] = [];
  const timers = mock.method(globalThis, "setTimeout", (call: () => void) => waiting.push(call));
  const model = new AlertListModel(api, {}, "en");
  const ids = () => model.state.rows.map(({ id }) => id);
  const pass = async () => {
    for (const call of waiting.splice(0)) call();
    await settle();
  };
  const give = async (index: number, given: Page) => {
    asked[index]?.give(given);
    await settle();
  };
  return { model, asked, ids, pass, give, restore: () => timers.mock.restore() };
}

function event(kind: ServiceEvent["kind"], more: Partial<ServiceEvent> = {}): ServiceEvent {
  return { sequence: 1, kind, identifier: undefined, alert: undefined, ...more };
}

test("pages follow each other, each asked for once", async () => {
  const { model, asked, ids, give, restore } = make();
  void model.load();
  void model.loadMore();
  assert.equal(asked.length, 1);
  await give(0, page(["a", "b"], "b"));
  void model.loadMore();
  void model.loadMore();
  assert.deepEqual(asked.map(({ after }) => after), [undefined, "b"]);
  await give(1, page(["c"]));
  assert.deepEqual(ids(), ["a", "b", "c"]);
  assert.equal(model.state.hasMore, false);
  void model.loadMore();
  assert.equal(asked.length, 2);
  restore();
});

test("an answer to an older question is passed over", async () => {
  const { model, asked, ids, give, restore } = make();
  void model.load();
  void model.load();
  await give(1, page(["new"]));
  await give(0, page(["old"]));
  assert.equal(asked.length, 2);
  assert.deepEqual(ids(), ["new"]);
  restore();
});

test("alerts that share an identifier, or have none, are rows of their own", async () => {
  const { model, give, restore } = make();
  void model.load();
  await give(0, page(["a", "a", undefined, undefined]));
  assert.equal(new Set(model.state.rows.map(({ key }) => key)).size, 4);
  restore();
});

test("a page that fails keeps the rows, and says why until one succeeds", async () => {
  const { model, asked, ids, give, restore } = make();
  void model.load();
  await give(0, page(["a"], "a"));
  void model.loadMore();
  asked[1]?.fail(new Error("broken"));
  await settle();
  assert.deepEqual(ids(), ["a"]);
  assert.match(String(model.state.error), /broken/);
  void model.loadMore();
  await give(2, page(["b"]));
  assert.deepEqual(ids(), ["a", "b"]);
  assert.equal(model.state.error, undefined);
  restore();
});

test("what is new is read at once where nobody has a hand on the list, a flood of it once", async () => {
  const { model, asked, ids, give, pass, restore } = make();
  void model.load();
  await give(0, page(["a"]));
  model.take([event("added", { alert: alert("b") })]);
  model.take([event("added", { alert: alert("c") })]);
  await pass();
  assert.equal(asked.length, 2);
  await give(1, page(["c", "b", "a"]));
  assert.deepEqual(ids(), ["c", "b", "a"]);
  restore();
});

test("where somebody has, the rows stay, and the new ones that the filters let through are counted", async () => {
  const { model, ids, give, pass, restore } = make();
  model.isHeld = () => true;
  void model.load();
  await give(0, page(["a"]));
  model.take([event("added", { alert: alert("b") }), event("added", { alert: alert("filtered") })]);
  await pass();
  await give(1, page(["b", "a"]));
  assert.deepEqual(ids(), ["a"]);
  assert.equal(model.state.fresh, 1);
  void model.load();
  await give(2, page(["b", "a"]));
  assert.equal(model.state.fresh, 0);
  restore();
});

test("changes show in place, deletions as a mark where rows must stay", async () => {
  const { model, ids, give, restore } = make();
  void model.load();
  await give(0, page(["a", "b"]));
  model.take([event("changed", { alert: alert("b", { readDate: 2, resolvedDate: 3 }) })]);
  assert.deepEqual(model.state.rows.map(({ isUnread, isUnresolved }) => [isUnread, isUnresolved]), [[true, true], [false, false]]);
  model.isHeld = () => true;
  model.take([event("deleted", { identifier: "a" })]);
  assert.deepEqual(model.state.rows.map(({ isDeleted }) => isDeleted), [true, false]);
  model.isHeld = () => false;
  model.take([event("deleted", { identifier: "b" })]);
  assert.deepEqual(ids(), ["a"]);
  restore();
});

test("events that were lost make the list say that it does not know", async () => {
  const { model, give, restore } = make();
  model.isHeld = () => true;
  void model.load();
  await give(0, page(["a"]));
  model.take([event("lost")]);
  assert.equal(model.state.fresh, Infinity);
  restore();
});

test("all of a list is read for what is to be done to all of it, and a failure ends that", async () => {
  const { model, asked, give, restore } = make();
  void model.load();
  await give(0, page(["a"], "1"));
  const all = model.loadAll(() => true);
  await give(1, page(["b"], "2"));
  await give(2, page(["c"]));
  assert.equal(await all, true);
  void model.load();
  await give(3, page(["a"], "1"));
  const failing = model.loadAll(() => true);
  asked[4]?.fail(new Error("broken"));
  assert.equal(await failing, false);
  restore();
});

test("after the end nothing changes any more", async () => {
  const { model, ids, give, restore } = make();
  void model.load();
  model.dispose();
  await give(0, page(["a"]));
  assert.deepEqual(ids(), []);
  restore();
});
