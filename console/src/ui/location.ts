// SPDX-License-Identifier: Apache-2.0
// The address: which view, and what it shows, so that a view can be kept as a bookmark and sent.

import { useSyncExternalStore } from "react";

export interface Place {
  path: string[];
  options: Record<string, string>;
}

function read(): Place {
  const { path, options } = cockpit.location;
  const single = Object.entries(options).map(([key, value]): [string, string] => [
    key,
    Array.isArray(value) ? value[value.length - 1] ?? "" : value,
  ]);
  return { path: [...path], options: Object.fromEntries(single) };
}

let place: Place | undefined;
const listeners = new Set<() => void>();

function current(): Place {
  if (!place) {
    place = read();
    cockpit.addEventListener("locationchanged", () => {
      place = read();
      for (const listener of listeners) listener();
    });
  }
  return place;
}

function subscribe(listener: () => void): () => void {
  listeners.add(listener);
  return () => listeners.delete(listener);
}

export function usePlace(): Place {
  return useSyncExternalStore(subscribe, current);
}

export function go(path: string[], options: Record<string, string> = {}): void {
  cockpit.location.go(path, options);
}

/** As `go`, without a step in the history: for what changes with each key. */
export function replace(path: string[], options: Record<string, string> = {}): void {
  cockpit.location.replace(path, options);
}

export function href(path: string[], options: Record<string, string> = {}): string {
  const query = Object.entries(options).map(([key, value]) => `${encodeURIComponent(key)}=${encodeURIComponent(value)}`);
  return `#/${path.map(encodeURIComponent).join("/")}${query.length > 0 ? `?${query.join("&")}` : ""}`;
}
