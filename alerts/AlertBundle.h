// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/Bundle.h"
#include "alerts/VLAlert.h"
#include "platform/foundation/Mutex.h"

namespace velto {

class FileManager;
class Log;

/// What an alert bundle says in data: its alert types (VLAlertTypes in Info.plist) and their texts
/// (Alerts.strings of each language). Read whole when it is made and constant from then on: any
/// thread.
class AlertBundle {
 public:
  /// Texts that cannot be read are logged and count as missing.
  AlertBundle(std::string key, Bundle bundle, const FileManager& fileManager, Log& log);

  /// The name by which everybody knows the bundle.
  const std::string& key() const { return key_; }
  const Bundle& bundle() const { return bundle_; }

  bool declares(std::string_view type) const { return alertType(type) != nullptr; }

  /// The alert with what the data says of its type, be it declared or not; nothing of an alert
  /// without a type. The object shares `bundle`.
  static std::unique_ptr<VLAlertSubclass> makeAlert(std::shared_ptr<const AlertBundle> bundle,
                                                    const VLAlert& alert);

  /// The text under `key` in the bundle's language that suits `localization` best, or else in that
  /// language without its region. What is not there, and any text for a reader whom no language
  /// suits, is in the development region's (CFBundleDevelopmentRegion, "en" unless given), or where
  /// the bundle does not carry that one, in English or else its first by name.
  std::optional<std::string> text(std::string_view key, std::string_view localization) const;

  std::vector<std::string> recoveryOptions(std::string_view type) const;

 private:
  using TextsInOrder = std::vector<const PropertyList::Dictionary*>;

  /// The declaration of a type, or null.
  const PropertyList::Dictionary* alertType(std::string_view type) const;
  /// The texts to look in for a reader, in their order.
  TextsInOrder textsFor(std::string_view localization) const;
  TextsInOrder findTextsFor(std::string_view localization) const;

  const std::string key_;
  const Bundle bundle_;
  /// The languages with texts that can be read, sorted.
  std::vector<std::string> languages_;
  /// By language.
  std::map<std::string, PropertyList::Dictionary> texts_;
  /// Whose texts those get whom no language suits; "" without any.
  std::string fallback_;

  /// What `findTextsFor` has found out by localization, which takes a while each time.
  mutable Mutex foundLock_;
  mutable std::map<std::string, TextsInOrder, std::less<>> found_ VELTO_GUARDED_BY(foundLock_);
};

}  // namespace velto
