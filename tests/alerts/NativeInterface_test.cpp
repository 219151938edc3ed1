// SPDX-License-Identifier: Apache-2.0
// What the code of bundles can call, be it built for this daemon or for the first ones.

#include <filesystem>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/FileManager.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class NativeInterfaceTest : public testing::Test {
 protected:
  NativeInterfaceTest() {
    alert_.bundle = "Test";
    alert_.type = "Test";
  }

  void write(const std::string& module) const {
    directory_.writeNativeBundle("Test.bundle", std::filesystem::path(VELTO_TEST_MODULES) / module);
  }
  std::unique_ptr<VLAlertSubclass> alert() { return registry_.alertSubclass(alert_, nullptr); }

  AlertBundleDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry registry_{directory_.path(), FileManager::system(), clock_, log_};
  VLAlert alert_;
};

using FirstInterfaceTest = NativeInterfaceTest;

TEST_F(FirstInterfaceTest, ClassesOfAlertsAndActionsGoOnWorking) {
  write("first/libClasses.so");
  alert_.type = "Full";
  alert_.attributes = PropertyList::Dictionary{{"volume", "/home"}, {"percent", 93}};
  const auto made = alert();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->subject("en"), "en: /home 93%, Full");
  EXPECT_THAT(made->recoveryOptions(), ElementsAre("Fix", "Declared"));
  alert_.identifier = "gone";
  const auto action = registry_.alertAction("Fix", alert_, nullptr);
  ASSERT_NE(action, nullptr);
  EXPECT_TRUE(action->hasBeenResolved());
  EXPECT_TRUE(action->runWithLocalization("en", nullptr));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(FirstInterfaceTest, AClassOfOtherAlertsGoesOnWorking) {
  write("first/libDefault.so");
  alert_.type = "Unknown";
  EXPECT_EQ(alert()->subject("en"), "Something of Unknown");
}

TEST_F(FirstInterfaceTest, FormattersGoOnWorking) {
  write("first/libProbe.so");
  ASSERT_TRUE(registry_.VLLoadAlertBundle("Test"));
  const auto formatter = registry_.makeEmailFormatter("Probe");
  ASSERT_NE(formatter, nullptr);
  EXPECT_EQ(formatter->fromAddress("Probe <p@h>"), "Probe <p@h>");
  EXPECT_THAT(*formatter->formatMessage(*alert(), "facts", nullptr),
              HasSubstr("subject A test\nmessage It is one."));
  EXPECT_THAT(*formatter->formatMessage(*alert(), "numbers", nullptr), StartsWith("0.0 -1.2 "));
}

TEST_F(NativeInterfaceTest, AttributesAreReadAsWhatTheyAre) {
  write("libValues.so");
  alert_.attributes = PropertyList::Dictionary{
      {"a", -7},
      {"b", std::numeric_limits<std::uint64_t>::max()},
      {"c", 2.5},
      {"d", true},
      {"e", Date(3)},
      {"f", Data(std::string_view("\x01x"))},
      {"g", "text"},
      {"h", PropertyList::Array{1, PropertyList::Dictionary{{"k", false}}, PropertyList()}},
      {"i", PropertyList::Array()},
      {"j", Data()},
  };
  EXPECT_EQ(alert()->subject("en"),
            "a 2 i-7 r-7; b 3 u18446744073709551615 r1.84467e+19; c 4 r2.5; d 5 true; e 6 d3; "
            "f 7 b2:\x01x; g 1 b4:text; h 8 (- 2 i1 u1 r1; - 9 (k 5 false; ); - 0; ); i 8; "
            "j 7 b0:;  all");
}

TEST_F(NativeInterfaceTest, AVisitEndsWhereTheVisitorDoes) {
  write("libValues.so");
  alert_.attributes = PropertyList::Dictionary{{"last", 1}, {"not seen", 2}};
  EXPECT_EQ(alert()->subject("en"), "last 2 i1 u1 r1. ended");
  alert_.attributes = std::nullopt;
  EXPECT_EQ(alert()->subject("en"), " all");
}

