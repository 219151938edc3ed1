// SPDX-License-Identifier: Apache-2.0
//
// Whether the service is there, and its changes as they come. The watcher holds one connection on which it
// follows; how that ends says what is the matter:
//
//   connecting ──first reply──► ready ──connection lost──► restarting ──► (as from connecting)
//       ├── no socket, nobody behind it ──► absent        (restarting first, for a while, after ready)
//       ├── NotPermitted, socket closed to us ──► denied
//       ├── the interface is not known ──► old
//       └── anything else ──► failing, with what was said
//
// From every state but ready it tries again by itself, since trying only asks: the way back needs no hand.

import { ConnectionLost, VarlinkError } from "../varlink/errors.ts";
import type { Client } from "../varlink/client.ts";
import type { Connection } from "../varlink/connection.ts";
import { FOLLOW } from "./api.ts";
import { events, type ServiceEvent } from "./types.ts";

export type State = "connecting" | "ready" | "restarting" | "absent" | "denied" | "old" | "failing";

export interface Situation {
  state: State;
  /** What was said, for `failing`. */
  detail: string;
  /**
   * Counts up with each connection that is ready: what was read over an earlier one may be out of date. The first is 1 when
   * it was ready at once, else 2, since what was asked before it was asked in vain.
   */
  generation: number;
}

/** Milliseconds between tries: quick at first, for a service that restarts. */
const FIRST_PAUSE = 250;
const LONGEST_PAUSE = 5_000;
/** How long a service that was there may stay away before it counts as absent. */
const RESTART_TIME = 8_000;
/** How long the first reply may take. */
const FIRST_REPLY = 15_000;

const UNKNOWN = ["org.varlink.service.MethodNotFound", "org.varlink.service.InterfaceNotFound"];

export function stateOfError(error: unknown): State {
  if (error instanceof VarlinkError) {
    if (UNKNOWN.includes(error.error)) return "old";
    return error.short === "NotPermitted" ? "denied" : "failing";
  }
  if (error instanceof ConnectionLost) {
    if (error.reason === "access-denied") return "denied";
    return error.reason === "not-found" || error.reason === "disconnected" ? "absent" : "failing";
  }
  return "failing";
}

export class Watcher {
  situation: Situation = { state: "connecting", detail: "", generation: 0 };
  private connection: Connection | undefined;
  private timer: ReturnType<typeof setTimeout> | undefined;
  private pause = FIRST_PAUSE;
  private lostAt: number | undefined;
  /** Whether the connection has had its first reply. */
  private isAnswered = false;
  private readonly situationListeners = new Set<(situation: Situation) => void>();
  private readonly eventListeners = new Set<(events: ServiceEvent[]) => void>();

  constructor(private readonly client: Client) {}

  onSituation(listener: (situation: Situation) => void): () => void {
    this.situationListeners.add(listener);
    return () => this.situationListeners.delete(listener);
  }

  onEvents(listener: (events: ServiceEvent[]) => void): () => void {
    this.eventListeners.add(listener);
    return () => this.eventListeners.delete(listener);
  }

  /** Connects anew at once, also when ready: the caller's rights may have changed. */
  start(): void {
    this.stop();
    this.pause = FIRST_PAUSE;
    this.follow();
  }

  stop(): void {
    clearTimeout(this.timer);
    this.connection?.close();
    this.connection = undefined;
    this.client.close();
  }

  private follow(): void {
    const connection = this.client.separate(() => {});
    this.connection = connection;
    this.isAnswered = false;
    connection
      .call(FOLLOW, {}, { onReply: (reply) => this.take(connection, reply), limit: FIRST_REPLY })
      // A service without `more` has answered for the last time; there is nothing to follow.
      .then(() => this.lose(connection, new ConnectionLost("disconnected")))
      .catch((error: unknown) => this.lose(connection, error));
  }

  private take(connection: Connection, reply: unknown): void {
    let told: ServiceEvent[];
    try {
      told = events(reply, "reply").events;
    } catch (error) {
      this.lose(connection, error);
      return;
    }
    if (!this.isAnswered) this.becomeReady();
    if (told.length > 0) for (const listener of this.eventListeners) listener(told);
  }

  private becomeReady(): void {
    this.isAnswered = true;
    this.pause = FIRST_PAUSE;
    this.lostAt = undefined;
    this.tell({ state: "ready", detail: "", generation: this.situation.generation + 1 });
  }

  private lose(connection: Connection, error: unknown): void {
    if (connection !== this.connection) return;
    this.connection = undefined; // closing it ends its call, which must not count as a loss again
    connection.close();
    if (this.situation.state === "ready") this.lostAt = Date.now();
    const state = this.orRestarting(stateOfError(error));
    // Connections have for all their life the rights that the session had when they were made.
    if (state === "denied") this.client.close();
    const generation = Math.max(this.situation.generation, 1);
    this.tell({ generation, state, detail: state === "failing" ? String(error) : "" });
    this.timer = setTimeout(() => this.follow(), this.pause);
    this.pause = Math.min(this.pause * 1.5, state === "restarting" ? 1_000 : LONGEST_PAUSE);
  }

  private orRestarting(state: State): State {
    const isRecent = this.lostAt !== undefined && Date.now() - this.lostAt < RESTART_TIME;
    return state === "absent" && isRecent ? "restarting" : state;
  }

  private tell(situation: Situation): void {
    const { state, detail, generation } = this.situation;
    if (state === situation.state && detail === situation.detail && generation === situation.generation) return;
    this.situation = situation;
    for (const listener of this.situationListeners) listener(situation);
  }
}
