// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <velto/alert_bundle.h>

#include "alerts/VLAlert.h"
#include "alerts/native/NativeClasses.h"

// What is behind the handles that a bundle's code gets.

struct velto_text {
  std::string utf8;
};

struct velto_error {
  bool isSet = false;
  std::int64_t code = 0;
  /// Always UTF-8.
  std::string description;
};

struct velto_alert {
  const velto::VLAlertSubclass& alert;
};

struct velto_names {
  std::vector<std::string> names;
};

/// Gathers the classes of one bundle while it registers them.
struct velto_registry {
  const velto::NativeClasses& known;  ///< whose names are taken
  std::string bundle;
  velto::NativeClasses::OfBundle classes;
};

namespace velto {

/// The functions that the daemon offers to a bundle's code. None of them trusts its arguments to be
/// there; a call without them does nothing and fails. Any thread.
const velto_host& nativeHost();

}  // namespace velto
