// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/plurrule.h>

#include "alerts/texts/YesAndNo.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Mutex.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// How the readers of one locale write numbers, dates, yes and no, and lists, in UTF-8. A locale
/// that ICU does not know is written as ICU's own. All throw std::bad_alloc when ICU has no memory.
/// Synchronised itself: any thread.
class ReaderFormats {
 public:
  /// `locale` is ICU's name of it ("de_AT").
  explicit ReaderFormats(const std::string& locale);

  /// The formats of a locale, which many texts share, since ICU takes a while to make them.
  static std::shared_ptr<const ReaderFormats> forLocale(const std::string& locale);

  const icu::Locale& locale() const { return locale_; }

  /// A whole or real number in the fewest digits that give the same number. Nothing for any other
  /// value.
  std::string number(const PropertyList& value) const;
  /// The same written as `format` says.
  static std::string number(const icu::number::LocalizedNumberFormatter& format,
                            const PropertyList& value);
  /// The day, the time and the zone, in the machine's time zone; nothing when the year has no four
  /// digits.
  std::string date(Date date) const;
  std::string_view yesOrNo(bool value) const { return value ? words_.yes : words_.no; }
  /// "a, b und c"
  std::string list(const std::vector<std::string>& elements) const;
  /// The keyword of the plural form for a number: "one", "few", "other".
  std::string pluralForm(double number, UPluralType type) const;

 private:
  const icu::Locale locale_;
  const YesAndNo words_;
  const icu::number::LocalizedNumberFormatter numbers_;
  const icu::number::LocalizedNumberFormatter extremeNumbers_;
  mutable Mutex mutex_;  // ICU makes no promise of dates for several threads
  /// Made when first needed.
  mutable std::unique_ptr<icu::DateFormat> dates_ VELTO_GUARDED_BY(mutex_);
  mutable std::map<UPluralType, std::unique_ptr<icu::PluralRules>> plurals_
      VELTO_GUARDED_BY(mutex_);
};

/// Throws std::bad_alloc when that is what the status says.
void throwIfOutOfMemory(UErrorCode status);

/// Whether the year of a date has four digits: what is beyond is no date that people mean.
bool hasCalendarYear(Date date);

}  // namespace velto
