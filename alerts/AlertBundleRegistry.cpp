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

bool hasCode(const AlertBundle& bundle) {
  return valueForKey(bundle.bundle().infoDictionary(), "CFBundleExecutable") != nullptr;
}

}  // namespace

struct OpenedBundle {
  explicit OpenedBundle(std::shared_ptr<const AlertBundle> read) : data(std::move(read)) {}

  const std::shared_ptr<const AlertBundle> data;

  // Set under the registry's loadLock_, once, before anybody is given the bundle to use; constant
  // from then on.
  bool isLoaded = false;  ///< or it has been tried
  std::optional<Error> notLoaded;
  std::shared_ptr<const NativeClasses::OfBundle> code;  ///< null without any
};

class AlertBundleRegistry::Implementation {
 public:
  Implementation(std::string directory, const FileManager& fileManager, const Clock& clock,
                 Log& log, std::chrono::milliseconds actionTimeLimit)
      : directory_(std::move(directory)),
        fileManager_(fileManager),
        clock_(clock),
        repeatedLines_(log, clock),
        actions_{repeatedLines_, actionTimeLimit} {}

  /// The bundle of an alert, ready for use: its code, if it has some, is loaded. Null with an error
  /// otherwise.
  BundleInUse bundleOf(const VLAlert& alert, ErrorSlot error);
  /// Nothing when the code is loaded, or why it is not, in a phrase.
  std::optional<Error> load(std::string_view name);
  /// The alert as an object of its class in the bundle, or null.
  std::unique_ptr<VLAlertSubclass> makeAlert(const OpenedBundle& bundle, const VLAlert& alert);
  void reload() VELTO_EXCLUDES(bundlesLock_, loadLock_);
  const NativeClasses& classes() const { return classes_; }
  const ActionContext& actions() const { return actions_; }

 private:
  /// The bundle of this name, or null.
  std::shared_ptr<OpenedBundle> alertBundle(std::string_view name) VELTO_EXCLUDES(bundlesLock_);
  std::optional<Error> loadCode(OpenedBundle& bundle) VELTO_EXCLUDES(loadLock_);
  void replaceCode(const std::string& name);
  bool isKnownMissing(std::string_view name) const VELTO_REQUIRES(bundlesLock_);
  void rememberMissing(std::string_view name) VELTO_REQUIRES(bundlesLock_);
  std::optional<Bundle> openBundle(const std::string& name) const;
  void logNotLoaded(std::string_view name, const Error& cause);

  const std::string directory_;
  const FileManager& fileManager_;
  const Clock& clock_;
  LimitedLog repeatedLines_;
  const ActionContext actions_;
  NativeClasses classes_{repeatedLines_};

  Mutex bundlesLock_;
  using Bundles = std::map<std::string, std::shared_ptr<OpenedBundle>, std::less<>>;
  Bundles bundles_ VELTO_GUARDED_BY(bundlesLock_);
  /// When a bundle was last looked for in vain.
  std::map<std::string, Date, std::less<>> missing_ VELTO_GUARDED_BY(bundlesLock_);

  /// Held while a bundle's code is loaded: who asks for it meanwhile waits for the outcome.
  Mutex loadLock_;
};

std::shared_ptr<OpenedBundle> AlertBundleRegistry::Implementation::alertBundle(
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
  auto opened = std::make_shared<OpenedBundle>(std::make_shared<const AlertBundle>(
      std::string(name), std::move(*bundle), fileManager_, repeatedLines_));
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
  return loadCode(*bundle);
}

std::optional<Error> AlertBundleRegistry::Implementation::loadCode(OpenedBundle& bundle) {
  MutexLock lock(loadLock_);
  if (!bundle.isLoaded) {
    const AlertBundle& data = *bundle.data;
    bundle.notLoaded = loadNativeBundle(data.bundle(), data.key(), classes_);
    if (bundle.notLoaded) {
      logNotLoaded(data.key(), *bundle.notLoaded);
    } else {
      bundle.code = classes_.ofBundle(data.key());
    }
    bundle.isLoaded = true;
  }
  return bundle.notLoaded;
}

void AlertBundleRegistry::Implementation::reload() {
  Bundles former;
  {
    MutexLock lock(bundlesLock_);
    former.swap(bundles_);
    missing_.clear();
  }
  for (const auto& [name, bundle] : former) {
    // Formatters are asked for by their own name, and not through their bundle, which would be
    // read anew then.
    if (classes_.ofBundle(name) != nullptr) replaceCode(name);
  }
}

