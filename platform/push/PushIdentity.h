// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/Error.h"

namespace velto {

/// Where the push service is and how to show it who we are. A value; any thread may use its own
/// copy.
struct PushIdentity {
  std::string endpoint;  ///< https, without a query; a device's token follows behind a slash
  /// Absolute paths of PEM files.
  std::optional<std::string> certificate;
  std::optional<std::string> privateKey;
  std::optional<std::string> certificateAuthority;  ///< absent for the machine's authorities

  bool operator==(const PushIdentity&) const = default;

  /// Reads the property list at `path`, which nobody but root or the daemon's own user may read or
  /// write. Its paths are looked up as rootedPath() does. Nothing, with an error of the domain
  /// "UlmoraPushServiceProvider" that names the file, when it cannot be used.
  static std::shared_ptr<const PushIdentity> read(const std::string& path, ErrorSlot error);
};

}  // namespace velto
