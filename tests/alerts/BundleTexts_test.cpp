// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/BundleTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundle.h"
#include "platform/foundation/FileManager.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class BundleTextsTest : public testing::Test {
 protected:
  void write(const std::string& language, std::string_view text) const {
    directory_.writeStrings("Disk.bundle", language, text);
  }

  /// The bundle as it is on disk now, with an Info.plist that holds this.
  std::unique_ptr<AlertBundle> open(const std::string& info = "VLTextFormat = icu;") {
    directory_.writeInfo("Disk.bundle", "{ " + info + " VLAlertTypes = { Full = {}; }; }");
    auto bundle = Bundle::bundleWithPath(directory_.path() + "/Disk.bundle", nullptr);
    return std::make_unique<AlertBundle>("Disk", std::move(*bundle), FileManager::system(), log_);
  }
  std::string message(const AlertBundle& bundle, std::string_view reader) const {
    return bundle.texts().textAbout(attributes_, "Full.message", reader).value_or("none");
  }

  AlertBundleDirectory directory_;
  FakeLog log_;
  const PropertyList::Dictionary attributes_{
      {"size", 1234.5}, {"files", 1}, {"full", true}, {"volumes", PropertyList::Array{"a", "b"}}};
};

TEST_F(BundleTextsTest, WriteAttributesAsTheReaderDoes) {
  write("en", "\"Full.message\" = \"%{size} GB, incremental: %{full}, %{volumes}\";");
  write("de", "\"Full.message\" = \"%{size} GB, inkrementell: %{full}, %{volumes}\";");
  const auto bundle = open("");
  EXPECT_EQ(message(*bundle, "en"), "1,234.5 GB, incremental: yes, a and b");
  EXPECT_EQ(message(*bundle, "de_DE.UTF-8"), "1.234,5 GB, inkrementell: ja, a und b");
  EXPECT_EQ(message(*bundle, "de-CH"), "1’234.5 GB, inkrementell: ja, a und b");
  EXPECT_EQ(message(*bundle, "en-GB"), "1,234.5 GB, incremental: yes, a and b");
}

TEST_F(BundleTextsTest, SpeakOneLanguageToAStranger) {
  write("en", "\"Full.message\" = \"%{size} GB, incremental: %{full}\";");
  const auto bundle = open("");
  EXPECT_EQ(message(*bundle, "de"), "1,234.5 GB, incremental: yes");
  EXPECT_EQ(message(*bundle, "no such locale"), "1,234.5 GB, incremental: yes");
  EXPECT_EQ(message(*bundle, std::string(100000, 'x')), "1,234.5 GB, incremental: yes");
}

TEST_F(BundleTextsTest, ArePatternsOfICUWhereTheBundleSaysSo) {
  write("en", "\"Full.message\" = \"{files, plural, one{# file} other{# files}}\";");
  EXPECT_EQ(message(*open(), "en"), "1 file");
  EXPECT_EQ(message(*open(""), "en"), "{files, plural, one{# file} other{# files}}");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(BundleTextsTest, OfAnUnknownFormatAreToldInTheLog) {
  write("en", "\"Full.message\" = \"{files}\";");
  EXPECT_EQ(message(*open("VLTextFormat = printf;"), "en"), "{files}");
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("Info.plist: VLTextFormat is not \"icu\"")));
}

TEST_F(BundleTextsTest, APatternThatIsNoneCountsAsMissing) {
  write("en",
        "\"Full.message\" = \"{files} files\"; \"Full.subject\" = \"{\"; \"x.title\" = \"{\";");
  write("de", "\"Full.message\" = \"{files Dateien\";");
  const auto bundle = open();
  EXPECT_EQ(message(*bundle, "de"), "1 files");
  EXPECT_EQ(bundle->texts().textAbout({}, "Full.subject", "en"), std::nullopt);
  EXPECT_EQ(bundle->titleOfAction("x", "en"), "{") << "no attributes stand in titles";
  EXPECT_THAT(log_.lines(), ElementsAre(AllOf(HasSubstr("Alert text \"Full.message\" of "),
                                              HasSubstr("/de.lproj/Alerts.strings not used: "),
                                              EndsWith(", at character 1")),
                                        HasSubstr("\"Full.subject\" of ")));
}

