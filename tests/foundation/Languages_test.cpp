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

}  // namespace
}  // namespace velto
