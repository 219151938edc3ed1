// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/MessageArgument.h"

namespace velto {

MessageArgument argumentOf(const icu::MessagePattern& pattern, std::int32_t start) {
  MessageArgument argument;
  pattern.getSubstring(pattern.getPart(start + 1)).toUTF8String(argument.name);
  if (pattern.getPart(start).getArgType() != UMSGPAT_ARG_TYPE_SIMPLE) return argument;
  argument.format = pattern.getSubstring(pattern.getPart(start + 2));
  const auto& style = pattern.getPart(start + 3);
  if (style.getType() == UMSGPAT_PART_TYPE_ARG_STYLE) {
    argument.style = pattern.getSubstring(style).trim();
  }
  return argument;
}

std::optional<DateParts> datePartsNamed(const icu::UnicodeString& format) {
  if (format == u"date") return DateParts::kDate;
  if (format == u"time") return DateParts::kTime;
  return std::nullopt;
}

}  // namespace velto
