// SPDX-License-Identifier: Apache-2.0
// The interface between the alerts daemon and an alert bundle with code, for C++17 and later:
// nothing but what velto/alert_bundle.h says, with types. A class of an alert derives from
// AlertClass, one of a recovery action from ActionClass; VELTO_ALERT_BUNDLE exports them. An
// exception ends the function that it leaves, with a line in the log.
//
// Everything here is hidden, so that bundles with classes of the same name never meet. Give yours a
// namespace without a name, or compile with -fvisibility=hidden, as the flags of
// velto-alert-bundle.pc do.
#ifndef VELTO_ALERT_BUNDLE_HPP
#define VELTO_ALERT_BUNDLE_HPP

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <velto/alert_bundle.h>
#include <velto/alert_bundle_values.hpp>

#pragma GCC visibility push(hidden)
namespace velto::bundle {

/// What the bundle knows of the alerts of a type. One object serves all of them, on several threads
/// at once. What a class does not override, or answers with false, the bundle's data says.
class AlertClass {
 public:
  virtual ~AlertClass() = default;
  virtual bool subject(const Alert&, Text&) const { return false; }
  virtual bool message(const Alert&, Text&) const { return false; }
  /// The names of the recovery actions, in the order to offer them.
  virtual std::vector<std::string> recoveryOptions(const Alert&) const { return {}; }
};

/// Why something was not done. The error's domain is the bundle's key.
struct Failure {
  std::int64_t code = 1;
  std::string description;
};

/// A recovery action for one alert, used by one thread at a time. It runs in the daemon, which
/// cannot end it: what may take long, or hang, is better done by a program in Actions.
class ActionClass {
 public:
  virtual ~ActionClass() = default;
  /// Whether the condition behind the alert has gone away; nothing when that is not known.
  virtual std::optional<bool> hasBeenResolved(const Alert& alert) = 0;
  /// Does what is to be done; nothing when it is done.
  virtual std::optional<Failure> run(const Alert& alert, const char* language) = 0;
};

namespace detail {

/// Runs the bundle's own code; -1 when an exception left it.
template <typename Work>
int guarded(const char* what, const Work& work) noexcept {
  try {
    try {
      return work();
    } catch (const std::exception& exception) {
      log(std::string(what) + " failed: " + exception.what());
    }
  } catch (...) {
    host->bundle_log(self, what);  // an exception that is none of the library's, or no memory
  }
  return -1;
}

template <typename Class>
inline const Class alertClassObject;

template <typename Class>
int subject(const velto_alert* alert, const char* language, velto_text* text) noexcept {
  Text written(text, language);
  return guarded("subject",
                 [&] { return alertClassObject<Class>.subject(Alert(alert), written) ? 0 : -1; });
}

template <typename Class>
int message(const velto_alert* alert, const char* language, velto_text* text) noexcept {
  Text written(text, language);
  return guarded("message",
                 [&] { return alertClassObject<Class>.message(Alert(alert), written) ? 0 : -1; });
}

template <typename Class>
void recoveryOptions(const velto_alert* alert, velto_names* names) noexcept {
  guarded("recoveryOptions", [&] {
    for (const std::string& name : alertClassObject<Class>.recoveryOptions(Alert(alert))) {
      host->names_append(names, name.c_str());
    }
    return 0;
  });
}

/// What is not overridden is left to the data.
template <typename Class>
constexpr bool kHasOptions =
    !std::is_same_v<decltype(&Class::recoveryOptions), decltype(&AlertClass::recoveryOptions)>;

template <typename Class>
inline const velto_alert_class alertClassTable = {
    subject<Class>, message<Class>, kHasOptions<Class> ? recoveryOptions<Class> : nullptr};

template <typename Class>
void* create(const velto_alert* alert) noexcept {
  void* made = nullptr;
  guarded("the constructor", [&] {
    if constexpr (std::is_constructible_v<Class, const Alert&>) {
      made = static_cast<ActionClass*>(new Class(Alert(alert)));
    } else {
      made = static_cast<ActionClass*>(new Class);
    }
    return 0;
  });
  return made;
}

inline void destroy(void* action) noexcept {
  delete static_cast<ActionClass*>(action);
}

inline int hasBeenResolved(void* action, const velto_alert* alert) noexcept {
  return guarded("hasBeenResolved", [&] {
    const auto answer = static_cast<ActionClass*>(action)->hasBeenResolved(Alert(alert));
    return answer ? static_cast<int>(*answer) : -1;
  });
}

inline int run(void* action, const velto_alert* alert, const char* language,
               velto_error* error) noexcept {
  return guarded("run", [&] {
    const auto failure = static_cast<ActionClass*>(action)->run(Alert(alert), language);
    if (failure) host->error_set(error, failure->code, failure->description.c_str());
    return failure ? 1 : 0;
  });
}

template <typename Class>
inline const velto_action_class actionClassTable = {create<Class>, destroy, hasBeenResolved, run};

}  // namespace detail

/// Takes the bundle's classes while it registers them.
class Registry {
 public:
  explicit Registry(velto_registry* registry) : registry_(registry) {}

  /// The class of an alert type, or of all alerts that nothing else takes.
  template <typename Class>
  Registry& alert(const char* type) {
    return note(host->register_alert_class(registry_, type, &detail::alertClassTable<Class>));
  }
  template <typename Class>
  Registry& otherAlerts() {
    return note(host->register_default_alert_class(registry_, &detail::alertClassTable<Class>));
  }
  /// The class of a recovery action, which is made from the alert, or from nothing.
  template <typename Class>
  Registry& action(const char* name) {
    return note(host->register_action_class(registry_, name, &detail::actionClassTable<Class>));
  }

  /// Whether a name was taken, or no name.
  bool hasFailed() const { return hasFailed_; }

 private:
  Registry& note(int result) {
    hasFailed_ = hasFailed_ || result != 0;
    return *this;
  }

  velto_registry* registry_;
  bool hasFailed_ = false;
};

/// Calls `add` with a Registry to put the classes into. The result is the one of
/// velto_alert_bundle_register; not 0 either where the daemon is older than this header.
template <typename Add>
int registerClasses(const velto_host* daemon, velto_registry* registry, const Add& add) noexcept {
  if (!VELTO_HOST_HAS(daemon, bundle_log)) return 1;
  host = daemon;
  self = host->registry_bundle(registry);
  return detail::guarded("registration", [&] {
    Registry classes(registry);
    add(classes);
    return classes.hasFailed() ? 2 : 0;
  });
}

}  // namespace velto::bundle
#pragma GCC visibility pop

/// What a bundle exports, once in all of its sources. The block behind it puts the classes into the
/// Registry of that name:
///
///     VELTO_ALERT_BUNDLE(classes) { classes.alert<HighLoad>("HighLoad"); }
#define VELTO_ALERT_BUNDLE(classes)                                                     \
  static void veltoAddClasses(::velto::bundle::Registry& classes);                      \
  const std::uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;      \
  int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) { \
    return ::velto::bundle::registerClasses(daemon, registry, veltoAddClasses);         \
  }                                                                                     \
  static void veltoAddClasses(::velto::bundle::Registry& classes)

#endif
