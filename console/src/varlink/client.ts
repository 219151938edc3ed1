// SPDX-License-Identifier: Apache-2.0

import { Connection, type CallOptions, type Channel } from "./connection.ts";
import type { Parameters } from "./errors.ts";

/**
 * Calls over a few connections that are kept. The service carries out a connection's calls one after the
 * other, so a call goes where nothing waits, or over a connection more, up to `most`, and only then behind
 * another one. A call whose connection ends fails; the next one makes a new connection.
 */
export class Client {
  private connections: Connection[] = [];

  constructor(private readonly open: () => Channel, private readonly most = 4) {}

  call(method: string, parameters: Parameters = {}, options: CallOptions = {}): Promise<Parameters> {
    return this.connection().call(method, parameters, options);
  }

  /** A connection of the caller's own, for calls that go on; its answers hold up no others. */
  separate(onLost: ConstructorParameters<typeof Connection>[1]): Connection {
    return new Connection(this.open(), onLost);
  }

  close(): void {
    for (const connection of this.connections.splice(0)) connection.close();
  }

  private connection(): Connection {
    this.connections = this.connections.filter((one) => one.isOpen);
    const [least] = [...this.connections].sort((a, b) => a.load - b.load);
    if (least && (least.load === 0 || this.connections.length >= this.most)) return least;
    const made = new Connection(this.open());
    this.connections.push(made);
    return made;
  }
}
