// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "alerts/AlertBundleErrors.h"
#include "alerts/EmailFormatter.h"
#include "alerts/VLAlert.h"
#include "alerts/VLAlertAction.h"
#include "platform/foundation/Error.h"

namespace velto {

class Clock;
class FileManager;
class Log;

/// The alert bundles of one directory: finds the bundle of an alert, loads bundles with code, and
/// knows the classes they registered, by name. A bundle is read when it is first asked for and
/// kept: what is changed on disk afterwards counts from the next start. One that could not be
/// opened is looked for again, at most once a second; code that could not be used is not tried
/// again.
/// Synchronised itself: any thread.
class AlertBundleRegistry {
 public:
  /// How long the program of a recovery action may take.
  static constexpr std::chrono::milliseconds kActionTimeLimit = std::chrono::minutes(1);

  /// For so long a bundle that could not be opened counts as missing.
  static constexpr double kMissingSeconds = 1;

  /// What is referred to outlives the registry.
  AlertBundleRegistry(std::string directory, const FileManager& fileManager, const Clock& clock,
                      Log& log, std::chrono::milliseconds actionTimeLimit = kActionTimeLimit);
  ~AlertBundleRegistry();
  AlertBundleRegistry(const AlertBundleRegistry&) = delete;
  AlertBundleRegistry& operator=(const AlertBundleRegistry&) = delete;

  /// See VLAlert::alertSubclass.
  std::unique_ptr<VLAlertSubclass> alertSubclass(const VLAlert& alert, ErrorSlot error);

  /// See VLAlertAction::alertActionWithClassName.
  std::unique_ptr<VLAlertAction> alertAction(const std::string& className, const VLAlert& alert,
                                             ErrorSlot error);

  /// Loads the code of the bundle "<name>.bundle" if it is not loaded yet, which makes its classes
  /// available by name. False, with a log line that says why, when there is no such bundle (once a
  /// minute at most), it has no code, or the code cannot be used (once).
  bool VLLoadAlertBundle(std::string_view name);

  /// A new object of the formatter class of this name, or null when no loaded bundle has one.
  std::unique_ptr<EmailFormatter> makeEmailFormatter(std::string_view className);

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace velto
