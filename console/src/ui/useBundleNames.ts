// SPDX-License-Identifier: Apache-2.0

import { useCallback } from "react";

import { useLoaded, useService, useServiceEvents } from "./service.ts";

/** The names of the bundles that are switched on, by their keys; none until they are known. */
export function useBundleNames(): Record<string, string> {
  const { api } = useService();
  const load = useCallback(async () => {
    const settings = await api.bundleSettings();
    return Object.fromEntries(Object.entries(settings).map(([key, { name }]) => [key, name ?? key]));
  }, [api]);
  const { value, reload } = useLoaded(load);
  useServiceEvents((events) => {
    if (events.some(({ kind }) => kind === "settings" || kind === "lost")) reload();
  });
  return value ?? NONE;
}

const NONE: Record<string, string> = {};
