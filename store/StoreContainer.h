// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/LimitedLog.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Mutex.h"
#include "platform/persistence/ManagedObjectModel.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "platform/persistence/sqlite/DirectoryEntries.h"
#include "store/DefaultLanguages.h"

namespace velto {

/// What the store's handles work with. Every part may be used from any thread and outlives the
/// container that it is handed to.
struct StoreServices {
  AlertBundleRegistry& bundles;
  const DefaultLanguages& languages;
  const DirectoryEntries& entries;
  const Clock& clock;
  Log& log;
  CommitObserver* observer = nullptr;  ///< hears of the store's commits
};

/// The model and the coordinator that all store handles of a process share. Each is made on first
/// use, at most once; a failure is final until the process restarts. Any thread.
class StoreContainer {
 public:
  /// `resourceDirectory` has the model. `directory` is made when it is missing (its parent is not).
  /// Nothing is touched before the first use.
  StoreContainer(std::string resourceDirectory, std::string directory,
                 const StoreServices& services);

  /// The model, or null when there is no file of it, it is damaged, or it is not this program's.
  std::shared_ptr<const ManagedObjectModel> managedObjectModel();

  /// The coordinator with the store attached, or null when it could not be opened; the reason has
  /// then been logged.
  std::shared_ptr<PersistentStoreCoordinator> persistentStoreCoordinator();

  /// Why the store could not be opened, in a sentence; nothing when it could, and as long as nobody
  /// has asked for it.
  std::optional<std::string> problem() const;

  /// The path of the store's file, also where there is none.
  std::string storePath() const;

  /// The keys of the enabled bundles, which everybody may ask for as often as they like. They are
  /// kept until something is committed. Null when they are not known for this version of the data.
  using BundleKeys = std::shared_ptr<const std::vector<std::string>>;
  BundleKeys enabledBundles(std::int64_t dataVersion) const;
  void setEnabledBundles(std::int64_t dataVersion, BundleKeys keys);

  /// A save has failed; its caller may be told nothing. In the log once a minute, with a count.
  void noteFailedSave(const Error& error) noexcept;

  /// Whoever saves again after a conflict holds this one: see saveSettled.
  Mutex& secondAttempts() { return secondAttempts_; }
  /// How many hold it, or wait for it.
  std::atomic<int>& secondAttempters() { return secondAttempters_; }

  AlertBundleRegistry& bundles() const { return services_.bundles; }
  const DefaultLanguages& languages() const { return services_.languages; }
  const Clock& clock() const { return services_.clock; }
  Log& log() const { return services_.log; }

 private:
  void openStore();
  void fail(std::string why);
  bool isLasting(ErrorSlot error) const;

  const std::string resourceDirectory_;
  const std::string directory_;
  const StoreServices services_;
  std::once_flag modelOnce_;
  std::shared_ptr<const ManagedObjectModel> model_;
  std::once_flag coordinatorOnce_;
  std::shared_ptr<PersistentStoreCoordinator> coordinator_;
  LimitedLog repeatedLines_{services_.log, services_.clock};
  Mutex secondAttempts_;
  std::atomic<int> secondAttempters_ = 0;
  mutable Mutex mutex_;
  std::optional<std::string> problem_ VELTO_GUARDED_BY(mutex_);
  std::int64_t enabledBundlesVersion_ VELTO_GUARDED_BY(mutex_) = 0;
  BundleKeys enabledBundles_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
