// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
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

/// Tells a file from every other, and from itself with another content. The default is no file's.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t modifiedSeconds = 0;
  std::int64_t modifiedNanoseconds = 0;
  bool operator==(const FileIdentity&) const = default;
};

/// The classes that the code of bundles registered, by name. Code stays in the process for good, so
/// whoever has a class may use it, also when other code has taken its place here. Synchronised
/// itself: any thread.
class NativeClasses {
 public:
  using Formatters = std::map<std::string, NativeFormatterClass, std::less<>>;

  /// The classes of one bundle. Those of alerts and actions are known within the bundle only.
  struct OfBundle {
    const velto_alert_class* alertClass(std::string_view type) const;
    const velto_action_class* actionClass(std::string_view name) const;

    FileIdentity code;  ///< what registered them
    Formatters formatters;
    std::map<std::string, const velto_alert_class*, std::less<>> alerts;  ///< by type
    const velto_alert_class* otherAlerts = nullptr;                       ///< those of no such type
    std::map<std::string, const velto_action_class*, std::less<>> actions;
  };

  /// `log` is told of text that is not UTF-8. It outlives the classes and their objects.
  explicit NativeClasses(Log& log);
  ~NativeClasses();
  NativeClasses(const NativeClasses&) = delete;
  NativeClasses& operator=(const NativeClasses&) = delete;

  /// Whether a bundle other than `bundle` has a formatter class of this name.
  bool isTaken(std::string_view className, std::string_view bundle) const;
  /// Makes the classes of a bundle known, all at once, in place of those that it had. The
  /// formatters' names are not taken by others.
  void add(const std::string& bundle, OfBundle classes);
  void remove(std::string_view bundle);
  /// What the bundle's code logs with. Stays as long as this.
  const velto_bundle& bundleNamed(const std::string& name);
  /// Null when the bundle has registered nothing.
  std::shared_ptr<const OfBundle> ofBundle(std::string_view bundle) const;
  /// A new object of the class, or null when there is no such class or it makes no object.
  std::unique_ptr<EmailFormatter> makeEmailFormatter(std::string_view className) const;

 private:
  void forget(std::string_view bundle) VELTO_REQUIRES(mutex_);

  Log& log_;
  mutable Mutex mutex_;
  Formatters formatters_ VELTO_GUARDED_BY(mutex_);
  std::map<std::string, std::shared_ptr<const OfBundle>, std::less<>> bundles_
      VELTO_GUARDED_BY(mutex_);
  /// By name. Code that a reload has replaced may still use its bundle's.
  std::map<std::string, std::unique_ptr<velto_bundle>, std::less<>> handles_
      VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
