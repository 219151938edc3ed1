// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Languages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/foundation/ScopedEnvironment.h"

namespace velto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

class PreferredLanguagesTest : public testing::Test {
 protected:
  PreferredLanguagesTest() {
    for (const std::string name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
      environment_.set(name, std::nullopt);
    }
  }

  ScopedEnvironment environment_;
};

TEST_F(PreferredLanguagesTest, AreEnglishWithoutAnyVariable) {
  EXPECT_THAT(preferredLanguages(), ElementsAre("en"));
}

TEST_F(PreferredLanguagesTest, AreEnglishWhenOnlyThePosixLocaleIsNamed) {
  environment_.set("LANGUAGE", "");
  environment_.set("LC_ALL", "C.UTF-8");
  environment_.set("LC_MESSAGES", "POSIX");
  environment_.set("LANG", "C");
  EXPECT_THAT(preferredLanguages(), ElementsAre("en"));
}

TEST_F(PreferredLanguagesTest, ComeInGettextsOrderAndEachOnce) {
  environment_.set("LANG", "en_US.UTF-8");
  environment_.set("LC_MESSAGES", "ja_JP.eucJP");
  environment_.set("LC_ALL", "fr_FR@euro");
  environment_.set("LANGUAGE", "nb:nn::C:fr_FR");
  EXPECT_THAT(preferredLanguages(), ElementsAre("nb", "nn", "fr-FR", "ja-JP", "en-US"));
}

TEST_F(PreferredLanguagesTest, AreLanguageTags) {
  environment_.set("LANG", "de_AT.UTF-8@euro");
  EXPECT_THAT(preferredLanguages(), ElementsAre("de-AT"));
  environment_.set("LANG", "zh_TW.UTF-8");
  EXPECT_THAT(preferredLanguages(), ElementsAre("zh-TW"));
}

TEST_F(PreferredLanguagesTest, LeaveOutWhatIsNoLocaleName) {
  environment_.set("LANGUAGE", "../../etc:a b:de");
  EXPECT_THAT(preferredLanguages(), ElementsAre("de"));
}

TEST_F(PreferredLanguagesTest, SayTheScriptThatAModifierMeans) {
  environment_.set("LANG", "sr_RS.UTF-8@latin");
  EXPECT_THAT(preferredLanguages(), ElementsAre("sr-Latn-RS"));
}

TEST(CanonicalLocaleIdentifier, HasTheUsualSpelling) {
  EXPECT_EQ(canonicalLocaleIdentifier("EN-us"), "en_US");
  EXPECT_EQ(canonicalLocaleIdentifier("zh_hans_cn"), "zh_Hans_CN");
  EXPECT_EQ(canonicalLocaleIdentifier("fr"), "fr");
  EXPECT_EQ(canonicalLocaleIdentifier("no"), "no");
}

TEST(CanonicalLocaleIdentifier, ReplacesWithdrawnCodes) {
  EXPECT_EQ(canonicalLocaleIdentifier("iw"), "he");
}

TEST(CanonicalLocaleIdentifier, LeavesOtherTextAsItIs) {
  for (const std::string text : {"", "../etc", "en-", "a b", "-", "_"}) {
    EXPECT_EQ(canonicalLocaleIdentifier(text), text);
  }
  const std::string zeroByte("en\0fr", 5);
  EXPECT_EQ(canonicalLocaleIdentifier(zeroByte), zeroByte);
  const std::string endless(10000, 'e');
  EXPECT_EQ(canonicalLocaleIdentifier(endless), endless);
}

TEST(PreferredLocalizations, PreferTheExactMatch) {
  EXPECT_THAT(preferredLocalizationsFromArray({"en", "en-GB", "fr"}, {"en-GB"}),
              ElementsAre("en-GB"));
  EXPECT_THAT(preferredLocalizationsFromArray({"en", "fr"}, {"fr-CA"}), ElementsAre("fr"));
  EXPECT_THAT(preferredLocalizationsFromArray({"en", "zh-Hant", "zh-Hans"}, {"zh-TW"}),
              ElementsAre("zh-Hant"));
}

TEST(PreferredLocalizations, KnowNorwegianUnderBothCodes) {
  EXPECT_THAT(preferredLocalizationsFromArray({"en", "nb"}, {"no"}), ElementsAre("nb"));
  EXPECT_THAT(preferredLocalizationsFromArray({"en", "no"}, {"nb-NO"}), ElementsAre("no"));
}

TEST(PreferredLocalizations, KeepTheirOwnSpelling) {
  EXPECT_THAT(preferredLocalizationsFromArray({"EN", "zh_CN"}, {"zh-Hans"}), ElementsAre("zh_CN"));
  EXPECT_THAT(preferredLocalizationsFromArray({"zh_CN", "EN"}, {"en"}), ElementsAre("EN"));
}

TEST(PreferredLocalizations, FollowThePreferencesInTheirOrder) {
  EXPECT_THAT(
      preferredLocalizationsFromArray({"en", "de", "fr"}, {"it", "fr-CH", "de-CH", "fr", "en"}),
      ElementsAre("fr", "de", "en"));
}

