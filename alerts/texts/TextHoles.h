// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "platform/foundation/Log.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// Tells in the log what the readers of a bundle's texts find missing in them, once for each text:
/// the same alert comes again and again. Any thread.
class TextHoles {
 public:
  /// `log` outlives it.
  TextHoles(std::string bundlePath, Log& log) : bundlePath_(std::move(bundlePath)), log_(log) {}

  /// The text of this key in this language names an attribute that the alert does not have.
  void tellAttribute(const std::string& language, std::string_view key, std::string_view name);
  /// No language has a text of this key, so that `shown` stands there.
  void tellText(std::string_view key, bool hasLanguages, std::string_view shown);

 private:
  /// Whether it is the first time.
  bool isNew(std::string_view language, std::string_view key) VELTO_EXCLUDES(mutex_);

  const std::string bundlePath_;
  Log& log_;
  Mutex mutex_;
  /// Languages and keys; as many as the bundle has texts and kinds, since others are not told.
  std::set<std::string, std::less<>> told_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
