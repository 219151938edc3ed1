// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "alerts/VLAlert.h"
#include "platform/foundation/Error.h"

namespace velto {

/// A recovery action of a bundle, for one alert. One thread at a time.
class VLAlertAction {
 public:
  virtual ~VLAlertAction() = default;

  /// The recovery action of this class of the alert's bundle. Null, with an error that names the
  /// bundle and the class, when the alert names no bundle, the bundle cannot be used, it has no
  /// such action, or the action's file cannot be trusted. Asks the Shared AlertBundleRegistry.
  static std::unique_ptr<VLAlertAction> alertActionWithClassName(const std::string& className,
                                                                 const VLAlert& alert,
                                                                 ErrorSlot error);

  /// What the action does, in the language that `localization` names; its class's name where the
  /// bundle has no text.
  virtual std::string title(std::string_view localization) const = 0;
  /// Whether the condition behind the alert has gone away. May take its time. False, with a line in
  /// the log, when that cannot be found out.
  virtual bool hasBeenResolved() = 0;
  /// Does what is to be done against the condition; true when it is done. May take its time. A
  /// failure has an error wherever the bundle gives one.
  virtual bool runWithLocalization(std::string_view localization, ErrorSlot error) = 0;
};

}  // namespace velto
