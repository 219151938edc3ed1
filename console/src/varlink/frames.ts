// SPDX-License-Identifier: Apache-2.0

/** A message that no honest service sends. */
export class FrameError extends Error {
  override name = "FrameError";
}

/**
 * Cuts a stream of bytes into messages, each ended by a NUL. The bytes of a message that is not whole
 * yet are kept as they came, in pieces, so that a long one costs its length and not its square.
 */
export class Frames {
  private pieces: Uint8Array[] = [];
  private kept = 0;
  private readonly decoder = new TextDecoder("utf-8", { fatal: true, ignoreBOM: true });

  constructor(private readonly longest = 256 * 1024 * 1024) {}

  /** Whether a message has begun and not ended. */
  get isWithin(): boolean {
    return this.kept > 0;
  }

  /** The messages that these bytes complete. */
  push(bytes: Uint8Array): string[] {
    const found: string[] = [];
    let start = 0;
    for (let end = bytes.indexOf(0); end >= 0; end = bytes.indexOf(0, start)) {
      this.keep(bytes.subarray(start, end));
      found.push(this.take());
      start = end + 1;
    }
    this.keep(bytes.slice(start));
    return found;
  }

  private keep(bytes: Uint8Array): void {
    if (bytes.length === 0) return;
    this.kept += bytes.length;
    if (this.kept > this.longest) throw new FrameError("the message is too long");
    this.pieces.push(bytes);
  }

  private take(): string {
    const whole = this.pieces.length === 1 ? this.pieces[0] : this.join();
    this.pieces = [];
    this.kept = 0;
    try {
      return this.decoder.decode(whole);
    } catch {
      throw new FrameError("the message is not UTF-8");
    }
  }

  private join(): Uint8Array {
    const whole = new Uint8Array(this.kept);
    let at = 0;
    for (const piece of this.pieces) {
      whole.set(piece, at);
      at += piece.length;
    }
    return whole;
  }
}

const encoder = new TextEncoder();

export function frame(message: unknown): Uint8Array {
  return encoder.encode(`${JSON.stringify(message)}\0`);
}
