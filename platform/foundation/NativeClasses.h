#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <velto/alert_bundle.h>

#include "platform/foundation/EmailFormatter.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// A class that a bundle's code registered, and the bundle, which error texts name.
struct NativeFormatterClass {
  const velto_email_formatter_class* functions = nullptr;
  std::string bundle;
};

/// The classes that the code of bundles registered, by name. Synchronised itself: any thread.
class NativeClasses {
 public:
  using Formatters = std::map<std::string, NativeFormatterClass, std::less<>>;

  bool isTaken(std::string_view className) const;
  /// Makes the classes of one bundle known, all at once. The names are not taken.
  void add(Formatters formatters);
  /// A new object of the class, or null when there is no such class or it gives no object.
  std::unique_ptr<EmailFormatter> makeEmailFormatter(std::string_view className) const;

 private:
  mutable Mutex mutex_;
  Formatters formatters_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
