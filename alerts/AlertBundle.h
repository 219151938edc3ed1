// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/Bundle.h"
#include "alerts/VLAlert.h"
#include "alerts/texts/BundleTexts.h"

namespace velto {

class FileManager;
class Log;

/// What an alert bundle says in data: its alert types (VLAlertTypes in Info.plist) and their texts
/// (Alerts.strings of each language). Read whole when it is made and constant from then on: any
/// thread.
class AlertBundle {
 public:
  /// Texts that cannot be read or understood are logged and count as missing.
  AlertBundle(std::string key, Bundle bundle, const FileManager& fileManager, Log& log);

  /// The name by which everybody knows the bundle.
  const std::string& key() const { return key_; }
  const Bundle& bundle() const { return bundle_; }

  bool declares(std::string_view type) const { return alertType(type) != nullptr; }

  /// The alert with what the data says of its type, be it declared or not; nothing of an alert
  /// without a type. The object shares `bundle`.
  static std::unique_ptr<VLAlertSubclass> makeAlert(std::shared_ptr<const AlertBundle> bundle,
                                                    const VLAlert& alert);

  /// What it says in its languages.
  const BundleTexts& texts() const { return texts_; }
  /// The bundle's name as people see it: its languages' own, else CFBundleGetInfoString, else the
  /// key.
  std::string name(std::string_view localization) const;
  /// The name of an alert type likewise; the type where the texts have no "<type>.name".
  std::string nameOfType(std::string_view type, std::string_view localization) const;
  /// What a recovery action does; its name where there is no "<action>.title".
  std::string titleOfAction(std::string_view action, std::string_view localization) const;

  std::vector<std::string> recoveryOptions(std::string_view type) const;

 private:
  /// The declaration of a type, or null.
  const PropertyList::Dictionary* alertType(std::string_view type) const;

  const std::string key_;
  const Bundle bundle_;
  const BundleTexts texts_;
};

}  // namespace velto
