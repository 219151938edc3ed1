// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeEmailFormatter.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/FileManager.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

/// The formatter of the module Probe, which does what the localization asks for.
class NativeEmailFormatterTest : public testing::Test {
 protected:
  NativeEmailFormatterTest() {
    directory_.writeNativeBundle("Test.bundle",
                                 std::filesystem::path(VELTO_TEST_MODULES) / "libProbe.so");
    alert_.bundle = "Test";
    alert_.type = "Test";
    EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
    formatter_ = registry_.makeEmailFormatter("Probe");
  }

  std::optional<std::string> format(std::string_view localization, ErrorSlot error = nullptr) {
    return formatter_->formatMessage(*registry_.alertSubclass(alert_, nullptr), localization,
                                     error);
  }
  Error errorOf(std::string_view localization) {
    std::optional<Error> error;
    EXPECT_EQ(format(localization, &error), std::nullopt);
    EXPECT_TRUE(error.has_value());
    return error.value_or(Error());
  }

  AlertBundleDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry registry_{directory_.path(), FileManager::system(), clock_, log_};
  std::unique_ptr<EmailFormatter> formatter_;
  VLAlert alert_;
};

TEST_F(NativeEmailFormatterTest, GivesTheBundlesSender) {
  EXPECT_EQ(formatter_->fromAddress("Probe <p@h>"), "Probe <p@h>");
}

TEST_F(NativeEmailFormatterTest, HasNoSenderWhenTheBundleHasNone) {
  EXPECT_EQ(formatter_->fromAddress(""), std::nullopt);
  EXPECT_EQ(formatter_->fromAddress("fail"), std::nullopt);
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(NativeEmailFormatterTest, TellsTheLogOnceOfTextThatIsNotUTF8) {
  for (int count = 0; count < 3; ++count) {
    EXPECT_EQ(formatter_->fromAddress("binary"), std::nullopt);
    EXPECT_EQ(format("binary"), std::nullopt);
  }
  EXPECT_THAT(log_.lines(), testing::ElementsAre("The class Probe of alert bundle 'Test' gave a "
                                                 "sender that is not UTF-8.",
                                                 "The class Probe of alert bundle 'Test' gave a "
                                                 "message that is not UTF-8."));
}

TEST_F(NativeEmailFormatterTest, NumbersOfEverySizeAreText) {
  std::string largest = std::to_string(1e308);
  largest.resize(largest.find('.'));
  EXPECT_EQ(format("numbers"), "0.0 -1.2 9999999999999999583119736832.0 " + largest + ".0 0.0 0" +
                                   largest + "." + std::string(17, '0'));
}

TEST_F(NativeEmailFormatterTest, TheBundleSeesTheAlert) {
  alert_.identifier = "42";
  alert_.sentDate = Date(1.5);
  EXPECT_EQ(format("facts"),
            "identifier 42\ntype Test\nbundle Test\ndates 0 1.5, -1 -1.0\n"
            "subject A test\nmessage It is one.");
}

TEST_F(NativeEmailFormatterTest, TheBundleSeesWhatIsAbsent) {
  EXPECT_EQ(format("facts"),
            "identifier (none)\ntype Test\nbundle Test\ndates -1 0.0, -1 -1.0\n"
            "subject A test\nmessage It is one.");
}

TEST_F(NativeEmailFormatterTest, AMessageMayBeEmpty) {
  EXPECT_EQ(format("en"), "");
}

TEST_F(NativeEmailFormatterTest, TheHostEnduresMissingArguments) {
  EXPECT_EQ(format("nothing"), "ab 2 1 1 1 -1 -1 -1 -1 -1");
  EXPECT_EQ(format("registration"), "ynynnnnn");
}

TEST_F(NativeEmailFormatterTest, TheBundlesErrorComesThrough) {
  EXPECT_EQ(errorOf("error"), makeError("Test", 42, "No ink."));
  EXPECT_EQ(errorOf("nameless error"), makeError("Test", 43, ""));
  EXPECT_EQ(errorOf("binary error"), makeError("Test", 44, ""));
}

TEST_F(NativeEmailFormatterTest, AFailureWithoutAnErrorNamesClassAndBundle) {
  EXPECT_EQ(errorOf("fail"),
            makeError(kBundleErrorDomain, kFormatterFailedErrorCode,
                      "The class Probe of alert bundle 'Test' cannot format the message."));
}

TEST_F(NativeEmailFormatterTest, AMessageThatIsNoTextIsAFailure) {
  EXPECT_EQ(errorOf("binary"),
            makeError(kBundleErrorDomain, kFormatterFailedErrorCode,
                      "The class Probe of alert bundle 'Test' gave a message that is not UTF-8."));
}

TEST_F(NativeEmailFormatterTest, LeavesAnEarlierErrorInPlace) {
  std::optional<Error> error = makeError("Earlier", 1, "first");
  EXPECT_EQ(format("error", &error), std::nullopt);
  EXPECT_EQ(error, makeError("Earlier", 1, "first"));
}

TEST_F(NativeEmailFormatterTest, DestroysItsObject) {
  registry_.makeEmailFormatter("Probe").reset();
  EXPECT_EQ(format("objects"), "one");
  const auto second = registry_.makeEmailFormatter("Probe");
  EXPECT_EQ(format("objects"), "many");
}

}  // namespace
}  // namespace velto
