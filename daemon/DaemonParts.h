// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "alerts/AlertBundleRegistry.h"
#include "daemon/AlertsDaemon.h"
#include "daemon/AlertsDaemonListener.h"
#include "daemon/AlertsMonitor.h"
#include "daemon/StoreWatch.h"
#include "delivery/ADAlertMailer.h"
#include "delivery/ADAlertPusher.h"
#include "delivery/DeliveryCounts.h"
#include "delivery/DeliveryJournal.h"
#include "platform/events/EventsServiceClient.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Languages.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Paths.h"
#include "platform/foundation/Shared.h"
#include "platform/identity/EntitledGuests.h"
#include "platform/identity/GuestTable.h"
#include "platform/persistence/sqlite/DirectoryEntries.h"
#include "platform/push/UlmoraPushServiceProvider.h"
#include "store/DefaultLanguages.h"
#include "store/StoreContainer.h"

namespace velto {

/// The parts of the running daemon, with the real system behind them, in the order in which they
/// are made: each is handed only what stands above it, and they go in the reverse order. Making
/// them opens nothing and starts no thread; that comes with the first use.
///
/// Made once, by `main`, before any other thread, and outlives the run loop's `run`.
struct DaemonParts {
  const FileManager& fileManager = FileManager::system();
  const DirectoryEntries& entries = DirectoryEntries::system();
  const Clock& clock = Clock::system();
  Log& log = Log::system();
  DeliveryJournal& deliveries = DeliveryJournal::system();

  // What administrators' tools are told.
  const Date startDate = clock.now();
  DeliveryCounts deliveryCounts{deliveries, clock};
  StoreWatch watch{};

  /// The listener writes it, and the rules of entitlement read it.
  GuestTable guests{};
  const std::string alertsDirectory = rootedPath(VLAlertsDirectory);
  EntitledGuests codeSigning{
      {rootedPath(kEntitlementDirectories[0]), rootedPath(kEntitlementDirectories[1])},
      guests,
      fileManager,
      clock,
      log,
      [this](const std::string& name) {
        std::error_code code;
        return std::filesystem::exists(alertsDirectory + "/" + name + ".bundle", code);
      }};

  AlertBundleRegistry bundles{alertsDirectory, fileManager, clock, log};
  DefaultLanguages languages{alertsDirectory, fileManager, preferredLanguages};
  StoreContainer stores{resourceDirectory(),
                        rootedPath(kStoreDirectory),
                        {.bundles = bundles,
                         .languages = languages,
                         .entries = entries,
                         .clock = clock,
                         .log = log,
                         .observer = &watch}};

  /// Sends what is still queued when it goes.
  ADAlertPusher pusher{bundles, clock, deliveryCounts, [this](const std::string& preference) {
                         return std::make_unique<UlmoraPushServiceProvider>(
                             preference, PushTimeLimits(), clock);
                       }};
  ADAlertMailer mailer{bundles, rootedPath(kMailProgram), log, clock, deliveryCounts};

  /// Answers what is under way when it goes, with lines in the log.
  EventsServiceClient events{rootedPath(kEventsServiceSocket)};

  // The doors go first, so that none leads to a part that has gone.
  const Shared<AlertBundleRegistry> sharedBundles{bundles};
  const Shared<DefaultLanguages> sharedLanguages{languages};
  const Shared<ADAlertPusher> sharedPusher{pusher};
  const Shared<ADAlertMailer> sharedMailer{mailer};
  const Shared<VLEDaemonClient> sharedEvents{events};

  AlertsDaemonServices services() {
    return {.stores = stores,
            .bundles = bundles,
            .pusher = pusher,
            .mailer = mailer,
            .clock = clock,
            .log = log};
  }
  AlertsMonitorServices watching() {
    return {.watch = watch, .deliveries = deliveryCounts, .startDate = startDate};
  }
  AlertsDaemonListenerSeams listenerSeams() {
    return {.codeSigning = codeSigning,
            .fileManager = fileManager,
            .alertsDirectory = alertsDirectory,
            .events = events};
  }
};

}  // namespace velto
