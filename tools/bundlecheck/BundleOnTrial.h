// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "alerts/AlertBundleRegistry.h"
#include "alerts/Bundle.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/Log.h"

namespace velto {

/// A bundle as the daemon would have it, without one: a copy of it, with its modes, in a directory
/// of alert bundles of its own, which goes with the object. Files are judged as if the daemon ran
/// as this user. One thread.
class BundleOnTrial {
 public:
  /// Nothing, with an error, when there is no bundle at `path` or it cannot be copied. `log`, which
  /// is told what the daemon would log, outlives it.
  static std::unique_ptr<BundleOnTrial> open(const std::string& path, Log& log, ErrorSlot error);
  ~BundleOnTrial();
  BundleOnTrial(const BundleOnTrial&) = delete;
  BundleOnTrial& operator=(const BundleOnTrial&) = delete;

  const std::string& path() const { return path_; }
  /// The bundle key.
  const std::string& key() const { return key_; }
  const Bundle& bundle() const { return *bundle_; }
  AlertBundleRegistry& registry() { return *registry_; }
  bool hasCode() const;

  /// What the daemon says, with the bundle's own path in place of the copy's.
  std::string shown(std::string_view text) const;

 private:
  /// Writes to another log what is `shown`.
  class ShownLog;

  BundleOnTrial(std::string path, std::string key, std::string directory, Log& log);

  const std::string path_;
  const std::string key_;
  const std::string directory_;
  const std::unique_ptr<ShownLog> log_;
  std::optional<Bundle> bundle_;
  std::unique_ptr<AlertBundleRegistry> registry_;
};

}  // namespace velto
