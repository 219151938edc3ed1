// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/BundleNames.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/foundation/FileManager.h"
#include "platform/foundation/Paths.h"
#include "platform/foundation/RegularFile.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "tools/text/Joined.h"
#include "tools/text/Message.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumInfoSize = std::size_t{1} << 20;
constexpr std::string_view kSuffix = ".bundle";
constexpr std::string_view kBundleDomain = "VeltoFoundation";
constexpr std::string_view kStoreDomain = "VeltoAlertsStore";
constexpr std::int64_t kNoSuchType = 4;

InstalledBundle bundleAt(const std::string& path) {
  InstalledBundle bundle;
  const auto bytes =
      contentsOfRegularFile(path + "/Contents/Info.plist", kMaximumInfoSize, nullptr);
  const auto info =
      bytes ? PropertyListSerialization::propertyList(Data(std::string_view(*bytes)), nullptr)
            : std::nullopt;
  if (!info || info->dictionary() == nullptr) return bundle;
  if (const auto* title = stringForKey(*info->dictionary(), "CFBundleGetInfoString")) {
    bundle.title = *title;
  }
  bundle.hasCode = valueForKey(*info->dictionary(), "CFBundleExecutable") != nullptr;
  const PropertyList* types = valueForKey(*info->dictionary(), "VLAlertTypes");
  if (types != nullptr && types->dictionary() != nullptr) {
    for (const auto& [type, unused] : *types->dictionary()) {
      bundle.types.push_back(type);
    }
  }
  return bundle;
}

}  // namespace

std::map<std::string, InstalledBundle> installedBundles() {
  const std::string folder = rootedPath(VLAlertsDirectory);
  std::map<std::string, InstalledBundle> found;
  const auto entries = FileManager::system().contentsOfDirectory(folder, nullptr);
  for (std::string entry : entries.value_or(std::vector<std::string>())) {
    if (entry.size() <= kSuffix.size() || !entry.ends_with(kSuffix)) continue;
    InstalledBundle bundle = bundleAt(folder + "/" + entry);
    entry.resize(entry.size() - kSuffix.size());
    found.emplace(std::move(entry), std::move(bundle));
  }
  return found;
}

std::string withKey(const std::string& name, const std::optional<std::string>& key) {
  return !key || printable(*key) == name ? name : name + " (" + printable(*key) + ")";
}

std::string bundleMeant(Session& session, const std::string& name) {
  const auto installed = installedBundles();
  if (installed.contains(name)) return name;
  for (const auto& [key, unused] : installed) {
    if (session.bundleName(key) == name) return key;
  }
  return name;
}

std::string typeMeant(Session& session, const std::optional<std::string>& bundle,
                      const std::string& name) {
  std::optional<std::string> meant;
  for (const auto& [key, installed] : installedBundles()) {
    if (bundle && key != *bundle) continue;
    for (const std::string& type : installed.types) {
      if (type == name) return name;
      if (!meant && session.typeName(key, type) == name) meant = type;
    }
  }
  return meant.value_or(name);
}

std::vector<std::string> knownBundles(Session& session) {
  std::vector<std::string> names = required(session.client().getAlertBundleNames());
  for (const auto& [name, unused] : installedBundles()) {
    names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

namespace {

Failure noSuchBundle(const std::string& name, const std::vector<std::string>& names) {
  const std::string suggested = suggestion(name, names);
  return {.status = kExitFailed,
          .what = say("there is no bundle {}", printable(name)),
          .advice = suggested.empty() ? tr("see alertsctl bundles") : suggested};
}

}  // namespace

void warnOfUnknown(Session& session, const std::optional<std::string>& bundle,
                   const std::optional<std::string>& type) {
  const auto names = knownBundles(session);
  if (bundle && std::find(names.begin(), names.end(), *bundle) == names.end()) {
    session.warn(noSuchBundle(*bundle, names).line());
    return;
  }
  std::vector<std::string> types;
  bool isSure = true;
  for (const auto& [key, installed] : installedBundles()) {
    if (bundle && key != *bundle) continue;
    isSure = isSure && !installed.hasCode;  // which may have kinds that it does not declare
    types.insert(types.end(), installed.types.begin(), installed.types.end());
  }
  if (!type || std::find(types.begin(), types.end(), *type) != types.end()) return;
  const std::string meant = suggestion(*type, types);
  if (isSure || !meant.empty()) {
    session.warn(
        Failure{.what = say("there is no kind {}", printable(*type)), .advice = meant}.line());
  }
}

void requireBundle(Session& session, const std::string& name) {
  const auto names = knownBundles(session);
  if (std::find(names.begin(), names.end(), name) == names.end()) throw noSuchBundle(name, names);
}

Failure failureOfPosting(Session& session, const alerts::Error& error, const std::string& bundle) {
  Failure failure = failureOf(error);
  if (error.domain != kBundleDomain && error.domain != kStoreDomain) return failure;
  const auto bundles = installedBundles();
  const auto found = bundles.find(bundle);
  const auto names = knownBundles(session);
  if (std::find(names.begin(), names.end(), bundle) == names.end()) {
    Failure missing = noSuchBundle(bundle, names);
    missing.error = error;
    return missing;
  }
  if (error.domain == kBundleDomain && error.code == kNoSuchType && found != bundles.end()) {
    std::string types;
    for (const std::string& type : found->second.types) {
      appendItem(types, ", ", printable(type));
    }
    failure.advice = say("its kinds are {}", types);
  }
  return failure;
}

}  // namespace velto
