// SPDX-License-Identifier: Apache-2.0
#include "bundles/Common/Code/Words.h"

#include <set>

#include <gtest/gtest.h>

namespace velto {
namespace {

std::string_view languageFor(std::string_view localization) {
  return wordsForLocalization(localization).language;
}

TEST(Words, AreThoseOfTheLanguage) {
  std::set<std::string_view> names;
  for (const std::string_view language : {"en", "fr", "de", "zh", "ja", "no"}) {
    EXPECT_EQ(languageFor(language), language);
    names.insert(wordsForLocalization(language).senderName);
  }
  EXPECT_EQ(names.size(), 6U);
}

TEST(Words, AreThoseOfTheBestMatch) {
  EXPECT_EQ(languageFor("fr-CA"), "fr");
  EXPECT_EQ(languageFor("zh_CN"), "zh");
  EXPECT_EQ(languageFor("nb"), "no");
}

TEST(Words, AreEnglishForStrangers) {
  for (const std::string_view localization : {"", "it", "no such language", "x"}) {
    EXPECT_EQ(languageFor(localization), "en") << localization;
  }
}

}  // namespace
}  // namespace velto
