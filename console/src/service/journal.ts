// SPDX-License-Identifier: Apache-2.0
// What came of deliveries, from the system's journal.

/** The journal entries of deliveries carry it. */
const DELIVERY = "5b948e18490f447ab8f28cf86e632cd0";

export interface Delivery {
  /** Milliseconds since 1970. */
  time: number;
  alertId: string;
  bundle: string;
  channel: string;
  recipients: string;
  locale: string;
  isDelivered: boolean;
  status: string;
  /** Milliseconds. */
  duration: number;
}

/** A field is a text, or the bytes of one that is not printable, or several of them. */
function field(entry: Record<string, unknown>, name: string): string {
  const value = entry[name];
  if (typeof value === "string") return value;
  if (Array.isArray(value) && value.every((one) => typeof one === "number")) {
    return new TextDecoder().decode(Uint8Array.from(value));
  }
  return Array.isArray(value) && typeof value[0] === "string" ? value[0] : "";
}

function parseLine(line: string): Delivery | undefined {
  let entry: unknown;
  try {
    entry = JSON.parse(line);
  } catch {
    return undefined; // a line that is no entry says nothing of a delivery
  }
  if (typeof entry !== "object" || entry === null) return undefined;
  const read = (name: string) => field(entry as Record<string, unknown>, name);
  return {
    time: Number(read("__REALTIME_TIMESTAMP")) / 1000,
    alertId: read("VELTO_ALERT_ID"),
    bundle: read("VELTO_BUNDLE"),
    channel: read("VELTO_CHANNEL"),
    recipients: read("VELTO_RECIPIENTS"),
    locale: read("VELTO_LOCALE"),
    isDelivered: read("VELTO_RESULT") === "delivered",
    status: read("VELTO_STATUS"),
    duration: Number(read("VELTO_DURATION_USEC")) / 1000,
  };
}

export function parseJournal(output: string): Delivery[] {
  return output
    .split("\n")
    .filter((line) => line.startsWith("{"))
    .map(parseLine)
    .filter((delivery): delivery is Delivery => delivery !== undefined);
}

/** The last deliveries, newest first; of one alert where it is given. */
export async function lastDeliveries(count: number, alertId?: string): Promise<Delivery[]> {
  const matches = [`MESSAGE_ID=${DELIVERY}`, ...(alertId === undefined ? [] : [`VELTO_ALERT_ID=${alertId}`])];
  const command = ["journalctl", "--output=json", "--reverse", `--lines=${count}`, "--no-pager", "--quiet", ...matches];
  return parseJournal(await cockpit.spawn(command, { superuser: "try", err: "message" }));
}
