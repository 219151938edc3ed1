// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/MessageStyles.h"

#include <unicode/decimfmt.h>
#include <unicode/parseerr.h>
#include <unicode/smpdtfmt.h>

#include "alerts/texts/ReaderFormats.h"

namespace velto {
namespace {

using icu::number::LocalizedNumberFormatter;
using icu::number::NumberFormatter;
using icu::number::Precision;

constexpr const char16_t* kSkeleton = u"::";

bool isSkeleton(const icu::UnicodeString& style) {
  return style.startsWith(icu::UnicodeString(kSkeleton));
}

/// More is no style, but may take long.
constexpr std::int32_t kMaximumStyle = 200;

/// Whether a skeleton has a number with an exponent, "scale/1E999999999", whose zeros ICU would all
/// write.
bool hasExponent(const icu::UnicodeString& skeleton) {
  for (std::int32_t index = 1; index < skeleton.length(); ++index) {
    const char16_t before = skeleton.charAt(index - 1);
    const char16_t here = skeleton.charAt(index);
    const bool isBehindDigit = (before >= u'0' && before <= u'9') || before == u'.';
    if (isBehindDigit && (here == u'E' || here == u'e')) return true;
  }
  return false;
}

/// What follows the colons.
icu::UnicodeString skeletonOf(const icu::UnicodeString& style) {
  return style.tempSubString(2);
}

std::optional<LocalizedNumberFormatter> numberPattern(const icu::UnicodeString& pattern,
                                                      const icu::Locale& locale,
                                                      UErrorCode& status) {
  const icu::DecimalFormat format(pattern, icu::DecimalFormatSymbols(locale, status), status);
  const LocalizedNumberFormatter* formatter = format.toNumberFormatter(status);
  return formatter == nullptr ? std::nullopt : std::optional(*formatter);
}

std::optional<icu::DateFormat::EStyle> namedDateStyle(const icu::UnicodeString& style) {
  if (style.isEmpty() || style == u"medium") return icu::DateFormat::kMedium;
  if (style == u"short") return icu::DateFormat::kShort;
  if (style == u"long") return icu::DateFormat::kLong;
  if (style == u"full") return icu::DateFormat::kFull;
  return std::nullopt;
}

icu::DateFormat* makeDateFormat(DateParts parts, const icu::UnicodeString& style,
                                const icu::Locale& locale, UErrorCode& status) {
  if (const auto named = namedDateStyle(style)) {
    return parts == DateParts::kDate ? icu::DateFormat::createDateInstance(*named, locale)
                                     : icu::DateFormat::createTimeInstance(*named, locale);
  }
  if (isSkeleton(style)) {
    return icu::DateFormat::createInstanceForSkeleton(skeletonOf(style), locale, status);
  }
  return new icu::SimpleDateFormat(style, locale, status);
}

}  // namespace

std::optional<LocalizedNumberFormatter> numberStyle(const icu::UnicodeString& style,
                                                    const icu::Locale& locale) {
  if (style.length() > kMaximumStyle) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  std::optional<LocalizedNumberFormatter> made;
  if (style.isEmpty()) {
    made = NumberFormatter::withLocale(locale).precision(Precision::maxFraction(3));
  } else if (style == u"integer") {
    made = NumberFormatter::withLocale(locale).precision(Precision::integer());
  } else if (style == u"percent") {
    made = NumberFormatter::withLocale(locale)
               .unit(icu::NoUnit::percent())
               .scale(icu::number::Scale::powerOfTen(2))
               .precision(Precision::integer());
  } else if (isSkeleton(style) && !hasExponent(style)) {
    UParseError where;
    made = NumberFormatter::forSkeleton(skeletonOf(style), where, status).locale(locale);
  } else if (!isSkeleton(style)) {
    made = numberPattern(style, locale, status);
  }
  if (U_SUCCESS(status) && made) made->copyErrorTo(status);
  throwIfOutOfMemory(status);
  return U_SUCCESS(status) ? made : std::nullopt;
}

std::unique_ptr<icu::DateFormat> dateStyle(DateParts parts, const icu::UnicodeString& style,
                                           const icu::Locale& locale) {
  if (style.length() > kMaximumStyle) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::DateFormat> format(makeDateFormat(parts, style, locale, status));
  throwIfOutOfMemory(status);
  return U_SUCCESS(status) ? std::move(format) : nullptr;
}

}  // namespace velto