void AlertBundleRegistry::Implementation::replaceCode(const std::string& name) {
  const auto bundle = alertBundle(name);
  if (bundle == nullptr || !hasCode(*bundle->data) || loadCode(*bundle)) {
    classes_.remove(name);
  }
}

void AlertBundleRegistry::Implementation::logNotLoaded(std::string_view name, const Error& cause) {
  repeatedLines_.warning("Alert bundle '" + std::string(name) +
                         "' not loaded: " + cause.localizedDescription());
}

BundleInUse AlertBundleRegistry::Implementation::bundleOf(const VLAlert& alert, ErrorSlot error) {
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
  if (const auto cause = hasCode(*bundle->data) ? loadCode(*bundle) : std::nullopt) {
    return fail(kCodeNotLoadedErrorCode, "Alert bundle '" + *alert.bundle + "' cannot be used: " +
                                             cause->localizedDescription() + ".");
  }
  return bundle;
}

std::unique_ptr<VLAlertSubclass> AlertBundleRegistry::Implementation::makeAlert(
    const OpenedBundle& bundle, const VLAlert& alert) {
  const NativeClasses::OfBundle* code = bundle.code.get();
  const auto* alertClass = code != nullptr && alert.type ? code->alertClass(*alert.type) : nullptr;
  const bool isDeclared = alert.type && bundle.data->declares(*alert.type);
  if (alertClass == nullptr && !isDeclared) {
    alertClass = code == nullptr ? nullptr : code->otherAlerts;
    if (alertClass == nullptr) {
      return nullptr;
    }
  }
  return alertClass == nullptr ? AlertBundle::makeAlert(bundle.data, alert)
                               : makeNativeAlert(*alertClass, bundle.data, alert, repeatedLines_);
}

AlertBundleRegistry::AlertBundleRegistry(std::string directory, const FileManager& fileManager,
                                         const Clock& clock, Log& log,
                                         std::chrono::milliseconds actionTimeLimit)
    : implementation_(std::make_unique<Implementation>(std::move(directory), fileManager, clock,
                                                       log, actionTimeLimit)) {}

AlertBundleRegistry::~AlertBundleRegistry() = default;

std::unique_ptr<VLAlertSubclass> AlertBundleRegistry::alertSubclass(const VLAlert& alert,
                                                                    ErrorSlot error,
                                                                    BundleInUse* inUse) {
  // What an alert lacks itself is told before what is wrong with its bundle.
  const bool lacksType = alert.bundle && !alert.type;
  const BundleInUse bundle = inUse != nullptr && *inUse != nullptr
                                 ? *inUse
                                 : implementation_->bundleOf(alert, lacksType ? nullptr : error);
  if (inUse != nullptr) *inUse = bundle;
  auto subclass = bundle == nullptr ? nullptr : implementation_->makeAlert(*bundle, alert);
  if (subclass == nullptr && lacksType) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kAlertWithoutTypeErrorCode,
                                "The alert of bundle '" + *alert.bundle + "' names no type."));
  } else if (subclass == nullptr && bundle != nullptr) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kNoSuchAlertTypeErrorCode,
                                "Alert bundle '" + bundle->data->key() + "' has no alert type '" +
                                    *alert.type + "'."));
  }
  return subclass;
}

std::unique_ptr<VLAlertAction> AlertBundleRegistry::alertAction(const std::string& className,
                                                                const VLAlert& alert,
                                                                ErrorSlot error) {
  const BundleInUse bundle = implementation_->bundleOf(alert, error);
  if (bundle == nullptr) {
    return nullptr;
  }
  const auto* const actionClass =
      bundle->code == nullptr ? nullptr : bundle->code->actionClass(className);
  if (actionClass == nullptr) {
    return makeDeclaredAction(bundle->data, className, alert, implementation_->actions(), error);
  }
  return makeNativeAction(*actionClass, bundle->data, className,
                          AlertBundle::makeAlert(bundle->data, alert), implementation_->actions(),
                          error);
}

void AlertBundleRegistry::reload() {
  implementation_->reload();
}

bool AlertBundleRegistry::VLLoadAlertBundle(std::string_view name) {
  return !implementation_->load(name);
}

std::unique_ptr<EmailFormatter> AlertBundleRegistry::makeEmailFormatter(
    std::string_view className) {
  return implementation_->classes().makeEmailFormatter(className);
}

}  // namespace velto
