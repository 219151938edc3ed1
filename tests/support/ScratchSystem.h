// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/AlertBundleRegistry.h"
#include "delivery/ADAlertMailer.h"
#include "delivery/ADAlertPusher.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Paths.h"
#include "platform/foundation/Shared.h"
#include "store/ADAlertStore.h"
#include "store/DefaultLanguages.h"
#include "store/StoreContainer.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeDeliveryJournal.h"
#include "tests/support/FakeLog.h"
#include "tests/support/FakePushProvider.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// A whole system in a temporary directory: an alerts directory, a place for the store, a mail
/// program that files what it gets, and a push provider that does. Its user prefers English unless
/// a test says otherwise. What the system shares is the Shared one of the process; so it is made
/// and dropped while no other thread runs.
class ScratchSystem {
 public:
  ScratchSystem();

  std::filesystem::path path(std::string_view rooted) const;
  std::filesystem::path bundlesDirectory() const { return path(VLAlertsDirectory); }

  /// A declarative bundle in the alerts directory. `info` is the text of its Info.plist.
  void addBundle(const std::string& entry, std::string_view info) const;
  /// The texts of a language of the bundle, as Alerts.strings holds them.
  void addTexts(const std::string& entry, const std::string& language,
                std::string_view strings) const;
  /// A shell script as a recovery action of the bundle, with the modes that the daemon accepts.
  void addAction(const std::string& entry, const std::string& name, std::string_view script) const;
  /// A shared object as the bundle's code, which its Info.plist names, with such modes too.
  void addCode(const std::string& entry, const std::filesystem::path& module) const;
  /// The bundle Disk, with the type AlmostFull in English and French.
  void addDiskBundle() const;
  /// Puts the bundle with the mail formatter, as it was built, into the alerts directory.
  void addCommonBundle() const;

  /// Replaces the mail program by a shell script. Its working directory is the system's root.
  void setMailProgram(std::string_view script) const;
  /// What the mail program got, in the order in which it was started.
  std::vector<std::string> mails() const;

  /// A new handle on the system's store.
  ADAlertStore store() { return ADAlertStore(container); }

  const TemporaryDirectory root;
  FakeLog log;
  FakeDeliveryJournal deliveries;
  FakeClock clock;
  const FileManager& fileManager = FileManager::system();
  std::vector<std::string> userLanguages = {"en"};
  AlertBundleRegistry bundles{bundlesDirectory().string(), fileManager, clock, log};
  DefaultLanguages languages{bundlesDirectory().string(), fileManager,
                             [this] { return userLanguages; }};
  const StoreServices storeServices = {.bundles = bundles,
                                       .languages = languages,
                                       .entries = DirectoryEntries::system(),
                                       .clock = clock,
                                       .log = log};
  StoreContainer container{resourceDirectory(), path(kStoreDirectory).string(), storeServices};
  FakePushProvider* provider = nullptr;  ///< the pusher's
  ADAlertPusher pusher;
  ADAlertMailer mailer;

 private:
  /// Takes from others the right to write the file and the folders down to it.
  void trust(const std::filesystem::path& file) const;

  const Shared<AlertBundleRegistry> sharedBundles_{bundles};
  const Shared<DefaultLanguages> sharedLanguages_{languages};
  const Shared<ADAlertPusher> sharedPusher_{pusher};
  const Shared<ADAlertMailer> sharedMailer_{mailer};
};

}  // namespace velto
