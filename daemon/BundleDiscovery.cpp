// SPDX-License-Identifier: Apache-2.0
// The alerts directory and the store's bundle records.

#include <algorithm>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "alerts/Bundle.h"
#include "daemon/AlertsDaemonListener.h"
#include "platform/foundation/UTF8.h"
#include "platform/persistence/PersistenceErrors.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

constexpr std::string_view kDiscoveryErrorDomain = "VeltoAlertsDaemon";
constexpr int kUnreadableDirectoryCode = 99;
/// More than an administrator at work needs.
constexpr int kReloadAttempts = 10;

std::string displayName(const Bundle& bundle, const std::string& key) {
  const std::string* text = stringForKey(bundle.infoDictionary(), "CFBundleGetInfoString");
  return text == nullptr || text->empty() ? key : *text;
}

/// Has the events service watch with a new bundle. What is referred to outlives the client.
void startMonitoring(VLEDaemonClient& events, Log& log, const std::string& path,
                     const std::string& key) {
  events.loadMonitorBundleWithPath(path, [&events, &log, key](const std::optional<Error>& failure) {
    if (failure) {
      log.warning("Error Loading Alert Bundle: " + key);
      return;
    }
    events.enableMonitorBundleWithName(key, [&log, key](const std::optional<Error>& refusal) {
      if (refusal) {
        log.warning("Error Enabling Alert Bundle: " + key);
      }
    });
  });
}

/// The bundle at an entry of the directory; nothing, with a log line that says why, when the entry
/// is to be passed over. A name that is not UTF-8 would make a key that no client could be told.
std::optional<Bundle> openEntry(const std::string& path, const std::string& name, Log& log) {
  std::optional<Error> error;
  const bool isText = !invalidUTF8Offset(name);
  auto bundle = isText ? Bundle::bundleWithPath(path, &error) : std::nullopt;
  if (!bundle) {
    log.warning("Entry '" + withoutInvalidUTF8(name) + "' of the alerts directory passed over: " +
                (isText ? error->localizedDescription() : "its name is not UTF-8"));
  }
  return bundle;
}

/// Brings the record of one entry of the directory into line, and takes its key off the known ones.
void reconcile(ADAlertStore& store, std::vector<std::string>& known, const std::string& path,
               VLEDaemonClient& events, Log& log) {
  const std::filesystem::path entry = std::filesystem::path(path).filename();
  if (entry.string().find(".bundle") == std::string::npos) {
    return;
  }
  const auto bundle = openEntry(path, entry.string(), log);
  if (!bundle) {
    return;
  }
  const std::string key = entry.stem().string();
  const std::string name = displayName(*bundle, key);
  const auto found = std::find(known.begin(), known.end(), key);
  if (found != known.end()) {
    store.updateAlertBundle(key, name, nullptr);
    known.erase(found);
  } else {
    store.insertAlertBundle(key, name);
    startMonitoring(events, log, path, key);
  }
}

/// Deletes the record of a bundle that the directory does not hold, or holds broken. Its switches
/// go too, and should it come back it starts with new ones: people have to be told.
void forget(ADAlertStore& store, const std::string& key, Log& log) {
  store.deleteAlertBundle(key, nullptr);
  log.warning("Alert bundle '" + withoutInvalidUTF8(key) +
              "' cannot be opened any more: its settings are deleted");
}

}  // namespace

std::optional<Error> AlertsDaemonListener::loadAlertBundles() {
  return reconcileBundles(nullptr);
}

void AlertsDaemonListener::reload() noexcept try {
  services_.bundles.reload();
  std::optional<Error> error;
  std::optional<Error> saveError;
  // At the start nobody else changes records; now an administrator may, and then nothing of ours
  // has been saved.
  int attempts = kReloadAttempts;
  do {
    saveError.reset();
    error = reconcileBundles(&saveError);
  } while (saveError && saveError->domain == kPersistenceErrorDomain &&
           saveError->code == kConflictErrorCode && --attempts > 0);
  if (const auto& failure = error ? error : saveError) {
    services_.log.warning("Alert bundles could not be looked for again: " +
                          failure->localizedDescription());
  }
} catch (const std::exception& exception) {
  services_.log.warning(std::string("Alert bundles could not be looked for again: ") +
                        exception.what());
}

std::optional<Error> AlertsDaemonListener::reconcileBundles(ErrorSlot saveError) {
  const std::string& directory = seams_.alertsDirectory;
  std::optional<Error> error;
  const auto entries = seams_.fileManager.contentsOfDirectory(directory, &error);
  if (!entries) {
    return error ? error
                 : makeError(kDiscoveryErrorDomain, kUnreadableDirectoryCode,
                             "Unable to read alerts directory.");
  }
  ADAlertStore store(services_.stores);
  auto known = store.getAllAlertBundleNames(&error);
  for (const std::string& entry : *entries) {
    reconcile(store, known, (std::filesystem::path(directory) / entry).string(), seams_.events,
              services_.log);
  }
  for (const std::string& key : known) {
    forget(store, key, services_.log);
  }
  store.save(saveError);
  return error;
}

}  // namespace velto
