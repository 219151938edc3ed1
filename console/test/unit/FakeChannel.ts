// SPDX-License-Identifier: Apache-2.0

import type { Channel } from "../../src/varlink/connection.ts";
import type { LossReason } from "../../src/varlink/errors.ts";

interface Call {
  method: string;
  parameters: Record<string, unknown>;
  more?: boolean;
}

/** A channel whose other end is the test. */
export class FakeChannel implements Channel {
  sent: Call[] = [];
  isClosed = false;
  onMessage: (bytes: Uint8Array) => void = () => {};
  onClose: (reason: LossReason, detail?: string) => void = () => {};

  send(bytes: Uint8Array): void {
    const text = new TextDecoder().decode(bytes);
    if (!text.endsWith("\0")) throw new Error("a call without its end");
    this.sent.push(JSON.parse(text.slice(0, -1)) as Call);
  }

  close(): void {
    this.isClosed = true;
  }

  get methods(): string[] {
    return this.sent.map(({ method }) => method);
  }

  bytes(text: string): void {
    this.onMessage(new TextEncoder().encode(text));
  }

  reply(...messages: unknown[]): void {
    this.bytes(messages.map((message) => `${JSON.stringify(message)}\0`).join(""));
  }
}

/** Lets everything run that does not wait for time or for the other end. */
export async function settle(): Promise<void> {
  for (let turn = 0; turn < 20; turn++) await Promise.resolve();
}
