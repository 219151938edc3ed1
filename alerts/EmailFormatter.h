// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "alerts/VLAlert.h"
#include "platform/foundation/Error.h"

namespace velto {

/// The sender and the text of mail messages, supplied by a bundle. One thread at a time.
class EmailFormatter {
 public:
  virtual ~EmailFormatter() = default;

  /// The sender, such as `Alerts <alerts@host>`; absent or empty for a message without one.
  virtual std::optional<std::string> fromAddress(std::string_view localization) = 0;

  /// What follows the mailer's own header lines: further header lines, the empty line that ends the
  /// header, and the text, with "\n" line ends. Sets the error on failure.
  virtual std::optional<std::string> formatMessage(const VLAlertSubclass& alert,
                                                   std::string_view localization,
                                                   ErrorSlot error) = 0;
};

}  // namespace velto
