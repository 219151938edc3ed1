// SPDX-License-Identifier: Apache-2.0

import { createContext, useCallback, useContext, useEffect, useRef, useState, useSyncExternalStore } from "react";

import { ConnectionLost, VarlinkError } from "../varlink/errors.ts";
import { ServiceError, type Api } from "../service/api.ts";
import { ShapeError } from "../service/shape.ts";
import type { ServiceEvent } from "../service/types.ts";
import type { Situation, Watcher } from "../service/watcher.ts";
import { _, clip, format } from "./text.ts";

export interface Service {
  api: Api;
  watcher: Watcher;
}

export const ServiceContext = createContext<Service | undefined>(undefined);

export function useService(): Service {
  const service = useContext(ServiceContext);
  if (!service) throw new Error("outside of the service's context");
  return service;
}

export function useSituation(): Situation {
  const { watcher } = useService();
  return useSyncExternalStore(
    useCallback((listener) => watcher.onSituation(listener), [watcher]),
    () => watcher.situation,
  );
}

export function useServiceEvents(handler: (events: ServiceEvent[]) => void): void {
  const { watcher } = useService();
  const latest = useRef(handler);
  useEffect(() => {
    latest.current = handler;
  });
  useEffect(() => watcher.onEvents((events) => latest.current(events)), [watcher]);
}

function lossText({ reason }: ConnectionLost): string {
  switch (reason) {
    case "timeout":
      return _("The service did not answer in time.");
    case "bad-reply":
      return _("The service's answer could not be understood.");
    case "access-denied":
      return _("The service's socket does not let you in.");
    case "not-found":
      return _("The service is not running.");
    case "disconnected":
    case "closed":
      return _("The connection to the service ended before it answered.");
  }
}

function unavailableText({ parameters: { description } }: VarlinkError): string {
  const reason = typeof description === "string" ? clip(description, 1000) : "";
  return format(_("The store cannot be read; what to do stands under Health. $0"), reason);
}

/** What went wrong, in a sentence. */
export function errorText(error: unknown): string {
  if (error instanceof ConnectionLost) return lossText(error);
  if (error instanceof ShapeError) return _("The service's answer could not be understood.");
  if (error instanceof VarlinkError) {
    if (error.short === "NoSuchAlert") return _("This alert does not exist any more.");
    if (error.short === "NotPermitted") return _("You need administrative access for this.");
    if (error.short === "Unavailable") return unavailableText(error);
    return format(_("The service answered with the error $0."), clip(error.error, 200));
  }
  if (error instanceof ServiceError) {
    return error.description ? clip(error.description, 2000) : format(_("Error $1 of $0"), clip(error.domain, 200), error.code);
  }
  const message = typeof error === "object" && error !== null && "message" in error ? error.message : error;
  return clip(String(message), 2000);
}

export interface Loaded<T> {
  value: T | undefined;
  error: unknown;
  isLoading: boolean;
  reload: () => void;
}

/**
 * What `load` gives; anew when it changes, when the service comes back, and on `reload`. While it is asked
 * anew the last value stays, and so it does when that fails, with the error beside it. Of several
 * answers the one asked for last counts.
 */
export function useLoaded<T>(load: () => Promise<T>): Loaded<T> {
  const { generation } = useSituation();
  const [state, setState] = useState<{ value: T | undefined; error: unknown; isLoading: boolean }>({
    value: undefined,
    error: undefined,
    isLoading: true,
  });
  const turn = useRef(0);
  const forget = useCallback(() => {
    turn.current++;
  }, []);
  const reload = useCallback(() => {
    const mine = ++turn.current;
    setState((before) => ({ ...before, isLoading: true }));
    load().then(
      (value) => mine === turn.current && setState({ value, error: undefined, isLoading: false }),
      (error: unknown) => mine === turn.current && setState((before) => ({ ...before, error, isLoading: false })),
    );
  }, [load]);
  const epoch = Math.max(generation, 1); // the first connection is no change
  useEffect(() => {
    reload();
    return forget;
  }, [reload, forget, epoch]);
  return { ...state, reload };
}
