// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <unicode/messagepattern.h>
#include <unicode/unistr.h>

#include "alerts/texts/MessageStyles.h"

namespace velto {

/// An argument of a message pattern as it is written: "{name, format, style}".
struct MessageArgument {
  std::string name;
  icu::UnicodeString format;  ///< "number", "date", "time"; "" without one
  icu::UnicodeString style;   ///< less the blanks around it; "" without one
};

/// The argument that starts with the part `start` of a pattern. Any thread.
MessageArgument argumentOf(const icu::MessagePattern& pattern, std::int32_t start);

/// What the format "date" or "time" shows; nothing for any other.
std::optional<DateParts> datePartsNamed(const icu::UnicodeString& format);

}  // namespace velto
