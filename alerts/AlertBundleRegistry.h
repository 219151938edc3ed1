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

/// A bundle as it was read, with its code. Nobody changes it, so who has it is untouched by what
/// becomes of its files.
struct OpenedBundle;
using BundleInUse = std::shared_ptr<const OpenedBundle>;

/// The alert bundles of one directory: finds the bundle of an alert, loads bundles with code, and
/// knows the classes they registered, by name. A bundle is read when it is first asked for and
/// kept: what is changed on disk afterwards counts from the next `reload`. One that could not be
/// opened is looked for again, at most once a second; code that could not be used is not tried
/// again before that.
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

  /// See VLAlert::alertSubclass. Where `bundle` holds one, the alert's class is that bundle's;
  /// else it holds the one that was used from then on. So an alert keeps its bundle from its first
  /// class to its last.
  std::unique_ptr<VLAlertSubclass> alertSubclass(const VLAlert& alert, ErrorSlot error,
                                                 BundleInUse* bundle = nullptr);

  /// See VLAlertAction::alertActionWithClassName.
  std::unique_ptr<VLAlertAction> alertAction(const std::string& className, const VLAlert& alert,
                                             ErrorSlot error);

  /// Loads the code of the bundle "<name>.bundle" if it is not loaded yet, which makes its classes
  /// available by name. False, with a log line that says why, when there is no such bundle (once a
  /// minute at most), it has no code, or the code cannot be used (once).
  bool VLLoadAlertBundle(std::string_view name);

  /// Has every bundle read anew, when it is asked for next; code that was loaded is replaced at
  /// once where its file has changed, and its classes go where the bundle has gone. Objects of
  /// bundles read before go on as they are. One at a time.
  void reload();

  /// A new object of the formatter class of this name, or null when no loaded bundle has one.
  std::unique_ptr<EmailFormatter> makeEmailFormatter(std::string_view className);

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace velto
