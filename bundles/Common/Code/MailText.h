// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Date.h"

namespace velto {

/// What a message tells about an alert.
struct MailContent {
  std::string message;
  std::optional<std::string> bundle;  ///< by its name for people
  std::optional<std::string> type;    ///< likewise
  std::optional<Date> time;
};

/// The part of a machine's name that can stand in a mail address; "localhost" when none can.
std::string mailHost(std::string_view hostName);

/// The sender, `Alerts <alerts@HOST>`, with the name in the language.
std::string mailSender(std::string_view hostName, std::string_view localization);

/// The text: the alert's message and the labelled lines, which are left out where the alert says
/// nothing.
std::string mailBody(const MailContent& content, std::string_view localization);

/// The further header lines, the empty line, and the encoded text.
std::string mailText(const MailContent& content, std::string_view localization);

}  // namespace velto
