#include "platform/foundation/AlertBundleRegistry.h"

#include <filesystem>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "platform/foundation/AlertBundle.h"
#include "platform/foundation/Bundle.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Mutex.h"
#include "platform/foundation/NativeBundle.h"
#include "platform/foundation/NativeClasses.h"
#include "platform/foundation/Paths.h"

namespace velto {

class AlertBundleRegistry::Implementation {
 public:
  Implementation(std::string directory, Log& log) : directory_(std::move(directory)), log_(log) {}

  /// The bundle of this name, or null.
  std::shared_ptr<const AlertBundle> alertBundle(std::string_view name)
      VELTO_EXCLUDES(bundlesLock_);
  bool load(std::string_view name) VELTO_EXCLUDES(loadLock_);
  const NativeClasses& classes() const { return classes_; }
  const std::string& directory() const { return directory_; }

 private:
  std::optional<Bundle> openBundle(const std::string& name) const;
  bool tryToLoad(const std::string& name) VELTO_REQUIRES(loadLock_);

  const std::string directory_;
  Log& log_;
  NativeClasses classes_;

  Mutex bundlesLock_;
  std::map<std::string, std::shared_ptr<const AlertBundle>, std::less<>> bundles_
      VELTO_GUARDED_BY(bundlesLock_);

  /// Held while a bundle's code is loaded: who asks for it meanwhile waits for the outcome.
  Mutex loadLock_;
  std::map<std::string, bool, std::less<>> outcomes_ VELTO_GUARDED_BY(loadLock_);
};

std::shared_ptr<const AlertBundle> AlertBundleRegistry::Implementation::alertBundle(
    std::string_view name) {
  MutexLock lock(bundlesLock_);
  const auto found = bundles_.find(name);
  if (found != bundles_.end()) {
    return found->second;
  }
  auto bundle = openBundle(std::string(name));
  if (!bundle) {
    return nullptr;
  }
  auto opened = std::make_shared<const AlertBundle>(std::move(*bundle), log_);
  bundles_.emplace(name, opened);
  return opened;
}

/// "X.bundle", or any other entry that discovery knows under the same key.
std::optional<Bundle> AlertBundleRegistry::Implementation::openBundle(
    const std::string& name) const {
  if (name.empty() || name.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
    return std::nullopt;
  }
  auto bundle = Bundle::bundleWithPath(directory_ + "/" + name + ".bundle");
  if (bundle) {
    return bundle;
  }
  const auto entries = FileManager::system().contentsOfDirectory(directory_, nullptr);
  for (const std::string& entry : entries.value_or(std::vector<std::string>())) {
    if (entry.find(".bundle") != std::string::npos && std::filesystem::path(entry).stem() == name &&
        (bundle = Bundle::bundleWithPath(directory_ + "/" + entry))) {
      return bundle;
    }
  }
  return std::nullopt;
}

bool AlertBundleRegistry::Implementation::load(std::string_view name) {
  MutexLock lock(loadLock_);
  const auto found = outcomes_.find(name);
  if (found != outcomes_.end()) {
    return found->second;
  }
  const bool isLoaded = tryToLoad(std::string(name));
  outcomes_.emplace(name, isLoaded);
  return isLoaded;
}

bool AlertBundleRegistry::Implementation::tryToLoad(const std::string& name) {
  std::string reason = "there is no such bundle in " + directory_;
  const auto bundle = alertBundle(name);
  if (bundle == nullptr || !loadNativeBundle(bundle->bundle(), name, classes_, reason)) {
    log_.warning("Alert bundle '" + name + "' not loaded: " + reason);
    return false;
  }
  return true;
}

AlertBundleRegistry& AlertBundleRegistry::shared() {
  static AlertBundleRegistry registry(rootedPath(VLAlertsDirectory), Log::system());
  return registry;
}

AlertBundleRegistry::AlertBundleRegistry(std::string directory, Log& log)
    : implementation_(std::make_unique<Implementation>(std::move(directory), log)) {}

AlertBundleRegistry::~AlertBundleRegistry() = default;

std::unique_ptr<VLAlertSubclass> AlertBundleRegistry::alertSubclass(const VLAlert& alert,
                                                                    ErrorSlot error) {
  const auto fail = [error](int code, const std::string& description) {
    setIfEmpty(error, makeError(kBundleErrorDomain, code, description));
    return nullptr;
  };
  if (!alert.bundle) {
    return fail(kAlertWithoutBundleErrorCode, "The alert names no alert bundle.");
  }
  const std::string bundleText = "Alert bundle '" + *alert.bundle + "'";
  if (!alert.type) {
    return fail(kAlertWithoutTypeErrorCode,
                "The alert of bundle '" + *alert.bundle + "' names no type.");
  }
  auto bundle = implementation_->alertBundle(*alert.bundle);
  if (bundle == nullptr) {
    return fail(kBundleNotOpenedErrorCode, bundleText + " cannot be opened: no such bundle in " +
                                               implementation_->directory() + ".");
  }
  auto result = AlertBundle::makeAlert(std::move(bundle), alert);
  if (result == nullptr) {
    return fail(kNoSuchAlertTypeErrorCode,
                bundleText + " has no alert type '" + *alert.type + "'.");
  }
  return result;
}

bool AlertBundleRegistry::VLLoadAlertBundle(std::string_view name) {
  return implementation_->load(name);
}

std::unique_ptr<EmailFormatter> AlertBundleRegistry::makeEmailFormatter(
    std::string_view className) {
  return implementation_->classes().makeEmailFormatter(className);
}

}  // namespace velto
