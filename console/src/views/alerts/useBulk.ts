// SPDX-License-Identifier: Apache-2.0
// What is done to the selected alerts: how far it is, what came of it, and whether it can be undone.

import { useCallback, useEffect, useRef, useState } from "react";

import type { Alert } from "../../service/types.ts";
import { useService } from "../../ui/service.ts";
import { locale } from "../../ui/text.ts";
import type { AlertListModel } from "./AlertListModel.ts";
import { doToMany } from "./doToMany.ts";

export type Deed = "read" | "resolve" | "delete";

export interface Work {
  deed: Deed;
  count: number;
  total: number;
}

export interface Result {
  deed: Deed;
  count: number;
  failed: number;
  error: unknown;
  /** What was deleted, where it can be stored again. */
  removed: Alert[];
}

/** More alerts than these are not kept for an undo. */
export const MOST_UNDONE = 200;
/** So many are deleted by one call. */
const AT_ONCE = 1000;

export interface Bulk {
  work: Work | undefined;
  result: Result | undefined;
  mark: (deed: "read" | "resolve", ids: string[]) => Promise<void>;
  remove: (ids: string[]) => Promise<void>;
  undo: () => Promise<void>;
  stop: () => void;
  dismiss: () => void;
}

/** What the reader has deleted leaves the list at once, and what is brought back is there at once. */
export function useBulk(model: AlertListModel, onRemoved?: () => void): Bulk {
  const { api } = useService();
  const [work, setWork] = useState<Work>();
  const [result, setResult] = useState<Result>();
  const isWanted = useRef(true);
  useEffect(() => () => void (isWanted.current = false), []);

  const mark = useCallback(
    async (deed: "read" | "resolve", ids: string[]) => {
      isWanted.current = true;
      setResult(undefined);
      setWork({ deed, count: 0, total: ids.length });
      const change = (id: string) => (deed === "read" ? api.markRead(id) : api.markResolved(id));
      const onProgress = (count: number) => setWork({ deed, count, total: ids.length });
      const { done, failed } = await doToMany(ids, change, onProgress, () => isWanted.current);
      setWork(undefined);
      setResult({ deed, count: done.length, failed: failed.length, error: failed[0]?.[1], removed: [] });
    },
    [api],
  );

  const remove = useCallback(
    async (ids: string[]) => {
      const read = (id: string) => api.alert(id, locale).then(({ alert }) => alert);
      const removed = ids.length <= MOST_UNDONE ? await Promise.all(ids.map(read)) : [];
      for (let at = 0; at < ids.length; at += AT_ONCE) {
        const some = ids.slice(at, at + AT_ONCE);
        await api.remove(some);
        model.forget(new Set(some));
        onRemoved?.();
      }
      setResult({ deed: "delete", count: ids.length, failed: 0, error: undefined, removed });
    },
    [api, model, onRemoved],
  );

  const undo = useCallback(async () => {
    if (!result) return;
    setResult(undefined); // pressed twice, it would be stored twice
    try {
      await api.save(result.removed);
      await model.load();
    } catch (error) {
      setResult({ ...result, count: 0, failed: result.removed.length, error, removed: [] });
    }
  }, [api, model, result]);

  const stop = useCallback(() => void (isWanted.current = false), []);
  const dismiss = useCallback(() => setResult(undefined), []);
  return { work, result, mark, remove, undo, stop, dismiss };
}
