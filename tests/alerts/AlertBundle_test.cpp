// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertBundle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileManager.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view kEntry = "Disk.bundle";

class AlertBundleTest : public testing::Test {
 protected:
  AlertBundleTest() {
    writeInfo("CFBundleDevelopmentRegion = fr;");
    writeStrings("en", "\"Full.subject\" = \"%{volume} is full\";");
    writeStrings("fr",
                 "\"Full.subject\" = \"%{volume} est plein\";"
                 "\"Full.message\" = \"Supprimez des fichiers de %{volume}.\";");
  }

  void writeInfo(const std::string& more) const {
    directory_.writeInfo(std::string(kEntry),
                         "{ VLAlertTypes = { Full = { RecoveryOptions = (Free, 3, (x), Grow); };"
                         " Odd = { RecoveryOptions = Free; }; Plain = {}; Wrong = text; }; " +
                             more + " }");
  }
  void writeStrings(const std::string& language, std::string_view text) const {
    directory_.writeStrings(std::string(kEntry), language, text);
  }

  std::unique_ptr<VLAlertSubclass> makeAlert(const VLAlert& alert) {
    auto bundle = Bundle::bundleWithPath(directory_.path() + "/" + std::string(kEntry), nullptr);
    EXPECT_TRUE(bundle.has_value());
    auto opened = std::make_shared<const AlertBundle>("Disk", std::move(*bundle),
                                                      FileManager::system(), log_);
    return alert.type && opened->declares(*alert.type) ? AlertBundle::makeAlert(opened, alert)
                                                       : nullptr;
  }
  std::unique_ptr<VLAlertSubclass> makeAlert(std::string type, std::string volume = "/home") {
    VLAlert alert;
    alert.type = std::move(type);
    alert.attributes = PropertyList::Dictionary{{"volume", std::move(volume)}};
    return makeAlert(alert);
  }

  AlertBundleDirectory directory_;
  FakeLog log_;
};

