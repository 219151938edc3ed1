// SPDX-License-Identifier: Apache-2.0
// The way to the service: a stream of Cockpit's bridge to its socket.

import type { Channel } from "./varlink/connection.ts";
import type { LossReason } from "./varlink/errors.ts";

const SOCKET = "/run/velto/com.ulmora.velto.AlertsDaemon";

/** Trials and tests have the service elsewhere, and say so in the session storage. */
export function socketPath(): string {
  return window.sessionStorage.getItem("veltoSocket") ?? SOCKET;
}

function lossReason(problem: string | undefined): LossReason {
  switch (problem) {
    case "not-found":
    case "access-denied":
      return problem;
    default:
      return "disconnected";
  }
}

/** Goes over the administrator's bridge where there is one, else over the user's own. */
export function openChannel(): Channel {
  const stream = cockpit.channel({ payload: "stream", unix: socketPath(), binary: true, superuser: "try" });
  const channel: Channel = {
    send: (bytes) => stream.send(bytes),
    close: () => {
      channel.onMessage = () => {};
      channel.onClose = () => {};
      stream.close();
    },
    onMessage: () => {},
    onClose: () => {},
  };
  stream.addEventListener("message", (_event, data) => channel.onMessage(data));
  stream.addEventListener("close", (_event, options) => {
    channel.onClose(lossReason(options.problem), options.message ?? options.problem);
  });
  return channel;
}
