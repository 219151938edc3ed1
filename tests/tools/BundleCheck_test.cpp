// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/BundleCheck.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"
#include "tools/bundlecheck/NewBundle.h"
#include "tools/bundlecheck/TextFile.h"

namespace velto {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A new bundle, which the test then spoils.
class BundleCheckTest : public testing::Test {
 protected:
  BundleCheckTest() { EXPECT_EQ(makeNewBundle(path(), nullptr), path()); }

  std::string path() const { return (directory_.path() / "Full.bundle").string(); }
  fs::path contents() const { return fs::path(path()) / "Contents"; }

  void write(const std::string& name, std::string_view text) const {
    directory_.write("Full.bundle/Contents/" + name, text);
  }
  void writeEnglish(std::string_view text) const {
    write("Resources/en.lproj/Alerts.strings", text);
  }
  void removeGerman() const { fs::remove_all(contents() / "Resources/de.lproj"); }

  /// What is found, as "file:line: text" with the file below Contents; warnings end in "?".
  std::vector<std::string> findings() const {
    std::vector<std::string> lines;
    for (const Finding& finding : checkBundle(path())) {
      const std::string file = fs::path(finding.file).lexically_relative(contents()).string();
      lines.push_back(file + ":" + std::to_string(finding.line) + ": " + finding.text +
                      (finding.kind == Finding::Kind::kWarning ? "?" : ""));
    }
    return lines;
  }

