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

  /// The alert, which has a type, with what the data says of that type, be it declared or not. The
  /// object shares `bundle`.
  static std::unique_ptr<VLAlertSubclass> makeAlert(std::shared_ptr<const AlertBundle> bundle,
                                                    const VLAlert& alert);

  /// The text under `key` in the bundle's language that suits `localization` best, or else in the
  /// development region's (CFBundleDevelopmentRegion, "en" unless given).
  std::optional<std::string> text(std::string_view key, std::string_view localization) const;

  std::vector<std::string> recoveryOptions(std::string_view type) const;

 private:
  /// The declaration of a type, or null.
  const PropertyList::Dictionary* alertType(std::string_view type) const;
  const std::string* textInLanguage(std::string_view key, const std::string& language) const;
  /// The bundle's language that suits a localization best, or "".
  std::string language(std::string_view localization) const;

  const std::string key_;
  const Bundle bundle_;
  const std::vector<std::string> localizations_;
  /// By localization; a language without readable texts has no entry.
  std::map<std::string, PropertyList::Dictionary> texts_;
  std::string developmentRegion_;

  /// What `language` has found out, which takes a while each time.
  mutable Mutex languagesLock_;
  mutable std::map<std::string, std::string, std::less<>> languages_
      VELTO_GUARDED_BY(languagesLock_);
};

}  // namespace velto
