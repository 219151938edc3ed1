// SPDX-License-Identifier: Apache-2.0
// The part of Cockpit's interface for pages that this page uses; base1/cockpit.js brings it.

interface CockpitChannel {
  send(data: Uint8Array | string): void;
  close(problem?: string): void;
  addEventListener(name: "message", handler: (event: Event, data: Uint8Array) => void): void;
  addEventListener(name: "close", handler: (event: Event, options: { problem?: string; message?: string }) => void): void;
}

interface CockpitProcess extends Promise<string> {
  close(problem?: string): void;
}

interface CockpitLocation {
  path: string[];
  options: Record<string, string | string[]>;
  go(path: string[], options?: Record<string, string>): void;
  replace(path: string[], options?: Record<string, string>): void;
}

interface CockpitDBusProxy {
  valid: boolean;
  wait(): Promise<void>;
  addEventListener(name: string, handler: (event: Event, ...values: unknown[]) => void): void;
  removeEventListener(name: string, handler: (event: Event, ...values: unknown[]) => void): void;
  Current?: string;
  Bridges?: string[];
  Start?(bridge: string): Promise<void>;
  Answer?(answer: string): Promise<void>;
  Stop?(): Promise<void>;
}

declare const cockpit: {
  channel(options: Record<string, unknown>): CockpitChannel;
  spawn(command: string[], options?: Record<string, unknown>): CockpitProcess;
  dbus(name: null, options: { bus: "internal" }): { proxy(iface: string, path: string): CockpitDBusProxy };
  gettext(text: string): string;
  ngettext(one: string, many: string, count: number): string;
  format(text: string, ...values: unknown[]): string;
  jump(path: string): void;
  location: CockpitLocation;
  language: string;
  language_direction: string;
  hidden: boolean;
  addEventListener(name: "locationchanged" | "visibilitychange", handler: () => void): void;
  transport: { control(command: string, options: Record<string, unknown>): void; wait(callback: () => void): void };
};