TEST_F(BundleTextsTest, TellOfAnAttributeThatIsMissingOnceForEachText) {
  write("en", "\"Full.subject\" = \"%{size} %{no}\"; \"Full.message\" = \"%{no} %{nor}%{no}\";");
  const auto bundle = open("");
  for (int time = 0; time < 3; ++time) {
    EXPECT_EQ(message(*bundle, "en"), " ");
    bundle->texts().textAbout(attributes_, "Full.subject", "fr");
  }
  EXPECT_THAT(log_.lines(),
              ElementsAre(AllOf(HasSubstr("\"Full.message\" of "),
                                EndsWith("/en.lproj/Alerts.strings has a hole: an alert has no "
                                         "attribute \"no\"")),
                          AllOf(HasSubstr("\"Full.subject\""), EndsWith("\"no\""))));
}

TEST_F(BundleTextsTest, AnAttributeThatOnlyChoosesOrStandsInAFormMayBeMissing) {
  write("en",
        "\"Full.message\" = \"{no, select, a {{x}} other {none}} {n, plural, other {#{y}}}\";");
  EXPECT_EQ(message(*open(), "en"), "none ");
  EXPECT_THAT(log_.lines(), IsEmpty());
  write("en", "\"Full.message\" = \"{no, select, other {}} {gone, number, percent}\";");
  EXPECT_EQ(message(*open(), "en"), " ");
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("has no attribute \"gone\"")));
}

TEST_F(BundleTextsTest, ANameThatDoesNotEndIsToldWithItsPlace) {
  write("en", "\"Full.message\" = \"ä100%% %{size} %{size\"; \"x.title\" = \"%{\";");
  EXPECT_EQ(message(*open(""), "en"), "ä100% 1,234.5 %{size");
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("stands as it is: a %{ without its }, at "
                                                 "character 16")));
}

TEST_F(BundleTextsTest, TellOfManyFaultyPatternsInFewLines) {
  std::string texts;
  for (int number = 0; number < 1000; ++number)
    texts += "\"" + std::to_string(number) + "\\n.subject\" = \"{\";\n";
  write("en", texts);
  open();
  EXPECT_EQ(log_.lines().size(), 11U);
  EXPECT_THAT(log_.lines().back(), testing::StartsWith("990 more alert texts of "));
}

TEST_F(BundleTextsTest, NamesAreThoseOfTheLanguage) {
  write("en", "\"Full.name\" = \"Full disk\"; \"Grow.title\" = \"Grow\";");
  write("de", "\"Full.name\" = \"Volle Platte\"; CFBundleGetInfoString = \"not from here\";");
  directory_.write("Disk.bundle/Contents/Resources/de.lproj/InfoPlist.strings",
                   "CFBundleGetInfoString = \"Festplatten\";");
  const auto bundle = open("CFBundleGetInfoString = Disks;");
  EXPECT_EQ(bundle->name("en"), "Disks");
  EXPECT_EQ(bundle->name("de-AT"), "Festplatten");
  EXPECT_EQ(bundle->nameOfType("Full", "de"), "Volle Platte");
  EXPECT_EQ(bundle->nameOfType("Full", "ja"), "Full disk");
  EXPECT_EQ(bundle->nameOfType("Odd", "de"), "Odd");
  EXPECT_EQ(bundle->titleOfAction("Grow", "de"), "Grow");
  EXPECT_EQ(open("")->name("en"), "Disk");
}

TEST_F(BundleTextsTest, SayWhichLanguageAReaderGets) {
  write("en", "a = b;");
  write("fr", "a = b;");
  write("fr-CA", "a = b;");
  const auto bundle = open("");
  EXPECT_EQ(bundle->texts().languageFor("fr_CA.UTF-8"), "fr-CA");
  EXPECT_EQ(bundle->texts().languageFor("fr-BE"), "fr");
  EXPECT_EQ(bundle->texts().languageFor("ja"), "en");
}

TEST_F(BundleTextsTest, ATypeWithoutATextIsToldByItsName) {
  write("en", "\"Full.name\" = \"Full disk\";");
  VLAlert alert;
  alert.type = "Full";
  const auto made = AlertBundle::makeAlert(std::shared_ptr<const AlertBundle>(open()), alert);
  EXPECT_EQ(made->subject("en"), "Full disk");
  EXPECT_EQ(made->typeName("en"), "Full disk");
  EXPECT_EQ(made->bundleName("en"), "Disk");
}

}  // namespace
}  // namespace velto
