// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <velto/alert_bundle.h>

#include "alerts/EmailFormatter.h"
#include "platform/foundation/Mutex.h"

namespace velto {

class Log;

/// A class that a bundle's code registered, and the bundle, which error texts name.
struct NativeFormatterClass {
  const velto_email_formatter_class* functions = nullptr;
  std::string bundle;
};

/// The classes that the code of bundles registered, by name. Synchronised itself: any thread.
class NativeClasses {
 public:
  using Formatters = std::map<std::string, NativeFormatterClass, std::less<>>;

  /// The classes of one bundle. Those of alerts and actions are known within the bundle only.
  struct OfBundle {
    Formatters formatters;
    std::map<std::string, const velto_alert_class*, std::less<>> alerts;  ///< by type
    const velto_alert_class* otherAlerts = nullptr;                       ///< those of no such type
    std::map<std::string, const velto_action_class*, std::less<>> actions;
  };

  /// `log` is told of text that is not UTF-8. It outlives the classes and their objects.
  explicit NativeClasses(Log& log) : log_(log) {}

  /// Whether there is a formatter class of this name.
  bool isTaken(std::string_view className) const;
  /// Makes the classes of a bundle known, all at once. The formatters' names are not taken.
  void add(const std::string& bundle, OfBundle classes);
  /// Null when the bundle has registered no such class.
  const velto_alert_class* alertClass(std::string_view bundle, std::string_view type) const;
  /// The class of alerts that nothing else takes.
  const velto_alert_class* defaultAlertClass(std::string_view bundle) const;
  const velto_action_class* actionClass(std::string_view bundle, std::string_view name) const;
  /// A new object of the class, or null when there is no such class or it makes no object.
  std::unique_ptr<EmailFormatter> makeEmailFormatter(std::string_view className) const;

 private:
  Log& log_;
  mutable Mutex mutex_;
  Formatters formatters_ VELTO_GUARDED_BY(mutex_);
  std::map<std::string, OfBundle, std::less<>> bundles_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
