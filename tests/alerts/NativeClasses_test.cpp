// SPDX-License-Identifier: Apache-2.0
// Alerts and recovery actions whose classes a bundle's code registers.

#include "alerts/native/NativeClasses.h"

#include <filesystem>
#include <sys/stat.h>

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
using testing::SizeIs;

class NativeClassesTest : public testing::Test {
 protected:
  NativeClassesTest() {
    alert_.bundle = "Test";
    alert_.type = "Full";
    alert_.attributes = PropertyList::Dictionary{{"volume", "/home"}, {"percent", 93}};
    write("Classes");
    directory_.writeStrings("Test.bundle", "en",
                            "\"Full.subject\" = \"data's\"; \"Full.message\" = \"message\";"
                            "\"Fix.title\" = \"Fix it\";");
    directory_.writeStrings("Test.bundle", "fr", "/* none yet */");
  }

  /// Has the code do it.
  void ask(const std::string& what) { alert_.attributes->insert_or_assign("do", what); }

  void write(const std::string& module) {
    directory_.writeNativeBundle("Test.bundle",
                                 std::string(VELTO_TEST_MODULES) + "/lib" + module + ".so");
  }

  std::unique_ptr<VLAlertSubclass> alert(ErrorSlot error = nullptr) {
    return registry_.alertSubclass(alert_, error);
  }
  std::unique_ptr<VLAlertAction> action(const std::string& name, ErrorSlot error = nullptr) {
    return registry_.alertAction(name, alert_, error);
  }

  AlertBundleDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry registry_{directory_.path(), FileManager::system(), clock_, log_};
  VLAlert alert_;
};

TEST_F(NativeClassesTest, TheCodeSpeaksForItsAlerts) {
  const auto made = alert();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->subject("fr-CA"), "fr: /home 93%, data's");
  EXPECT_EQ(made->subject("no such locale"), "en: /home 93%, data's");
  EXPECT_EQ(made->message("fr"), "message") << "what the code leaves out, the data says";
  EXPECT_THAT(made->recoveryOptions(), ElementsAre("Fix", "Declared"));
  EXPECT_EQ(made->alert(), alert_);
}

TEST_F(NativeClassesTest, WhereTheCodeFailsTheDataSpeaks) {
  ask("fail");
  EXPECT_EQ(alert()->subject("en"), "data's");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(NativeClassesTest, TextThatIsNotUTF8IsNoneAndToldOnce) {
  ask("binary");
  for (int count = 0; count < 3; ++count) {
    EXPECT_EQ(alert()->subject("en"), "data's");
  }
  EXPECT_THAT(log_.lines(), ElementsAre("The code of alert bundle 'Test' gave a subject that is "
                                        "not UTF-8."));
}

TEST_F(NativeClassesTest, OneClassMayTakeWhatNothingElseTakes) {
  directory_.writeNativeBundle("Default.bundle",
                               std::string(VELTO_TEST_MODULES) + "/libDefault.so");
  alert_.bundle = "Default";
  alert_.type = std::nullopt;
  std::optional<Error> error;
  const auto untyped = alert(&error);
  ASSERT_NE(untyped, nullptr) << error->localizedDescription();
  EXPECT_EQ(untyped->subject("en"), "Something of nothing");
  EXPECT_EQ(untyped->message("en"), std::nullopt);
  EXPECT_THAT(untyped->recoveryOptions(), IsEmpty());
  alert_.type = "Unknown";
  EXPECT_EQ(alert()->subject("en"), "Something of Unknown");
  alert_.type = "Test";
  EXPECT_EQ(alert()->subject("en"), "A test") << "the data takes it";
  alert_.type = "Own";
  EXPECT_EQ(alert()->subject("en"), "Own") << "a class of its own takes it";
}

TEST_F(NativeClassesTest, AnActionForAnAlertWithoutATypeFindsNoTextOfIt) {
  alert_.type = std::nullopt;
  alert_.identifier = "gone";
  ASSERT_NE(action("Fix"), nullptr);
  EXPECT_TRUE(action("Fix")->hasBeenResolved());
  std::optional<Error> error;
  EXPECT_EQ(alert(&error), nullptr);
  EXPECT_EQ(error->code, kAlertWithoutTypeErrorCode);
}

TEST_F(NativeClassesTest, ATypeMayBeKnownToTheCodeOrToTheDataAlone) {
  alert_.type = "Plain";
  EXPECT_EQ(alert()->subject("en"), "Plain");
  EXPECT_THAT(alert()->recoveryOptions(), IsEmpty());
  alert_.type = "Test";
  EXPECT_NE(alert(), nullptr);
  alert_.type = "Unknown";
  std::optional<Error> error;
  EXPECT_EQ(alert(&error), nullptr);
  EXPECT_EQ(error, makeError(kBundleErrorDomain, kNoSuchAlertTypeErrorCode,
                             "Alert bundle 'Test' has no alert type 'Unknown'."));
}

TEST_F(NativeClassesTest, TheCodeActs) {
  alert_.identifier = "there";
  EXPECT_FALSE(action("Fix")->hasBeenResolved());
  alert_.identifier = "gone";
  EXPECT_TRUE(action("Fix")->hasBeenResolved());
  EXPECT_EQ(action("Fix")->title("en"), "Fix it");
  std::optional<Error> error;
  EXPECT_TRUE(action("Fix")->runWithLocalization("en", &error));
  EXPECT_EQ(error, std::nullopt);
  ask("leak");
  EXPECT_TRUE(action("Fix")->runWithLocalization("en", &error)) << "there is one object only";
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(NativeClassesTest, WhatTheCodeReportsIsTheError) {
  std::optional<Error> error;
  ask("error");
  EXPECT_FALSE(action("Fix")->runWithLocalization("fr", &error));
  EXPECT_EQ(error, makeError("Test", 42, "No hammer."));
  error.reset();
  ask("fail");
  EXPECT_FALSE(action("Fix")->runWithLocalization("fr", &error));
  EXPECT_EQ(error, makeError(kBundleErrorDomain, kActionFailedErrorCode,
                             "Recovery action 'Fix' of alert bundle 'Test' ended with 1."));
}

TEST_F(NativeClassesTest, AnAnswerThatIsNoneIsLogged) {
  EXPECT_FALSE(action("Fix")->hasBeenResolved());
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("'Fix' of alert bundle 'Test', asked whether it "
                                                  "has been resolved, answered -1")));
}

TEST_F(NativeClassesTest, AClassThatGivesNoObjectIsAnError) {
  std::optional<Error> error;
  EXPECT_EQ(action("Void", &error), nullptr);
  EXPECT_EQ(error, makeError(kBundleErrorDomain, kActionFailedErrorCode,
                             "Recovery action 'Void' of alert bundle 'Test' cannot be made."));
  error.reset();
  EXPECT_EQ(action("Incomplete", &error), nullptr);
  EXPECT_EQ(error->code, kNoSuchActionErrorCode);
}

TEST_F(NativeClassesTest, CodeThatCannotBeLoadedIsAnErrorAndOneLogLine) {
  std::filesystem::remove_all(directory_.path() + "/Test.bundle");
  write("OtherVersion");
  for (int time = 0; time < 2; ++time) {
    std::optional<Error> error;
    EXPECT_EQ(alert(&error), nullptr);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kCodeNotLoadedErrorCode);
    EXPECT_THAT(error->localizedDescription(),
                HasSubstr("Alert bundle 'Test' cannot be used: it is made for version"));
    EXPECT_EQ(action("Fix", &error), nullptr);
  }
  EXPECT_THAT(log_.lines(), SizeIs(1));
}

}  // namespace
}  // namespace velto