TEST_F(NativeInterfaceTest, TheCodeWritesForTheReader) {
  write("libValues.so");
  directory_.writeStrings("Test.bundle", "de",
                          "\"Test.name\" = \"Probe\"; \"Test.subject\" = \"%{list}\";");
  directory_.write("Test.bundle/Contents/Resources/de.lproj/InfoPlist.strings",
                   "CFBundleGetInfoString = \"Prüfung\";");
  alert_.attributes = PropertyList::Dictionary{{"list", PropertyList::Array{1234.5, true}}};
  const std::string start = "de|Prüfung|Probe|";
  const std::string end = R"(|{"type":"Test","bundle":"Test","attributes":{"list":[1234.5,true]}})";
  const auto made = alert();
  EXPECT_THAT(*made->message("de"),
              testing::AllOf(StartsWith(start + "1.234,5 und ja|1.234,5|1.234,6|1. Januar 2001 um"),
                             testing::EndsWith("|1.234,5 und ja" + end)));
  EXPECT_THAT(*made->message("de_CH.UTF-8"), StartsWith(start + "1’234.5 und ja|1’234.5|1’234.6|"));
  EXPECT_THAT(*made->message("fr"), StartsWith("en|Test|Test|1,234.5 and yes|"));
  EXPECT_THAT(log_.lines(), ElementsAre("Alert bundle 'Test': a line and ?")) << "once a minute";
}

class WrapperTest : public NativeInterfaceTest {
 protected:
  WrapperTest() { write("libWrapped.so"); }

  /// The lines of the log after the one that shows that the code can log.
  std::vector<std::string> lines() const {
    auto lines = log_.lines();
    EXPECT_EQ(lines.front(), "Alert bundle 'Test': registered");
    lines.erase(lines.begin());
    return lines;
  }
};

TEST_F(WrapperTest, GivesEveryKindOfValueAType) {
  alert_.attributes = PropertyList::Dictionary{
      {"a", -7},
      {"b", std::numeric_limits<std::uint64_t>::max()},
      {"c", 2.5},
      {"d", false},
      {"e", Date(3)},
      {"f", Data(std::string_view("x"))},
      {"list", PropertyList::Array{"text", PropertyList()}},
      {"map", PropertyList::Dictionary{{"key", true}}},
  };
  EXPECT_EQ(alert()->subject("en"),
            "a i-7; b u18446744073709551615; c r2.500000; d false; e d3.000000; f bx; "
            "list 2(=stext =none ); map 1(key=true ); stext none true");
  EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(WrapperTest, WritesForTheReader) {
  directory_.writeStrings("Test.bundle", "de", "\"Test.message\" = \"Nachricht\";");
  alert_.attributes = PropertyList::Dictionary{{"list", PropertyList::Array{1.5, 2}}};
  EXPECT_EQ(alert()->message("de-CH"),
            "de|1.5 und 2|1’234.5|1. Januar 2001 um 00:00:00 UTC|-TestTest"
            R"({"type":"Test","bundle":"Test","attributes":{"list":[1.5,2]}}not sent|Nachricht)");
}

TEST_F(WrapperTest, AnExceptionIsALineInTheLogAndTheDataSpeaks) {
  alert_.attributes = PropertyList::Dictionary{{"throw", true}};
  EXPECT_EQ(alert()->subject("en"), "A test");
  EXPECT_EQ(alert()->message("en"), "It is one.");
  EXPECT_EQ(registry_.alertAction("Fix", alert_, nullptr), nullptr);
  EXPECT_THAT(lines(),
              ElementsAre("Alert bundle 'Test': subject failed: thrown in a visit",
                          "Alert bundle 'Test': message",
                          "Alert bundle 'Test': the constructor failed: thrown in a constructor"));
}

TEST_F(WrapperTest, LeavesToTheDataWhatAClassDoesNotOverride) {
  EXPECT_FALSE(alert()->mayHaveRecoveryOptions());
  alert_.type = "Unknown";
  EXPECT_EQ(alert()->subject("en"), "Unknown");
  EXPECT_THAT(alert()->recoveryOptions(), ElementsAre("Fix", "Unknown"));
}

TEST_F(WrapperTest, ActionsAnswerAndFail) {
  const auto action = [this](bool isResolved) {
    alert_.attributes = PropertyList::Dictionary{{"resolved", isResolved}};
    return registry_.alertAction("Fix", alert_, nullptr);
  };
  EXPECT_TRUE(action(true)->hasBeenResolved());
  EXPECT_TRUE(action(true)->runWithLocalization("en", nullptr));
  EXPECT_FALSE(action(false)->hasBeenResolved());
  std::optional<Error> error;
  EXPECT_FALSE(action(false)->runWithLocalization("en", &error));
  EXPECT_EQ(error, makeError("Test", 5, "en"));
  alert_.attributes = std::nullopt;
  const auto undecided = registry_.alertAction("Fix", alert_, nullptr);
  EXPECT_FALSE(undecided->hasBeenResolved());
  EXPECT_FALSE(undecided->runWithLocalization("en", nullptr));
  EXPECT_THAT(lines(), ElementsAre(HasSubstr("answered -1"),
                                   "Alert bundle 'Test': run failed: thrown in run"));
}

}  // namespace
}  // namespace velto