TEST_F(AlertBundleTest, GivesTheTextsOfTheLanguage) {
  const auto alert = makeAlert("Full");
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(alert->subject("en"), "/home is full");
  EXPECT_EQ(alert->subject("en-GB"), "/home is full");
  EXPECT_EQ(alert->subject("fr_CA"), "/home est plein");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(AlertBundleTest, TakesAMissingTextFromTheDevelopmentRegion) {
  EXPECT_EQ(makeAlert("Full")->message("en"), "Supprimez des fichiers de /home.");
}

TEST_F(AlertBundleTest, SpeaksTheDevelopmentRegionsLanguageToStrangers) {
  const auto alert = makeAlert("Full");
  for (const std::string localization : {"ja", "", "no such language", "../en"}) {
    EXPECT_EQ(alert->subject(localization), "/home est plein") << localization;
  }
}

TEST_F(AlertBundleTest, TakesEnglishForTheDevelopmentRegionUnlessOneIsGiven) {
  writeInfo("");
  EXPECT_EQ(makeAlert("Full")->subject("ja"), "/home is full");
}

TEST_F(AlertBundleTest, SpeaksEnglishWhereItLacksTheDevelopmentRegion) {
  writeStrings("de", "\"Full.subject\" = \"%{volume} ist voll\";");
  for (const std::string region :
       {"CFBundleDevelopmentRegion = ja;", "", "CFBundleDevelopmentRegion = (fr);"}) {
    writeInfo(region);
    EXPECT_EQ(makeAlert("Full")->subject("es"), "/home is full") << region;
  }
}

TEST_F(AlertBundleTest, SpeaksItsFirstLanguageWhereItLacksEnglishToo) {
  std::filesystem::remove_all(directory_.path() + "/Disk.bundle/Contents/Resources");
  writeInfo("CFBundleDevelopmentRegion = ja;");
  EXPECT_EQ(makeAlert("Full")->subject("es"), "Full");
  writeStrings("it", "\"Full.subject\" = \"%{volume} è pieno\";");
  writeStrings("de", "\"Full.subject\" = \"%{volume} ist voll\";");
  EXPECT_EQ(makeAlert("Full")->subject("es"), "/home ist voll");
}

TEST_F(AlertBundleTest, PassesOverALanguageWithoutReadableTexts) {
  writeStrings("fr", "( an, array )");
  EXPECT_EQ(makeAlert("Full")->subject("fr"), "/home is full");
  EXPECT_EQ(makeAlert("Full")->subject("es"), "/home is full");
}

TEST_F(AlertBundleTest, LooksForAMissingTextInTheLanguageOfTheRegion) {
  writeInfo("CFBundleDevelopmentRegion = en;");
  writeStrings("en",
               "\"Full.subject\" = \"%{volume} is full\"; \"Full.message\" = \"Delete files.\";"
               "\"Free.title\" = \"Free space\";");
  writeStrings("fr-CA", "\"Full.subject\" = \"%{volume} est rempli\";");
  const auto alert = makeAlert("Full");
  EXPECT_EQ(alert->subject("fr-CA"), "/home est rempli");
  EXPECT_EQ(alert->message("fr-CA"), "Supprimez des fichiers de /home.");
  EXPECT_EQ(alert->subject("fr"), "/home est plein");
  const AlertBundle bundle("Disk",
                           *Bundle::bundleWithPath(directory_.path() + "/Disk.bundle", nullptr),
                           FileManager::system(), log_);
  EXPECT_EQ(bundle.titleOfAction("Free", "fr-CA"), "Free space");
}

TEST_F(AlertBundleTest, DoesNotTakeARelatedLanguageForTheReaders) {
  writeStrings("ru", "\"Full.subject\" = \"%{volume} переполнен\";");
  EXPECT_EQ(makeAlert("Full")->subject("uk"), "/home est plein");
  EXPECT_EQ(makeAlert("Full")->subject("ru_RU.UTF-8"), "/home переполнен");
}

TEST_F(AlertBundleTest, SaysTheTypeWhereThereIsNoText) {
  const auto alert = makeAlert("Plain");
  EXPECT_EQ(alert->subject("en"), "Plain");
  EXPECT_EQ(alert->message("fr"), "Plain");
}

TEST_F(AlertBundleTest, NeedsNoAttributes) {
  VLAlert alert;
  alert.type = "Full";
  EXPECT_EQ(makeAlert(alert)->subject("en"), " is full");
}

TEST_F(AlertBundleTest, KeepsTheSubjectOnOneLine) {
  writeStrings("en", "\"Full.subject\" = \"%{volume}\"; \"Full.message\" = \"%{volume}\";");
  const auto alert = makeAlert("Full", "a\r\nBcc: b");
  EXPECT_EQ(alert->subject("en"), "a  Bcc: b");
  EXPECT_EQ(alert->message("en"), "a\r\nBcc: b");
}

TEST_F(AlertBundleTest, KnowsOnlyTheTypesItDeclares) {
  EXPECT_EQ(makeAlert("Unknown"), nullptr);
  EXPECT_EQ(makeAlert("Wrong"), nullptr);
  EXPECT_EQ(makeAlert(VLAlert()), nullptr);
}

TEST_F(AlertBundleTest, GivesTheRecoveryOptionsInOrder) {
  EXPECT_THAT(makeAlert("Full")->recoveryOptions(), ElementsAre("Free", "3", "Grow"));
  EXPECT_THAT(makeAlert("Plain")->recoveryOptions(), IsEmpty());
  EXPECT_THAT(makeAlert("Odd")->recoveryOptions(), IsEmpty());
}

TEST_F(AlertBundleTest, KeepsTheAlertAsItIs) {
  VLAlert alert;
  alert.identifier = "1";
  alert.type = "Full";
  alert.sentDate = Date(5);
  EXPECT_EQ(VLAlert::alertWithAlert(*makeAlert(alert)), alert);
}

TEST_F(AlertBundleTest, LogsTextsThatCannotBeRead) {
  writeStrings("en", "\"Full.subject\" = ");
  writeStrings("fr", "( an, array )");
  EXPECT_EQ(makeAlert("Full")->subject("en"), "Full");
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("/en.lproj/Alerts.strings not used: "),
                                        HasSubstr("/fr.lproj/Alerts.strings not used: "),
                                        HasSubstr("is missing: there are no texts")));
}

TEST_F(AlertBundleTest, DoesNotTouchTheDiskOnceItIsRead) {
  const auto alert = makeAlert("Full");
  writeStrings("en", "\"Full.subject\" = \"changed\";");
  EXPECT_EQ(alert->subject("en"), "/home is full");
}

}  // namespace
}  // namespace velto
