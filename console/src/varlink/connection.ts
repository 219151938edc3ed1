// SPDX-License-Identifier: Apache-2.0
//
// A connection makes calls in a row and does not wait for one answer before the next call: the service
// answers in order, so the first of `waiting` is whose answer comes next. It lives once: `open`, then
// `closed` for good, with a reason that everybody who still waits is told. Nothing is sent twice; who wants to
// try again makes another connection.

import { ConnectionLost, type LossReason, type Parameters, VarlinkError } from "./errors.ts";
import { frame, Frames } from "./frames.ts";

/** What carries the bytes. After `close`, or once `onClose` was called, nothing more is called. */
export interface Channel {
  send(bytes: Uint8Array): void;
  close(): void;
  onMessage: (bytes: Uint8Array) => void;
  onClose: (reason: LossReason, detail?: string) => void;
}

interface Waiting {
  onReply: ((parameters: Parameters) => void) | undefined;
  resolve: (parameters: Parameters) => void;
  reject: (error: Error) => void;
  timer: ReturnType<typeof setTimeout> | undefined;
}

interface Reply {
  parameters: Parameters;
  continues: boolean;
  error: string | undefined;
}

export interface CallOptions {
  /** Called with each reply but the last; asks for more than one. */
  onReply?: (parameters: Parameters) => void;
  /** Milliseconds until the call, and with it the connection, is given up. None: as long as it takes. */
  limit?: number;
}

function isObject(value: unknown): value is Parameters {
  return typeof value === "object" && value !== null && !Array.isArray(value);
}

function parseReply(text: string): Reply | undefined {
  let message: unknown;
  try {
    message = JSON.parse(text);
  } catch {
    return undefined;
  }
  if (!isObject(message)) return undefined;
  const { parameters, continues, error } = message;
  if (parameters !== undefined && parameters !== null && !isObject(parameters)) return undefined;
  if (error !== undefined && error !== null && typeof error !== "string") return undefined;
  return { parameters: parameters ?? {}, continues: continues === true, error: error ?? undefined };
}

export class Connection {
  private readonly frames = new Frames();
  private readonly waiting: Waiting[] = [];
  private lost: ConnectionLost | undefined;

  /** `onLost` is called once, when the connection ends otherwise than by `close`. */
  constructor(private readonly channel: Channel, private readonly onLost: (loss: ConnectionLost) => void = () => {}) {
    channel.onMessage = (bytes) => this.receive(bytes);
    channel.onClose = (reason, detail) => this.end(new ConnectionLost(reason, detail));
  }

  get isOpen(): boolean {
    return this.lost === undefined;
  }

  /** Calls that are not answered yet. */
  get load(): number {
    return this.waiting.length;
  }

  /** The last reply's parameters. */
  call(method: string, parameters: Parameters, { onReply, limit }: CallOptions = {}): Promise<Parameters> {
    return new Promise((resolve, reject) => {
      if (this.lost) {
        reject(this.lost);
        return;
      }
      const timer = limit === undefined ? undefined : setTimeout(() => this.giveUp("timeout", method), limit);
      this.waiting.push({ onReply, resolve, reject, timer });
      this.channel.send(frame(onReply ? { method, parameters, more: true } : { method, parameters }));
    });
  }

  close(): void {
    if (this.lost) return;
    this.channel.close();
    this.end(new ConnectionLost("closed"), false);
  }

  private receive(bytes: Uint8Array): void {
    let texts: string[];
    try {
      texts = this.frames.push(bytes);
    } catch (error) {
      this.giveUp("bad-reply", String(error));
      return;
    }
    for (const text of texts) {
      if (this.lost) return;
      this.take(text);
    }
  }

  private take(text: string): void {
    const reply = parseReply(text);
    const first = this.waiting[0];
    if (!reply || !first || (reply.continues && !first.onReply)) {
      this.giveUp("bad-reply", text.slice(0, 200));
    } else if (reply.continues) {
      clearTimeout(first.timer);
      first.onReply?.(reply.parameters);
    } else {
      this.waiting.shift();
      clearTimeout(first.timer);
      if (reply.error === undefined) first.resolve(reply.parameters);
      else first.reject(new VarlinkError(reply.error, reply.parameters));
    }
  }

  /** After an answer that is none, or that is late, nobody knows whose answer comes next. */
  private giveUp(reason: LossReason, detail: string): void {
    if (this.lost) return;
    this.channel.close();
    this.end(new ConnectionLost(reason, detail));
  }

  private end(loss: ConnectionLost, isTold = true): void {
    if (this.lost) return;
    this.lost = loss;
    for (const one of this.waiting.splice(0)) {
      clearTimeout(one.timer);
      one.reject(loss);
    }
    if (isTold) this.onLost(loss);
  }
}
