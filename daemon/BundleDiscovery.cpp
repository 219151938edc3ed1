// SPDX-License-Identifier: Apache-2.0
// The alerts directory and the store's bundle records.

#include <algorithm>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "alerts/Bundle.h"
#include "alerts/InfoObjections.h"
#include "daemon/AlertsDaemonListener.h"
#include "platform/foundation/SingleLine.h"
#include "platform/foundation/UTF8.h"
#include "platform/persistence/PersistenceErrors.h"
#include "store/ADAlertStore.h"
#include "store/SettledChange.h"

namespace velto {
namespace {

constexpr std::string_view kDiscoveryErrorDomain = "VeltoAlertsDaemon";
constexpr int kUnreadableDirectoryCode = 99;
constexpr const char* kNotLookedFor = "Alert bundles could not be looked for again: ";

std::string displayName(const Bundle& bundle, const std::string& key) {
  const std::string* text = stringForKey(bundle.infoDictionary(), "CFBundleGetInfoString");
  return text == nullptr || text->empty() ? key : *text;
}

/// Has the events service watch with a new bundle. What is referred to outlives the client.
void startMonitoring(VLEDaemonClient& events, Log& log, const std::shared_ptr<LimitedLog>& dailyLog,
                     const std::string& path, const std::string& key) {
  events.loadMonitorBundleWithPath(
      path, [&events, &log, dailyLog, key](const std::optional<Error>& failure) {
        if (failure) {
          log.warning("Error Loading Alert Bundle: " + key);
          dailyLog->warning("Alerts work, but nothing monitors for their bundles: " +
                            failure->localizedDescription());
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
    return std::nullopt;
  }
  for (const std::string& objection : objectionsToInfo(bundle->infoDictionary())) {
    log.warning("Info.plist of '" + name + "': " + singleLine(objection));
  }
  return bundle;
}

/// A bundle in the alerts directory.
struct FoundBundle {
  std::string path;
  std::string key;
  std::string name;  ///< for people
};

/// The bundles among the entries of the directory.
std::vector<FoundBundle> openEntries(const std::string& directory,
                                     const std::vector<std::string>& entries, Log& log) {
  std::vector<FoundBundle> found;
  for (const std::string& entry : entries) {
    const std::string path = (std::filesystem::path(directory) / entry).string();
    const std::filesystem::path name = std::filesystem::path(path).filename();
    if (name.string().find(".bundle") == std::string::npos) continue;
    if (const auto bundle = openEntry(path, name.string(), log)) {
      const std::string key = name.stem().string();
      found.push_back({path, key, displayName(*bundle, key)});
    }
  }
  return found;
}

/// Brings the record of one bundle into line, and takes its key off the known ones. True when the
/// store did not know it.
bool reconcile(ADAlertStore& store, std::vector<std::string>& known, const FoundBundle& bundle) {
  const auto record = std::find(known.begin(), known.end(), bundle.key);
  if (record == known.end()) {
    store.insertAlertBundle(bundle.key, bundle.name);
    return true;
  }
  store.updateAlertBundle(bundle.key, bundle.name, nullptr);
  known.erase(record);
  return false;
}

/// What one pass over the records came to.
struct Reconciliation {
  std::optional<Error> readError;
  std::optional<Error> saveError;
  std::vector<FoundBundle> added;
  std::vector<std::string> forgotten;
};

/// Also deletes the records of bundles that the directory does not hold, or holds broken. Their
/// switches go too, and should one come back it starts with new ones: people have to be told.
Reconciliation reconcileAll(StoreContainer& stores, const std::vector<FoundBundle>& found) {
  Reconciliation result;
  ADAlertStore store(stores);
  result.forgotten = store.getAllAlertBundleNames(&result.readError);
  for (const FoundBundle& bundle : found) {
    if (reconcile(store, result.forgotten, bundle)) result.added.push_back(bundle);
  }
  for (const std::string& key : result.forgotten) {
    store.deleteAlertBundle(key, nullptr);
  }
  store.save(&result.saveError);
  return result;
}

/// At the start nobody else changes records. Later an administrator may, and then nothing of ours
/// has been saved.
Reconciliation reconcileUntilSaved(StoreContainer& stores, const std::vector<FoundBundle>& found) {
  Reconciliation result;
  static_cast<void>(settle(stores, [&] {
    result = reconcileAll(stores, found);
    return result.saveError;
  }));
  return result;
}

}  // namespace

std::optional<Error> AlertsDaemonListener::loadAlertBundles() {
  return discover(nullptr);
}

std::optional<Error> AlertsDaemonListener::discover(ErrorSlot saveError) {
  std::optional<Error> error;
  const auto entries = seams_.fileManager.contentsOfDirectory(seams_.alertsDirectory, &error);
  if (!entries) {
    return error ? error
                 : makeError(kDiscoveryErrorDomain, kUnreadableDirectoryCode,
                             "Unable to read alerts directory.");
  }
  const auto found = openEntries(seams_.alertsDirectory, *entries, services_.log);
  const auto result = reconcileUntilSaved(services_.stores, found);
  for (const FoundBundle& bundle : result.added) {
    startMonitoring(seams_.events, services_.log, dailyLog_, bundle.path, bundle.key);
  }
  for (const std::string& key : result.forgotten) {
    services_.log.warning("Alert bundle '" + withoutInvalidUTF8(key) +
                          "' cannot be opened any more: its settings are deleted");
  }
  if (result.saveError) setIfEmpty(saveError, *result.saveError);
  return result.readError;
}

void AlertsDaemonListener::reload() noexcept try {
  services_.bundles.reload();
  std::optional<Error> saveError;
  const auto readError = discover(&saveError);
  if (const auto& error = readError ? readError : saveError) {
    services_.log.warning(kNotLookedFor + error->localizedDescription());
  }
} catch (const std::exception& exception) {
  services_.log.warning(std::string(kNotLookedFor) + exception.what());
}

}  // namespace velto
