// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include <velto/alert_bundle.h>

#include "alerts/AlertBundle.h"
#include "alerts/VLAlert.h"
#include "alerts/native/NativeClasses.h"

// What is behind the handles that a bundle's code gets.

namespace velto {

/// Whom a text is for: the bundle's code is told one of the bundle's languages, and what it hands
/// back means the reader whom that was chosen for.
struct NativeReader {
  std::string language;  ///< as the code knows it
  std::string reader;    ///< as the daemon does

  std::string meantBy(std::string_view localization) const {
    return !language.empty() && localization == language ? reader : std::string(localization);
  }
};

/// A reader as the code of a bundle knows them.
inline NativeReader readerOf(const AlertBundle& bundle, std::string_view localization) {
  return {bundle.texts().languageFor(localization), std::string(localization)};
}

}  // namespace velto

struct velto_text {
  std::string utf8;
  velto::NativeReader reader;
};

struct velto_error {
  bool isSet = false;
  std::int64_t code = 0;
  /// Always UTF-8.
  std::string description;
};

struct velto_alert {
  const velto::VLAlertSubclass& alert;
  velto::NativeReader reader;
};

/// For the life of the classes.
struct velto_bundle {
  std::string name;
  velto::Log& log;
};

struct velto_names {
  std::vector<std::string> names;
};

/// Gathers the classes of one bundle while it registers them.
struct velto_registry {
  const velto::NativeClasses& known;  ///< whose names are taken
  std::string bundle;
  velto::NativeClasses::OfBundle classes;
  const velto_bundle& handle;
};

namespace velto {

/// The functions that the daemon offers to a bundle's code. None of them trusts its arguments to be
/// there; a call without them does nothing and fails. Any thread.
const velto_host& nativeHost();

/// Whether one of them ran out of memory on this thread since the last time, and what is to be
/// known of that from now on.
bool exchangeHasRunOutOfMemory(bool value);

/// Calls a function of a bundle's code. Throws std::bad_alloc afterwards when there was no memory
/// for what the code asked the daemon for. `call` itself does not throw. Calls may be nested.
template <typename Call>
auto callNative(const Call& call) {
  const bool before = exchangeHasRunOutOfMemory(false);
  const auto result = call();
  if (exchangeHasRunOutOfMemory(before)) throw std::bad_alloc();
  return result;
}

}  // namespace velto
