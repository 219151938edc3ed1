// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/ReaderFormats.h"

#include <cmath>
#include <cstddef>
#include <new>

#include <unicode/listformatter.h>
#include <unicode/unistr.h>

namespace velto {
namespace {

using icu::number::LocalizedNumberFormatter;

/// So many locales are kept.
constexpr std::size_t kMaximumLocales = 32;

std::string utf8(const icu::UnicodeString& text) {
  std::string bytes;
  text.toUTF8String(bytes);
  return bytes;
}

/// A number so large, or so near to nothing, that its zeros would only have to be counted.
bool isExtreme(double number) {
  const double size = std::fabs(number);
  return std::isfinite(size) && size != 0 && (size >= 1e15 || size < 1e-6);
}

}  // namespace

void throwIfOutOfMemory(UErrorCode status) {
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
}

bool hasCalendarYear(Date date) {
  constexpr double kFirst = -62167219200.0;  // the year 0000
  constexpr double kEnd = 253402300800.0;    // the year 10000
  const double seconds = std::floor(date.unixSeconds());
  return seconds >= kFirst && seconds < kEnd;
}

ReaderFormats::ReaderFormats(const std::string& locale)
    : locale_(locale.c_str()),
      words_(yesAndNoIn(locale_.getLanguage())),
      numbers_(icu::number::NumberFormatter::withLocale(locale_).precision(
          icu::number::Precision::unlimited())),
      extremeNumbers_(numbers_.notation(icu::number::Notation::scientific())) {}

std::shared_ptr<const ReaderFormats> ReaderFormats::forLocale(const std::string& locale) {
  static Mutex& mutex = *new Mutex;
  static auto& known = *new std::map<std::string, std::shared_ptr<const ReaderFormats>>;
  {
    const MutexLock lock(mutex);
    if (const auto found = known.find(locale); found != known.end()) return found->second;
  }
  auto made = std::make_shared<const ReaderFormats>(locale);
  const MutexLock lock(mutex);
  if (known.size() >= kMaximumLocales) known.clear();  // those in use stay with their users
  return known.emplace(locale, std::move(made)).first->second;
}

std::string ReaderFormats::number(const PropertyList& value) const {
  const double* real = value.real();
  return number(real != nullptr && isExtreme(*real) ? extremeNumbers_ : numbers_, value);
}

std::string ReaderFormats::number(const LocalizedNumberFormatter& format,
                                  const PropertyList& value) {
  UErrorCode status = U_ZERO_ERROR;
  icu::number::FormattedNumber number;
  if (value.integer() != nullptr) {
    number = format.formatInt(*value.integer(), status);
  } else if (value.unsignedInteger() != nullptr) {
    number = format.formatDecimal(std::to_string(*value.unsignedInteger()), status);
  } else if (value.real() != nullptr) {
    number = format.formatDouble(*value.real(), status);
  } else {
    return {};
  }
  const icu::UnicodeString text = number.toString(status);
  throwIfOutOfMemory(status);
  return utf8(text);
}

std::string ReaderFormats::date(Date date) const {
  if (!hasCalendarYear(date)) return {};
  const MutexLock lock(mutex_);
  if (dates_ == nullptr) {
    dates_.reset(icu::DateFormat::createDateTimeInstance(icu::DateFormat::kLong,
                                                         icu::DateFormat::kLong, locale_));
  }
  if (dates_ == nullptr) throw std::bad_alloc();
  icu::UnicodeString text;
  dates_->format(date.unixSeconds() * 1000, text);
  return utf8(text);
}

std::string ReaderFormats::list(const std::vector<std::string>& elements) const {
  std::vector<icu::UnicodeString> items;
  items.reserve(elements.size());
  for (const std::string& element : elements) {
    items.push_back(icu::UnicodeString::fromUTF8(element));
  }
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::ListFormatter> format(
      icu::ListFormatter::createInstance(locale_, status));
  icu::UnicodeString text;
  if (format != nullptr) {
    format->format(items.data(), static_cast<std::int32_t>(items.size()), text, status);
  }
  throwIfOutOfMemory(status);
  return utf8(text);
}

std::string ReaderFormats::pluralForm(double number, UPluralType type) const {
  const MutexLock lock(mutex_);
  auto& rules = plurals_[type];
  if (rules == nullptr) {
    UErrorCode status = U_ZERO_ERROR;
    rules.reset(icu::PluralRules::forLocale(locale_, type, status));
    throwIfOutOfMemory(status);
  }
  return rules == nullptr ? "other" : utf8(rules->select(number));
}

}  // namespace velto
