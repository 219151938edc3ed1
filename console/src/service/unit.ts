// SPDX-License-Identifier: Apache-2.0
// The service as systemd sees it.

export const UNIT = "velto-alerts.service";

export interface Unit {
  /** `not-found` where the unit is not installed. */
  load: string;
  /** `active`, `inactive`, `failed`, `activating`, ... */
  active: string;
  sub: string;
  /** Whether it starts with the machine: `enabled`, `disabled`, ... */
  file: string;
  /** How it ended the last time: `success`, `exit-code`, `signal`, ... */
  result: string;
}

export function parseUnit(output: string): Unit {
  const values = new Map(
    output.split("\n").map((line): [string, string] => {
      const equals = line.indexOf("=");
      return [line.slice(0, equals), line.slice(equals + 1)];
    }),
  );
  const read = (name: string) => values.get(name) ?? "";
  return {
    load: read("LoadState"),
    active: read("ActiveState"),
    sub: read("SubState"),
    file: read("UnitFileState"),
    result: read("Result"),
  };
}

export async function readUnit(): Promise<Unit> {
  const properties = "--property=LoadState,ActiveState,SubState,UnitFileState,Result";
  return parseUnit(await cockpit.spawn(["systemctl", "show", properties, UNIT], { superuser: "try", err: "message" }));
}

export async function controlUnit(verb: "start" | "stop" | "restart"): Promise<void> {
  await cockpit.spawn(["systemctl", verb, UNIT], { superuser: "try", err: "message" });
}
