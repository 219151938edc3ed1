// The alerts directory and the store's bundle records.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "daemon/AlertsDaemonListener.h"
#include "platform/foundation/Bundle.h"
#include "platform/foundation/Paths.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

constexpr std::string_view kDiscoveryErrorDomain = "VeltoAlertsDaemon";
constexpr int kUnreadableDirectoryCode = 99;

std::string displayName(const Bundle& bundle, const std::string& key) {
  const std::string* text = stringForKey(bundle.infoDictionary(), "CFBundleGetInfoString");
  return text == nullptr || text->empty() ? key : *text;
}

/// Brings the record of one entry of the directory into line, and takes its key off the known ones.
void reconcile(ADAlertStore& store, std::vector<std::string>& known, const std::string& directory,
               const std::string& entry) {
  if (entry.find(".bundle") == std::string::npos) {
    return;
  }
  const auto bundle = Bundle::bundleWithPath(directory + "/" + entry);
  if (!bundle) {
    return;
  }
  const std::string key = std::filesystem::path(entry).stem().string();
  const std::string name = displayName(*bundle, key);
  const auto found = std::find(known.begin(), known.end(), key);
  if (found != known.end()) {
    store.updateAlertBundle(key, name, nullptr);
    known.erase(found);
  } else {
    store.insertAlertBundle(key, name);
  }
}

}  // namespace

std::optional<Error> AlertsDaemonListener::loadAlertBundles() {
  const std::string directory = rootedPath(VLAlertsDirectory);
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
    reconcile(store, known, directory, entry);
  }
  for (const std::string& key : known) {
    store.deleteAlertBundle(key, nullptr);
  }
  store.save(nullptr);
  return error;
}

}  // namespace velto
