// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace velto {

/// One bundle's display name and delivery switches as administration tools exchange them.
struct AlertBundleSettings {
  std::optional<std::string> name;
  std::optional<bool> pushEnabled;
  std::optional<bool> mailEnabled;

  bool operator==(const AlertBundleSettings&) const = default;
};

}  // namespace velto
