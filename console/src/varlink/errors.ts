// SPDX-License-Identifier: Apache-2.0

export type Parameters = Record<string, unknown>;

/** The service answered a call with an error of its interface, or of Varlink's. */
export class VarlinkError extends Error {
  override name = "VarlinkError";

  constructor(readonly error: string, readonly parameters: Parameters) {
    super(error);
  }

  /** The error's name without its interface. */
  get short(): string {
    return this.error.slice(this.error.lastIndexOf(".") + 1);
  }
}

/** Why a call has no answer. Whether it was carried out is not known, unless `isSent` is false. */
export type LossReason =
  /** There is no socket, or nobody behind it. */
  | "not-found"
  /** The socket does not let us in. */
  | "access-denied"
  /** The connection ended before the answer did. */
  | "disconnected"
  /** No answer within the time that the call was given. */
  | "timeout"
  /** What came is no answer. */
  | "bad-reply"
  /** We have hung up. */
  | "closed";

export class ConnectionLost extends Error {
  override name = "ConnectionLost";

  constructor(readonly reason: LossReason, detail = "") {
    super(detail ? `${reason}: ${detail}` : reason);
  }
}
