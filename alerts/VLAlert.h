// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/Date.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

class VLAlertSubclass;

/// The alert as clients and bundles exchange it. Everything may be absent, and an absent value is
/// not an empty one. A value; any thread may use its own copy.
struct VLAlert {
  std::optional<std::string> identifier;
  std::optional<std::string> type;
  std::optional<std::string> bundle;
  std::optional<Date> creationDate;
  std::optional<Date> sentDate;
  std::optional<Date> readDate;
  std::optional<Date> resolvedDate;
  std::optional<PropertyList::Dictionary> attributes;

  /// This alert as an object of its bundle's own class, the class that knows the alert's texts.
  /// Null, with an error that names the bundle and the type, when the alert names no bundle, the
  /// bundle cannot be used, or it has no such type. Asks the Shared AlertBundleRegistry.
  std::unique_ptr<VLAlertSubclass> alertSubclass(ErrorSlot error) const;

  /// The plain alert behind a bundle-class object.
  static VLAlert alertWithAlert(const VLAlertSubclass& alert);

  bool operator==(const VLAlert&) const = default;
};

/// An alert as an object of its bundle's own class. One thread at a time.
class VLAlertSubclass {
 public:
  explicit VLAlertSubclass(VLAlert alert) : alert_(std::move(alert)) {}
  virtual ~VLAlertSubclass() = default;

  const VLAlert& alert() const { return alert_; }

  /// One line that says what happened, in the language that `localization` ("en", "fr") names.
  virtual std::optional<std::string> subject(std::string_view localization) const = 0;
  /// The whole text for people, likewise.
  virtual std::optional<std::string> message(std::string_view localization) const = 0;
  /// The names of the alert's bundle and of its type as people see them, likewise. Absent where
  /// they have none but their keys.
  virtual std::optional<std::string> bundleName(std::string_view /*localization*/) const {
    return std::nullopt;
  }
  virtual std::optional<std::string> typeName(std::string_view /*localization*/) const {
    return std::nullopt;
  }
  /// The names of the alert's recovery actions, in the order to offer them.
  virtual std::vector<std::string> recoveryOptions() const = 0;
  /// Whether any alert of this bundle and type may have recovery actions.
  virtual bool mayHaveRecoveryOptions() const { return !recoveryOptions().empty(); }

 private:
  VLAlert alert_;
};

}  // namespace velto