TEST(PreferredLocalizations, FallBackToTheFirst) {
  EXPECT_THAT(preferredLocalizationsFromArray({"fr", "en"}, {"ja"}), ElementsAre("fr"));
  EXPECT_THAT(preferredLocalizationsFromArray({"fr", "en"}, {}), ElementsAre("fr"));
  EXPECT_THAT(preferredLocalizationsFromArray({"../x", "Base"}, {"de", "no such"}),
              ElementsAre("../x"));
  EXPECT_THAT(preferredLocalizationsFromArray({}, {"en"}), IsEmpty());
}

TEST(MatchingLocalizations, AreNoneWhenNothingSuits) {
  EXPECT_THAT(matchingLocalizations({"fr", "en"}, {"ja", "", "und"}), IsEmpty());
  EXPECT_THAT(matchingLocalizations({"..", "Base"}, {"en"}), IsEmpty());
  EXPECT_THAT(matchingLocalizations({"..", "en"}, {"en"}), ElementsAre("en"));
}

TEST(MatchingLocalizations, AreOfTheSameLanguage) {
  const std::vector<std::pair<std::string, std::string>> relatives = {
      {"uk", "ru"},       {"da", "no"}, {"da", "nb"}, {"nn", "nb"},  {"ca", "es"},
      {"br", "fr"},       {"eu", "es"}, {"be", "ru"}, {"gsw", "de"}, {"hr", "sr-Latn"},
      {"yue", "zh-Hant"}, {"af", "nl"}, {"ta", "en"}, {"und", "en"},
  };
  for (const auto& [reader, language] : relatives) {
    EXPECT_THAT(matchingLocalizations({language}, {reader}), IsEmpty()) << reader;
  }
  EXPECT_THAT(matchingLocalizations({"ru", "uk"}, {"uk-UA"}), ElementsAre("uk"));
}

TEST(MatchingLocalizations, AreTheSameLanguageUnderAnotherCode) {
  for (const auto& [reader, language] : std::vector<std::pair<std::string, std::string>>{
           {"no", "nb"}, {"nb", "no"}, {"iw", "he"}, {"tl", "fil"}, {"sh", "sr-Latn"}}) {
    EXPECT_THAT(matchingLocalizations({"en", language}, {reader}), ElementsAre(language));
  }
}

TEST(MatchingLocalizations, KeepChinesesScriptsApartWhereBothAreThere) {
  const Names all = {"en", "zh", "zh-Hant"};
  for (const std::string reader : {"zh-TW", "zh-Hant", "zh_HK", "zh_TW.UTF-8", "zh-Hant-MO"}) {
    EXPECT_THAT(matchingLocalizations(all, {reader}), ElementsAre("zh-Hant")) << reader;
    EXPECT_THAT(matchingLocalizations({"en", "zh"}, {reader}), ElementsAre("zh")) << reader;
  }
  for (const std::string reader : {"zh", "zh-CN", "zh-Hans", "zh_SG.UTF-8"}) {
    EXPECT_THAT(matchingLocalizations(all, {reader}), ElementsAre("zh")) << reader;
  }
  EXPECT_THAT(matchingLocalizations({"zh-Hant", "zh-TW"}, {"zh-TW"}), ElementsAre("zh-TW"));
}

TEST(MatchingLocalizations, ReadPosixNames) {
  const Names all = {"de", "en", "sr", "sr-Latn"};
  for (const std::string reader : {"de_DE.UTF-8", "de_DE@euro", "de_AT.ISO-8859-1@euro"}) {
    EXPECT_THAT(matchingLocalizations(all, {reader}), ElementsAre("de")) << reader;
  }
  EXPECT_THAT(matchingLocalizations(all, {"sr_RS.UTF-8@latin"}), ElementsAre("sr-Latn"));
  EXPECT_THAT(matchingLocalizations(all, {"sr_RS@other"}), ElementsAre("sr"));
  EXPECT_THAT(matchingLocalizations(all, {"C.UTF-8", "C", "POSIX", ".UTF-8", "@euro"}), IsEmpty());
}

TEST(LocalizationsForReader, GoFromTheRegionToTheLanguage) {
  EXPECT_THAT(localizationsForReader({"en", "fr", "fr-BE", "fr-CA"}, "fr_CA.UTF-8"),
              ElementsAre("fr-CA", "fr"));
  EXPECT_THAT(localizationsForReader({"en", "en-AU", "en-GB"}, "en-GB"),
              ElementsAre("en-GB", "en"));
  EXPECT_THAT(localizationsForReader({"zh", "zh-Hant", "zh-TW"}, "zh-TW"),
              ElementsAre("zh-TW", "zh-Hant", "zh"));
  EXPECT_THAT(localizationsForReader({"en", "no"}, "nb-NO"), ElementsAre("no"));
  EXPECT_THAT(localizationsForReader({"en", "fr"}, "de"), IsEmpty());
  EXPECT_THAT(localizationsForReader({"en", "fr"}, ""), IsEmpty());
  EXPECT_THAT(localizationsForReader({"en", "fr"}, "und"), IsEmpty());
}

}  // namespace
}  // namespace velto
