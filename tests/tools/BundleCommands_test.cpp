// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/BundleCommands.h"

#include <filesystem>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"
#include "tools/bundlecheck/TrialAlert.h"

namespace velto {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

class BundleCommandsTest : public testing::Test {
 protected:
  BundleCommandsTest() {
    EXPECT_EQ(newBundleCommand((directory_.path() / "Full").string(), output_, errors_), 0);
    EXPECT_EQ(take(output_), path() + "\n");
    directory_.write("waiting/file", "");
  }

  std::string path() const { return (directory_.path() / "Full.bundle").string(); }
  std::string folder() const { return (directory_.path() / "waiting").string(); }
  TrialRequest request(const std::string& locale = "de") const {
    return {path(), "TooManyFiles", {"folder=" + folder(), "files:=1234"}, locale};
  }
  static std::string take(std::ostringstream& stream) {
    std::string text = stream.str();
    stream.str("");
    return text;
  }
  int call(ActionCall what) { return runBundleCommand(request(), "Empty", what, output_, errors_); }

  const TemporaryDirectory directory_;
  std::ostringstream output_;
  std::ostringstream errors_;
};

TEST_F(BundleCommandsTest, MakesNothingOverWhatIsThere) {
  EXPECT_EQ(newBundleCommand(path() + "/", output_, errors_), 2);
  EXPECT_THAT(take(errors_), HasSubstr("File exists"));
}

TEST_F(BundleCommandsTest, ChecksWithWordsAndAStatus) {
  EXPECT_EQ(checkBundleCommand(path(), output_), 0);
  EXPECT_EQ(take(output_), "");
  directory_.write("Full.bundle/Contents/Resources/en.lproj/Alerts.strings",
                   "\"TooManyFiles.subject\" = \"{\";");
  EXPECT_EQ(checkBundleCommand(path(), output_), 1);
  EXPECT_THAT(output_.str(), HasSubstr("/en.lproj/Alerts.strings:1: error: "));
}

TEST_F(BundleCommandsTest, ShowsWhatReadersAreTold) {
  EXPECT_EQ(renderBundleCommand(request(), output_, errors_), 0);
  const std::string text = take(output_);
  const std::string subject = "In " + folder() + " liegen zu viele Dateien";
  const std::string message = "In " + folder() + " warten 1.234 Dateien.";
  EXPECT_THAT(text,
              StartsWith(subject + "\n\n" + message + "\n\n-- The mail:\n\nFrom: Warnungen <"));
  EXPECT_THAT(text, HasSubstr("\nSubject: " + subject + "\n\n" + message +
                              "\n\nModul: Beispiel\nArt: Zu viele Dateien\nZeit: "));
  EXPECT_EQ(take(errors_), "");
}

TEST_F(BundleCommandsTest, SaysWhyItShowsNothing) {
  TrialRequest wrong = request();
  wrong.type = "Unknown";
  EXPECT_EQ(renderBundleCommand(wrong, output_, errors_), 1);
  EXPECT_THAT(take(errors_), HasSubstr("has no alert type 'Unknown'"));
  wrong.attributes = {"volume"};
  EXPECT_EQ(renderBundleCommand(wrong, output_, errors_), 2);
  EXPECT_THAT(take(errors_), HasSubstr("'volume' is no attribute"));
  wrong.path = "/no/such/X.bundle";
  EXPECT_EQ(renderBundleCommand(wrong, output_, errors_), 2);
}

TEST_F(BundleCommandsTest, RunsAnActionAsTheDaemonWould) {
  EXPECT_EQ(call(ActionCall::kHasBeenResolved), 1);
  EXPECT_EQ(take(output_), "not resolved\n");
  EXPECT_EQ(call(ActionCall::kRun), 0);
  EXPECT_EQ(take(output_), "done\n");
  EXPECT_TRUE(fs::is_empty(folder()));
  EXPECT_EQ(call(ActionCall::kHasBeenResolved), 0);
  fs::remove_all(folder());
  EXPECT_EQ(take(errors_), "");
  EXPECT_EQ(call(ActionCall::kRun), 1);
  EXPECT_EQ(take(errors_), "There is no such folder.\n");
  EXPECT_EQ(call(ActionCall::kHasBeenResolved), 1);
  EXPECT_THAT(take(errors_),
              StartsWith("log: Recovery action 'Empty' of alert bundle 'Full', asked"));
}

TEST(TrialAlert, TakesValuesOfEveryKind) {
  const auto alert = trialAlert(
      "Disk", "Full",
      {"a=/home", "b:=93", "c:=true", "d:=[1, \"x\"]", "e:={\"$date\": 5}", "f=93", "g=", "h=a:=b"},
      nullptr);
  ASSERT_TRUE(alert.has_value());
  const PropertyList::Dictionary expected{
      {"a", "/home"}, {"b", 93},   {"c", true}, {"d", PropertyList::Array{1, "x"}},
      {"e", Date(5)}, {"f", "93"}, {"g", ""},   {"h", "a:=b"}};
  EXPECT_EQ(alert->attributes, expected);
  for (const std::string attribute : {"a:={\"$date\": \"x\"}", "a:={bad", "a:=1e400", "a", ""}) {
    EXPECT_EQ(trialAlert("Disk", "Full", {attribute}, nullptr), std::nullopt) << attribute;
  }
}

}  // namespace
}  // namespace velto
