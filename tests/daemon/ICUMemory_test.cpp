// SPDX-License-Identifier: Apache-2.0
#include "daemon/ICUMemory.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace velto {
namespace {

bool hasMemory = true;
int refused = 0;

/// Before anything uses ICU.
const bool isSet = [] {
  keepMemoryForICU({.allocate = [](std::size_t size) noexcept -> void* {
                      if (hasMemory) return kSystemHeap.allocate(size);
                      ++refused;
                      return nullptr;
                    },
                    .reallocate = [](void* memory, std::size_t size) noexcept -> void* {
                      if (hasMemory) return kSystemHeap.reallocate(memory, size);
                      ++refused;
                      return nullptr;
                    },
                    .release = kSystemHeap.release});
  return true;
}();

std::string dateIn(const icu::Locale& locale) {
  const std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
      icu::DateFormat::kLong, icu::DateFormat::kFull, locale));
  if (format == nullptr) return "";
  icu::UnicodeString characters;
  format->format(1.7e12, characters);
  std::string text;
  characters.toUTF8String(text);
  return text;
}

TEST(ICUMemory, HasAReserveForDatesInAnyLanguage) {
  ASSERT_TRUE(isSet);
  constexpr const char* kLanguages[] = {"de", "en", "fr", "ja", "zh_Hant", "ar", "ru", "hi", "fi"};
  for (int round = 0; round < 20; ++round) {
    for (const char* language : kLanguages) {
      hasMemory = false;
      const std::string without = dateIn(icu::Locale(language));
      hasMemory = true;
      EXPECT_NE(without, "") << language;
      EXPECT_EQ(without, dateIn(icu::Locale(language)));
    }
  }
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace velto
