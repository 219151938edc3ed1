// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <libintl.h>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace velto {

// The tool's own words, in the reader's language where there is a translation (tools/po). What
// stands in braces is replaced, as in fmt. Any thread, once `useLocale` has been called.

/// A text without anything to fill in.
inline std::string tr(const char* text) {
  return gettext(text);
}

/// Marks a text that is said later.
constexpr const char* trLater(const char* text) {
  return text;
}

template <typename... Values>
std::string say(const char* text, const Values&... values) {
  return fmt::format(fmt::runtime(gettext(text)), values...);
}

/// The form for a number, which is the first value.
template <typename... Values>
std::string sayCount(const char* one, const char* many, std::int64_t count,
                     const Values&... values) {
  const auto number = static_cast<unsigned long>(count < 0 ? -count : count);
  return fmt::format(fmt::runtime(ngettext(one, many, number)), count, values...);
}

/// Takes the locale of the environment, and the translations that are installed beside the program.
/// Called once, at the start.
void useLocale();

}  // namespace velto
