// SPDX-License-Identifier: Apache-2.0
// The alerts directory and the store's bundle records.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "alerts/Bundle.h"
#include "daemon/AlertsDaemonListener.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

constexpr std::string_view kDiscoveryErrorDomain = "VeltoAlertsDaemon";
constexpr int kUnreadableDirectoryCode = 99;

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

/// Brings the record of one entry of the directory into line, and takes its key off the known ones.
void reconcile(ADAlertStore& store, std::vector<std::string>& known, const std::string& path,
               VLEDaemonClient& events, Log& log) {
  const std::filesystem::path entry = std::filesystem::path(path).filename();
  if (entry.string().find(".bundle") == std::string::npos) {
    return;
  }
  const auto bundle = Bundle::bundleWithPath(path);
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

}  // namespace

std::optional<Error> AlertsDaemonListener::loadAlertBundles() {
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
    store.deleteAlertBundle(key, nullptr);
  }
  store.save(nullptr);
  return error;
}

}  // namespace velto
