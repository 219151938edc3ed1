// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertBundleRegistry.h"

#include <filesystem>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "alerts/AlertBundle.h"
#include "alerts/Bundle.h"
#include "alerts/DeclaredAction.h"
#include "alerts/native/NativeAction.h"
#include "alerts/native/NativeAlert.h"
#include "alerts/native/NativeBundle.h"
#include "alerts/native/NativeClasses.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/LimitedLog.h"
#include "platform/foundation/Mutex.h"
#include "platform/foundation/TrustedFile.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumMissing = 1000;

}  // namespace

class AlertBundleRegistry::Implementation {
 public:
  Implementation(std::string directory, const FileManager& fileManager, const Clock& clock,
                 Log& log, std::chrono::milliseconds actionTimeLimit)
      : directory_(std::move(directory)),
        fileManager_(fileManager),
        clock_(clock),
        repeatedLines_(log, clock),
        actions_{repeatedLines_, actionTimeLimit} {}

  /// The bundle of this name, or null.
  std::shared_ptr<const AlertBundle> alertBundle(std::string_view name)
      VELTO_EXCLUDES(bundlesLock_);
  /// The bundle of an alert, ready for use: its code, if it has some, is loaded. Null with an error
  /// otherwise.
  std::shared_ptr<const AlertBundle> bundleOf(const VLAlert& alert, ErrorSlot error);
  /// Nothing when the code is loaded, or why it is not, in a phrase.
  std::optional<Error> load(std::string_view name) VELTO_EXCLUDES(loadLock_);
  /// The alert as an object of its class in the bundle, or null.
  std::unique_ptr<VLAlertSubclass> makeAlert(std::shared_ptr<const AlertBundle> bundle,
                                             const VLAlert& alert);
  const NativeClasses& classes() const { return classes_; }
  const ActionContext& actions() const { return actions_; }

 private:
  bool isKnownMissing(std::string_view name) const VELTO_REQUIRES(bundlesLock_);
  void rememberMissing(std::string_view name) VELTO_REQUIRES(bundlesLock_);
  std::optional<Bundle> openBundle(const std::string& name) const;
  std::optional<Error> tryToLoad(const AlertBundle& bundle) VELTO_REQUIRES(loadLock_);
  void logNotLoaded(std::string_view name, const Error& cause);

  const std::string directory_;
  const FileManager& fileManager_;
  const Clock& clock_;
  LimitedLog repeatedLines_;
  const ActionContext actions_;
  NativeClasses classes_{repeatedLines_};

  Mutex bundlesLock_;
  std::map<std::string, std::shared_ptr<const AlertBundle>, std::less<>> bundles_
      VELTO_GUARDED_BY(bundlesLock_);
  /// When a bundle was last looked for in vain.
  std::map<std::string, Date, std::less<>> missing_ VELTO_GUARDED_BY(bundlesLock_);

  /// Held while a bundle's code is loaded: who asks for it meanwhile waits for the outcome.
  Mutex loadLock_;
  std::map<std::string, std::optional<Error>, std::less<>> outcomes_ VELTO_GUARDED_BY(loadLock_);
};

std::shared_ptr<const AlertBundle> AlertBundleRegistry::Implementation::alertBundle(
    std::string_view name) {
  MutexLock lock(bundlesLock_);
  const auto found = bundles_.find(name);
  if (found != bundles_.end()) {
    return found->second;
  }
  if (isKnownMissing(name)) {
    return nullptr;
  }
  auto bundle = openBundle(std::string(name));
  if (!bundle) {
    rememberMissing(name);
    return nullptr;
  }
  missing_.erase(std::string(name));
  auto opened = std::make_shared<const AlertBundle>(std::string(name), std::move(*bundle),
                                                    fileManager_, repeatedLines_);
  bundles_.emplace(name, opened);
  return opened;
}

bool AlertBundleRegistry::Implementation::isKnownMissing(std::string_view name) const {
  const auto found = missing_.find(name);
  return found != missing_.end() && isWithin(found->second, clock_.now(), kMissingSeconds);
}

void AlertBundleRegistry::Implementation::rememberMissing(std::string_view name) {
  if (missing_.size() >= kMaximumMissing) {
    missing_.clear();  // whoever asks for so many names must not make it grow
  }
  missing_.insert_or_assign(std::string(name), clock_.now());
}

/// "X.bundle", or any other entry that discovery knows under the same key.
std::optional<Bundle> AlertBundleRegistry::Implementation::openBundle(
    const std::string& name) const {
  if (!isFileName(name)) {
    return std::nullopt;
  }
  auto bundle = Bundle::bundleWithPath(directory_ + "/" + name + ".bundle", nullptr);
  if (bundle) {
    return bundle;
  }
  const auto entries = fileManager_.contentsOfDirectory(directory_, nullptr);
  for (const std::string& entry : entries.value_or(std::vector<std::string>())) {
    if (entry.find(".bundle") != std::string::npos && std::filesystem::path(entry).stem() == name &&
        (bundle = Bundle::bundleWithPath(directory_ + "/" + entry, nullptr))) {
      return bundle;
    }
  }
  return std::nullopt;
}