  const TemporaryDirectory directory_;
};

TEST_F(BundleCheckTest, FindsNothingInANewBundle) {
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(BundleCheckTest, FindsThatThereIsNoBundle) {
  const auto found = checkBundle((directory_.path() / "None.bundle").string());
  ASSERT_EQ(found.size(), 1U);
  EXPECT_THAT(found.front().text, testing::HasSubstr("No such file"));
  write("Info.plist", "{ a = b }");
  EXPECT_THAT(checkBundle(path()).front().text, testing::HasSubstr("at line 1"));
}

TEST_F(BundleCheckTest, FindsWhatInfoPlistCannotSay) {
  removeGerman();
  write("Info.plist",
        "{ VLTextFormat = printf; VLAlertType = {}; CFBundleDevelopmentRegion = fr;"
        " VLAlertTypes = { Full = { RecoveryOption = (a); RecoveryOptions = b; }; Odd = x; }; }");
  writeEnglish(
      "\"Full.subject\" = s; \"Full.message\" = m; \"Odd.subject\" = s;"
      " \"Odd.message\" = m; \"Full.name\" = n; \"Odd.name\" = n;");
  fs::remove_all(contents() / "Actions");
  EXPECT_THAT(findings(),
              UnorderedElementsAre(
                  "Info.plist:0: CFBundleGetInfoString, the name that people see, is missing?",
                  "Info.plist:0: VLTextFormat can be \"icu\" only",
                  "Info.plist:0: VLAlertTypes.Full.RecoveryOption means nothing to the daemon?",
                  "Info.plist:0: VLAlertTypes.Full.RecoveryOptions is no list of names",
                  "Info.plist:0: VLAlertTypes.Odd is no dictionary",
                  "Info.plist:0: there is no language for CFBundleDevelopmentRegion, fr?",
                  "Info.plist:0: VLAlertType means nothing to the daemon?"));
}

TEST_F(BundleCheckTest, FindsTextsThatALanguageLacks) {
  writeEnglish("\"TooManyFiles.subject\" = \"{folder}\"; \"TooManyFiles.name\" = n;\n");
  EXPECT_THAT(findings(),
              UnorderedElementsAre(
                  "Resources/en.lproj/Alerts.strings:0: \"Empty.title\" is missing",
                  "Resources/en.lproj/Alerts.strings:0: \"TooManyFiles.message\" is missing"));
}

TEST_F(BundleCheckTest, ARegionTakesTextsFromItsLanguage) {
  write("Resources/de-AT.lproj/Alerts.strings", "\"TooManyFiles.name\" = n;");
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(BundleCheckTest, FindsAttributesThatOneLanguageAloneNames) {
  writeEnglish(
      "\"TooManyFiles.name\" = n;\n\n\"Empty.title\" = e;\n"
      "\"TooManyFiles.subject\" = \"in {foldre}\";\n"
      "\"TooManyFiles.message\" = \"{files} {folder}\";");
  EXPECT_THAT(findings(),
              UnorderedElementsAre(
                  "Resources/en.lproj/Alerts.strings:4: \"TooManyFiles.subject\" names the "
                  "attribute foldre, as it does in no other language?",
                  testing::HasSubstr("names the attribute folder, as")));
}

TEST_F(BundleCheckTest, FindsPatternsThatAreNone) {
  removeGerman();
  writeEnglish(
      "\"TooManyFiles.name\" = n; \"Empty.title\" = e;\n"
      "/* two */\n\"TooManyFiles.subject\" = \"%{folder}\";\n"
      "\"TooManyFiles.message\" = \"{files, plural, one {x}}\"; \"Nothing.name\" = n;");
  EXPECT_THAT(
      findings(),
      ElementsAre(
          "Resources/en.lproj/Alerts.strings:3: \"TooManyFiles.subject\" has a %{, which is "
          "{} with VLTextFormat = icu?",
          "Resources/en.lproj/Alerts.strings:4: \"TooManyFiles.message\" cannot be "
          "understood: the form \"other\" is missing, at character 1",
          "Resources/en.lproj/Alerts.strings:4: \"Nothing.name\" is of no type and no "
          "action?"));
}

TEST_F(BundleCheckTest, FindsPlaceholdersWithoutAnEnd) {
  removeGerman();
  write("Info.plist", "{ CFBundleGetInfoString = x; VLAlertTypes = { Full = {}; }; }");
  fs::remove_all(contents() / "Actions");
  writeEnglish("\"Full.subject\" = \"%{a} %{b\";\n\"Full.message\" = \"100%\"; \"Full.name\" = n;");
  EXPECT_THAT(findings(), ElementsAre("Resources/en.lproj/Alerts.strings:1: \"Full.subject\" has a "
                                      "%{ without its }"));
}

TEST_F(BundleCheckTest, FindsStringsThatCannotBeRead) {
  removeGerman();
  writeEnglish("\"a\" = \"b\"\n\"c\"");
  EXPECT_THAT(findings(),
              testing::Contains(testing::AllOf(
                  testing::StartsWith("Resources/en.lproj/Alerts.strings:0: not used: "),
                  testing::HasSubstr("line 2"))));
  write("Resources/english.lproj/Alerts.strings", "a = b;");
  EXPECT_THAT(findings(), testing::Contains("Resources/english.lproj/Alerts.strings:0: english is "
                                            "no language"));
}

TEST_F(BundleCheckTest, FindsActionsThatTheDaemonWouldRefuse) {
  const fs::path action = contents() / "Actions/Empty";
  fs::permissions(action, fs::perms(0775));
  EXPECT_THAT(findings(),
              ElementsAre(testing::EndsWith("cannot be used: " + action.string() +
                                            " can be written by others than its owner.")));
  fs::permissions(action, fs::perms(0644));
  EXPECT_THAT(findings(), ElementsAre(testing::HasSubstr(action.string() + " is not executable")));
  fs::remove(action);
  EXPECT_THAT(findings(), ElementsAre(testing::HasSubstr("has no recovery action 'Empty'")));
}

TEST_F(BundleCheckTest, FindsScriptsThatDoNotStart) {
  const std::string name = "Actions/Empty";
  write(name, "#!/bin/sh\r\nexit 0\r\n");
  EXPECT_THAT(findings(), ElementsAre("Actions/Empty:0: its lines end in CR LF, and so no "
                                      "interpreter is found"));
  write(name, "#! /no/such/shell -e\n");
  EXPECT_THAT(findings(), ElementsAre("Actions/Empty:0: its interpreter /no/such/shell does not "
                                      "exist"));
  write("Actions/Unused", "#!/bin/sh\n");
  EXPECT_THAT(findings(), testing::Contains("Actions/Unused:0: no type offers it among its "
                                            "RecoveryOptions?"));
}

TEST_F(BundleCheckTest, FindsCodeThatCannotBeUsed) {
  write("Info.plist", "{ CFBundleGetInfoString = x; CFBundleExecutable = \"libX.so\"; }");
  EXPECT_THAT(findings(), ElementsAre(testing::AllOf(
                              testing::StartsWith("Linux:0: Alert bundle 'Full' cannot be used: " +
                                                  contents().string()),
                              testing::HasSubstr("No such file"))));
}

TEST_F(BundleCheckTest, LeavesNothingBehind) {
  const fs::path temporary = directory_.path() / "temporary";
  fs::create_directory(temporary);
  ScopedEnvironment environment;
  environment.set("TMPDIR", temporary);
  findings();
  EXPECT_TRUE(fs::is_empty(temporary));

  // It is made there: where there is no such place, nothing is checked.
  fs::remove(temporary);
  const auto found = checkBundle(path());
  ASSERT_EQ(found.size(), 1U);
  EXPECT_THAT(found.front().text, testing::HasSubstr("TMPDIR"));
}

TEST(LineOfKey, IsWhereTheKeyStands) {
  constexpr std::string_view kText = "/* a = */\nab = x;\n\"a\" = 1;\n a=2; \"b c\"\n = 3;";
  EXPECT_EQ(lineOfKey(kText, "ab"), 2U);
  EXPECT_EQ(lineOfKey(kText, "b c"), 4U);
  EXPECT_EQ(lineOfKey(kText, "missing"), 0U);
  EXPECT_EQ(lineOfKey(kText, ""), 0U);
  EXPECT_EQ(lineOfKey("\"a\" = 1;", "a"), 1U);
}

}  // namespace
}  // namespace velto
