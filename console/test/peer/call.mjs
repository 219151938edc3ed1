// SPDX-License-Identifier: Apache-2.0

import { connect } from "node:net";

/** One call over a connection of its own: the reply's parameters. */
export function call(path, method, parameters) {
  return new Promise((resolve, reject) => {
    const socket = connect(path);
    const parts = [];
    socket.on("error", reject);
    socket.on("close", () => reject(new Error(`${method}: no answer`)));
    socket.on("data", (part) => {
      parts.push(part);
      if (part[part.length - 1] !== 0) return;
      const { parameters: reply, error } = JSON.parse(Buffer.concat(parts).subarray(0, -1).toString());
      if (error) reject(new Error(`${method}: ${error} ${JSON.stringify(reply)}`));
      else resolve(reply ?? {});
      socket.destroy();
    });
    socket.write(`${JSON.stringify({ method, parameters })}\0`);
  });
}
