// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeBundle.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/FileManager.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"
#include "tests/support/SkipOrFail.h"

namespace velto {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

fs::path module(const std::string& name) {
  return fs::path(VELTO_TEST_MODULES) / ("lib" + name + ".so");
}

class PlainAlert : public VLAlertSubclass {
 public:
  PlainAlert() : VLAlertSubclass(VLAlert()) {}
  std::optional<std::string> subject(std::string_view) const override { return std::nullopt; }
  std::optional<std::string> message(std::string_view) const override { return std::nullopt; }
  std::vector<std::string> recoveryOptions() const override { return {}; }
};

class NativeBundleTest : public testing::Test {
 protected:
  fs::path write(const std::string& moduleName) const {
    return directory_.writeNativeBundle("Test.bundle", module(moduleName));
  }

  /// The reason why the bundle "Test" was not loaded, as the log has it.
  std::string refusal() {
    FakeLog log;
    AlertBundleRegistry registry(directory_.path(), FileManager::system(), clock_, log);
    EXPECT_FALSE(registry.VLLoadAlertBundle("Test"));
    EXPECT_FALSE(registry.VLLoadAlertBundle("Test"));
    const auto lines = log.lines();
    EXPECT_EQ(lines.size(), 1U);
    const std::string prefix = "Alert bundle 'Test' not loaded: ";
    EXPECT_THAT(lines.front(), testing::StartsWith(prefix));
    return lines.front().substr(prefix.size());
  }
  std::string bundlePath() const { return directory_.path() + "/Test.bundle"; }

  AlertBundleDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry registry_{directory_.path(), FileManager::system(), clock_, log_};
};

TEST_F(NativeBundleTest, LoadsCodeOnceAndKnowsItsClasses) {
  write("Probe");
  EXPECT_EQ(registry_.makeEmailFormatter("Probe"), nullptr);
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_NE(registry_.makeEmailFormatter("Probe"), nullptr);
  EXPECT_EQ(registry_.makeEmailFormatter("Void"), nullptr);
  for (const std::string name : {"Incomplete", "None", "Other", "", "probe"}) {
    EXPECT_EQ(registry_.makeEmailFormatter(name), nullptr) << name;
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(NativeBundleTest, LoadsTheCodeOfABundleThatComesLater) {
  EXPECT_FALSE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_EQ(registry_.makeEmailFormatter("Probe"), nullptr);
  write("Probe");
  EXPECT_FALSE(registry_.VLLoadAlertBundle("Test")) << "looked for a moment ago";
  clock_.set(1);
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_NE(registry_.makeEmailFormatter("Probe"), nullptr);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("'Test' not loaded: there is no such bundle")));
}

TEST_F(NativeBundleTest, ThreadsThatAskTogetherAllGetTheClass) {
  write("Probe");
  std::vector<char> found(8, 0);
  std::vector<std::thread> threads;
  for (char& one : found) {
    threads.emplace_back([this, &one] {
      one = registry_.VLLoadAlertBundle("Test") && registry_.makeEmailFormatter("Probe") != nullptr;
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_THAT(found, testing::Each(1));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(NativeBundleTest, ABundleWithCodeCanDeclareAlertTypesToo) {
  write("Probe");
  VLAlert alert;
  alert.bundle = "Test";
  alert.type = "Test";
  const auto subclass = registry_.alertSubclass(alert, nullptr);
  ASSERT_NE(subclass, nullptr);
  EXPECT_EQ(subclass->subject("en"), "A test");
}

TEST_F(NativeBundleTest, ANameBelongsToTheFirstBundleThatTakesIt) {
  write("Probe");
  directory_.writeNativeBundle("Second.bundle", module("Probe"));
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Second"));
  const auto formatter = registry_.makeEmailFormatter("Probe");
  ASSERT_NE(formatter, nullptr);
  std::optional<Error> error;
  EXPECT_EQ(formatter->formatMessage(PlainAlert(), "fail", &error), std::nullopt);
  ASSERT_TRUE(error.has_value());
  EXPECT_THAT(error->localizedDescription(), HasSubstr("bundle 'Test'"));
}

TEST_F(NativeBundleTest, RefusesCodeOfAnotherInterface) {
  write("OtherVersion");
  EXPECT_EQ(refusal(), "it is made for version 2 of the interface, and this is version 1");
}

TEST_F(NativeBundleTest, RefusesCodeThatLacksASymbol) {
  const fs::path code = write("NoVersion");
  EXPECT_EQ(refusal(), "it lacks the symbol velto_alert_bundle_interface");
  fs::remove(code);
  fs::copy_file(module("NoEntry"), code);
  fs::permissions(code, fs::perms(0644));
  EXPECT_EQ(refusal(), "it lacks the symbol velto_alert_bundle_register");
}

TEST_F(NativeBundleTest, KeepsNoClassOfABundleThatGivesUp) {
  write("Refusing");
  EXPECT_FALSE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_EQ(registry_.makeEmailFormatter("Refused"), nullptr);
  EXPECT_THAT(log_.lines(),
              ElementsAre("Alert bundle 'Test' not loaded: its registration gave 17"));
}

TEST_F(NativeBundleTest, RefusesWhatIsNoCode) {
  const fs::path code = write("Probe");
  std::ofstream(code) << "no machine code";
  EXPECT_THAT(refusal(), AllOf(HasSubstr(code.string() + ": "), Not(HasSubstr("/proc/self/fd"))));
}

TEST_F(NativeBundleTest, RefusesACodeFileThatOthersCanWrite) {
  const fs::path code = write("Probe");
  for (const unsigned mode : {0664U, 0646U, 0666U, 0777U}) {
    fs::permissions(code, fs::perms(mode));
    EXPECT_EQ(refusal(), code.string() + " can be written by others than its owner");
  }
}

TEST_F(NativeBundleTest, RefusesDirectoriesThatOthersCanWrite) {
  write("Probe");
  for (const std::string folder : {"", "/Contents", "/Contents/Linux"}) {
    fs::permissions(bundlePath() + folder, fs::perms(0775));
    EXPECT_EQ(refusal(), bundlePath() + folder + " can be written by others than its owner");
    fs::permissions(bundlePath() + folder, fs::perms(0755));
  }
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
}

TEST_F(NativeBundleTest, RefusesAnAlertsDirectoryThatOthersCanWrite) {
  write("Probe");
  fs::permissions(directory_.path(), fs::perms(0777));
  EXPECT_EQ(refusal(), directory_.path() + " can be written by others than its owner");
}

TEST_F(NativeBundleTest, RefusesABundleThatIsALink) {
  const AlertBundleDirectory elsewhere;
  elsewhere.writeNativeBundle("Test.bundle", module("Probe"));
  fs::create_symlink(elsewhere.path() + "/Test.bundle", bundlePath());
  EXPECT_THAT(refusal(), testing::StartsWith(bundlePath() + ": "));
}

TEST_F(NativeBundleTest, RefusesWhatBelongsToAnotherUser) {
  if (::geteuid() != 0) {
    return skipOrFail("only root can give files away");
  }
  const fs::path code = write("Probe");
  for (const std::string& path : {bundlePath() + "/Contents", code.string()}) {
    ASSERT_EQ(::chown(path.c_str(), 65534, 0), 0);
    EXPECT_EQ(refusal(), path + " belongs to user 65534");
    ASSERT_EQ(::chown(path.c_str(), 0, 0), 0);
  }
}

TEST_F(NativeBundleTest, RefusesWhatIsNoRegularFile) {
  const fs::path code = write("Probe");
  fs::remove(code);
  EXPECT_EQ(refusal(), code.string() + ": No such file or directory");
  ASSERT_EQ(::mkfifo(code.c_str(), 0600), 0);
  EXPECT_EQ(refusal(), code.string() + " is not a regular file");
  fs::remove(code);
  fs::create_directory(code);
  fs::permissions(code, fs::perms(0755));
  EXPECT_EQ(refusal(), code.string() + " is not a regular file");
  fs::remove(code);
  fs::create_symlink(module("Probe"), code);
  EXPECT_EQ(refusal(), code.string() + ": Too many levels of symbolic links");
}

TEST_F(NativeBundleTest, TakesOnlyAPlainFileNameForTheCode) {
  write("Probe");
  for (const std::string name : {"", ".", "..", "../Linux/libTest.so", "/lib/libTest.so"}) {
    directory_.writeInfo("Test.bundle", "{ CFBundleExecutable = \"" + name + "\"; }");
    EXPECT_EQ(refusal(), bundlePath() + " names '" + name + "' as its code, which is no file name");
  }
}

TEST_F(NativeBundleTest, TriesRefusedCodeAgainOnlyInTheNextRegistry) {
  const fs::path code = write("Probe");
  fs::permissions(code, fs::perms(0666));
  EXPECT_FALSE(registry_.VLLoadAlertBundle("Test"));
  fs::permissions(code, fs::perms(0644));
  EXPECT_FALSE(registry_.VLLoadAlertBundle("Test"));
  AlertBundleRegistry next(directory_.path(), FileManager::system(), clock_, log_);
  EXPECT_TRUE(next.VLLoadAlertBundle("Test"));
}

}  // namespace
}  // namespace velto
