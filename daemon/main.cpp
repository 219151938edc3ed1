// SPDX-License-Identifier: Apache-2.0
// The alerts daemon.

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

#include <systemd/sd-daemon.h>

#include "daemon/AlertsDaemonListener.h"
#include "daemon/DaemonParts.h"
#include "daemon/StopSignal.h"
#include "platform/connection/RunLoop.h"
#include "platform/foundation/Paths.h"

int main(int argc, char** argv) {
  using namespace velto;
  if (argc > 1) {
    std::fprintf(stderr, "%s takes no arguments; see the README\n", argv[0]);
    return 2;
  }
  // A client or a child that hangs up must not end the daemon.
  std::signal(SIGPIPE, SIG_IGN);
  // Nor must a limit on the size of files: the write that meets it fails, as on a full disk.
  std::signal(SIGXFSZ, SIG_IGN);

  DaemonParts parts;
  RunLoop runLoop;
  runLoop.add(std::make_unique<StopSignal>(runLoop), Event::kInput);
  std::optional<Error> error;
  const auto listener =
      Listener::listenerWithServiceName(runLoop, parts.guests, VLAlertsXPCServiceName, &error);
  if (listener == nullptr) {
    std::fprintf(stderr, "alertsd: %s\n", error->localizedDescription().c_str());
    return 1;
  }

  // After the listener, which refuses to start beside another daemon.
  AlertsDaemonListener delegate(parts.services(), parts.listenerSeams());
  listener->setDelegate(&delegate);
  listener->resume();
  sd_notify(0, "READY=1");
  runLoop.run();
  return 0;
}
