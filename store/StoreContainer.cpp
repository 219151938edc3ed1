// SPDX-License-Identifier: Apache-2.0
#include "store/StoreContainer.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/foundation/TrustedFile.h"
#include "store/ADAlert.h"
#include "store/ADAlertBundle.h"
#include "store/ADAttribute.h"
#include "store/ADMailRecipient.h"
#include "store/ADPushRecipient.h"

namespace velto {
namespace {

constexpr const char* kStoreFile = "alertData.db";

template <typename Object>
bool declares(const ManagedObjectModel& model) {
  const EntityDescription* entity = model.entity(Object::kEntityName);
  return entity != nullptr &&
         std::equal(entity->attributes().begin(), entity->attributes().end(),
                    Object::kAttributes.begin(), Object::kAttributes.end(),
                    [](const AttributeDescription& declared, const EntityAttribute& expected) {
                      return declared.name == expected.name && declared.type == expected.type;
                    });
}

/// The entity classes reach attributes by position, so a model of another shape is no model.
bool isOurs(const ManagedObjectModel& model) {
  return model.entities().size() == 5 && declares<ADAlert>(model) &&
         declares<ADAlertBundle>(model) && declares<ADAttribute>(model) &&
         declares<ADMailRecipient>(model) && declares<ADPushRecipient>(model);
}

/// Whoever can write there can do with the store what they like. Judged by name, since closing the
/// file would end SQLite's locks on it.
void warnOfWriters(const std::string& path, Log& log) {
  if (const auto writers = writersElse(path)) {
    log.warning("The store is open to others: " + *writers);
  }
}

/// An existing directory keeps its owner and mode, and a failure shows when the store is opened.
void createIfMissing(const std::string& directory) {
  struct stat status {};
  if (stat(directory.c_str(), &status) == 0 || errno != ENOENT) {
    return;
  }
  if (mkdir(directory.c_str(), 0700) == 0 && chown(directory.c_str(), 0, 0) == 0) {
    // Opened to the group last, when the group is the right one.
    static_cast<void>(chmod(directory.c_str(), 0750));
  }
}

}  // namespace

StoreContainer::StoreContainer(std::string resourceDirectory, std::string directory,
                               const StoreServices& services)
    : resourceDirectory_(std::move(resourceDirectory)),
      directory_(std::move(directory)),
      services_(services) {}

std::shared_ptr<const ManagedObjectModel> StoreContainer::managedObjectModel() {
  std::call_once(modelOnce_, [this] {
    auto model = ManagedObjectModel::mergedModelFromDirectory(resourceDirectory_);
    if (model != nullptr && isOurs(*model)) {
      model_ = std::move(model);
    }
  });
  return model_;
}

std::shared_ptr<PersistentStoreCoordinator> StoreContainer::persistentStoreCoordinator() {
  std::call_once(coordinatorOnce_, [this] { openStore(); });
  return coordinator_;
}

StoreContainer::BundleKeys StoreContainer::enabledBundles(std::int64_t dataVersion) const {
  const MutexLock lock(mutex_);
  return dataVersion == enabledBundlesVersion_ ? enabledBundles_ : nullptr;
}

void StoreContainer::setEnabledBundles(std::int64_t dataVersion, BundleKeys keys) {
  const MutexLock lock(mutex_);
  enabledBundlesVersion_ = dataVersion;
  enabledBundles_ = std::move(keys);
}

void StoreContainer::noteFailedSave(const Error& error) noexcept {
  try {
    repeatedLines_.warning("A save has failed: " + error.localizedDescription());
  } catch (const std::bad_alloc&) {
    // The caller's thread may be that of other saves; their replies count for more than the line.
  }
}

void StoreContainer::openStore() {
  const auto model = managedObjectModel();
  if (model == nullptr) {
    fail("No model to generate a store from");
    return;
  }
  createIfMissing(directory_);
  auto coordinator = std::make_shared<PersistentStoreCoordinator>(model, services_.entries);
  if (services_.observer != nullptr) coordinator->setCommitObserver(*services_.observer);
  std::optional<Error> error;
  // In this order, since the opening tells best what is wrong with the directory itself.
  const auto notice = [this](std::string_view line) { services_.log.warning(line); };
  if (coordinator->addPersistentStore(storePath(), &error, notice) && isLasting(&error)) {
    coordinator_ = std::move(coordinator);
    warnOfWriters(directory_, services_.log);
    for (const char* suffix : {"", "-wal", "-shm"}) {
      warnOfWriters(storePath() + suffix, services_.log);
    }
  } else {
    fail(error ? error->localizedDescription() : "The store could not be opened");
  }
}

void StoreContainer::fail(std::string why) {
  services_.log.warning(why);
  const MutexLock lock(mutex_);
  problem_ = std::move(why);
}

std::string StoreContainer::storePath() const {
  return directory_ + "/" + kStoreFile;
}

std::optional<std::string> StoreContainer::problem() const {
  const MutexLock lock(mutex_);
  return problem_;
}

/// Makes the directory's name last, with which all that is in it would be lost: before anybody can
/// save. Also when the directory was there: the start that made it may have been stopped before it
/// came here.
bool StoreContainer::isLasting(ErrorSlot error) const {
  auto failure = services_.entries.sync(directory_ + "/..");
  if (failure) {
    replaceError(error, *std::move(failure));
    return false;
  }
  return true;
}

}  // namespace velto
