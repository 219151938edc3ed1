// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/unistr.h>

namespace velto {

// The styles that an argument of a message pattern may have, "{size, number, ::.0}", in a locale.
// Nothing for one that ICU does not understand. Both throw std::bad_alloc. Any thread.

/// "" (at most three decimals), "integer", "percent" (0.5 is 50%), "::" and a skeleton, or a
/// pattern of digits ("#,##0.0").
std::optional<icu::number::LocalizedNumberFormatter> numberStyle(const icu::UnicodeString& style,
                                                                 const icu::Locale& locale);

/// The parts of a point in time that a pattern asks for.
enum class DateParts { kDate, kTime };

/// "" (medium), "short", "medium", "long", "full", "::" and a skeleton ("::yMMMd"), or a pattern of
/// letters.
std::unique_ptr<icu::DateFormat> dateStyle(DateParts parts, const icu::UnicodeString& style,
                                           const icu::Locale& locale);

}  // namespace velto