std::optional<Error> AlertBundleRegistry::Implementation::load(std::string_view name) {
  const auto bundle = alertBundle(name);
  if (bundle == nullptr) {
    auto error = makeError(kBundleErrorDomain, kBundleNotOpenedErrorCode,
                           "there is no such bundle in " + directory_);
    logNotLoaded(name, error);
    return error;
  }
  MutexLock lock(loadLock_);
  const auto found = outcomes_.find(name);
  if (found != outcomes_.end()) {
    return found->second;
  }
  return outcomes_.emplace(name, tryToLoad(*bundle)).first->second;
}

std::optional<Error> AlertBundleRegistry::Implementation::tryToLoad(const AlertBundle& bundle) {
  auto error = loadNativeBundle(bundle.bundle(), bundle.key(), classes_);
  if (error) {
    logNotLoaded(bundle.key(), *error);
  }
  return error;
}

void AlertBundleRegistry::Implementation::logNotLoaded(std::string_view name, const Error& cause) {
  repeatedLines_.warning("Alert bundle '" + std::string(name) +
                         "' not loaded: " + cause.localizedDescription());
}

std::shared_ptr<const AlertBundle> AlertBundleRegistry::Implementation::bundleOf(
    const VLAlert& alert, ErrorSlot error) {
  const auto fail = [error](int code, const std::string& description) {
    setIfEmpty(error, makeError(kBundleErrorDomain, code, description));
    return nullptr;
  };
  if (!alert.bundle) {
    return fail(kAlertWithoutBundleErrorCode, "The alert names no alert bundle.");
  }
  auto bundle = alertBundle(*alert.bundle);
  if (bundle == nullptr) {
    return fail(kBundleNotOpenedErrorCode, "Alert bundle '" + *alert.bundle +
                                               "' cannot be opened: no such bundle in " +
                                               directory_ + ".");
  }
  const bool hasCode =
      valueForKey(bundle->bundle().infoDictionary(), "CFBundleExecutable") != nullptr;
  if (const auto cause = hasCode ? load(*alert.bundle) : std::nullopt) {
    return fail(kCodeNotLoadedErrorCode, "Alert bundle '" + *alert.bundle + "' cannot be used: " +
                                             cause->localizedDescription() + ".");
  }
  return bundle;
}

std::unique_ptr<VLAlertSubclass> AlertBundleRegistry::Implementation::makeAlert(
    std::shared_ptr<const AlertBundle> bundle, const VLAlert& alert) {
  const auto* alertClass = alert.type ? classes_.alertClass(bundle->key(), *alert.type) : nullptr;
  const bool isDeclared = alert.type && bundle->declares(*alert.type);
  if (alertClass == nullptr && !isDeclared) {
    alertClass = classes_.defaultAlertClass(bundle->key());
    if (alertClass == nullptr) {
      return nullptr;
    }
  }
  auto declared = AlertBundle::makeAlert(std::move(bundle), alert);
  return alertClass == nullptr ? std::move(declared)
                               : makeNativeAlert(*alertClass, std::move(declared), repeatedLines_);
}

AlertBundleRegistry::AlertBundleRegistry(std::string directory, const FileManager& fileManager,
                                         const Clock& clock, Log& log,
                                         std::chrono::milliseconds actionTimeLimit)
    : implementation_(std::make_unique<Implementation>(std::move(directory), fileManager, clock,
                                                       log, actionTimeLimit)) {}

AlertBundleRegistry::~AlertBundleRegistry() = default;

std::unique_ptr<VLAlertSubclass> AlertBundleRegistry::alertSubclass(const VLAlert& alert,
                                                                    ErrorSlot error) {
  // What an alert lacks itself is told before what is wrong with its bundle.
  const bool lacksType = alert.bundle && !alert.type;
  const auto bundle = implementation_->bundleOf(alert, lacksType ? nullptr : error);
  auto subclass = bundle == nullptr ? nullptr : implementation_->makeAlert(bundle, alert);
  if (subclass == nullptr && lacksType) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kAlertWithoutTypeErrorCode,
                                "The alert of bundle '" + *alert.bundle + "' names no type."));
  } else if (subclass == nullptr && bundle != nullptr) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kNoSuchAlertTypeErrorCode,
                                "Alert bundle '" + bundle->key() + "' has no alert type '" +
                                    *alert.type + "'."));
  }
  return subclass;
}

std::unique_ptr<VLAlertAction> AlertBundleRegistry::alertAction(const std::string& className,
                                                                const VLAlert& alert,
                                                                ErrorSlot error) {
  const auto bundle = implementation_->bundleOf(alert, error);
  if (bundle == nullptr) {
    return nullptr;
  }
  const auto* const actionClass = implementation_->classes().actionClass(bundle->key(), className);
  if (actionClass == nullptr) {
    return makeDeclaredAction(bundle, className, alert, implementation_->actions(), error);
  }
  return makeNativeAction(*actionClass, bundle, className, AlertBundle::makeAlert(bundle, alert),
                          implementation_->actions(), error);
}

bool AlertBundleRegistry::VLLoadAlertBundle(std::string_view name) {
  return !implementation_->load(name);
}

std::unique_ptr<EmailFormatter> AlertBundleRegistry::makeEmailFormatter(
    std::string_view className) {
  return implementation_->classes().makeEmailFormatter(className);
}

}  // namespace velto
