// SPDX-License-Identifier: Apache-2.0
// The alerts daemon.

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

#include <systemd/sd-daemon.h>

#include "daemon/AlertsDaemonListener.h"
#include "daemon/CommandLine.h"
#include "daemon/DaemonParts.h"
#include "daemon/FeedPacer.h"
#include "daemon/ICUMemory.h"
#include "daemon/ReloadSignal.h"
#include "daemon/StopSignal.h"
#include "daemon/Watchdog.h"
#include "platform/connection/RunLoop.h"
#include "platform/foundation/Paths.h"
#include "platform/foundation/SingleLine.h"

namespace velto {
namespace {

/// Tells the service manager that calls are served, and what is in the way of that if something is.
void tellReadiness(const StoreContainer& stores) {
  const auto problem = stores.problem();
  ::sd_notifyf(0, "READY=1\nSTATUS=%s",
               problem ? ("No store: " + singleLine(*problem)).c_str() : "Serving");
}

}  // namespace
}  // namespace velto

int main(int argc, char** argv) {
  using namespace velto;
  if (const auto status = answerArguments(argc, argv)) return *status;
  // A client or a child that hangs up must not end the daemon.
  std::signal(SIGPIPE, SIG_IGN);
  // Nor must a limit on the size of files: the write that meets it fails, as on a full disk.
  std::signal(SIGXFSZ, SIG_IGN);
  keepMemoryForICU();

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
  AlertsDaemonListener delegate(parts.services(), parts.watching(), parts.listenerSeams());
  listener->setDelegate(&delegate);
  runLoop.add(std::make_unique<ReloadSignal>([&delegate] { delegate.reload(); }), Event::kInput);
  runLoop.add(std::make_unique<FeedPacer>(parts.watch.feed), Event::kInput);
  listener->resume();
  if (auto watchdog = Watchdog::wanted()) runLoop.add(std::move(watchdog), Event::kInput);
  tellReadiness(parts.stores);
  runLoop.run();
  return 0;
}
