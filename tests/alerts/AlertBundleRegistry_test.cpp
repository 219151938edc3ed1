// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertBundleRegistry.h"

#include <filesystem>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileManager.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::string_view kInfo = "{ VLAlertTypes = { Test = {}; }; }";

/// The machine's file system, which counts how often a directory is listed.
class CountingFileManager : public FileManager {
 public:
  std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path,
                                                              ErrorSlot error) const override {
    ++listings;
    return FileManager::system().contentsOfDirectory(path, error);
  }

  mutable int listings = 0;
};

class AlertBundleRegistryTest : public testing::Test {
 protected:
  std::unique_ptr<VLAlertSubclass> open(std::optional<std::string> bundle,
                                        std::optional<std::string> type = "Test",
                                        ErrorSlot error = nullptr) {
    VLAlert alert;
    alert.bundle = std::move(bundle);
    alert.type = std::move(type);
    return registry_.alertSubclass(alert, error);
  }
  Error errorOf(std::optional<std::string> bundle, std::optional<std::string> type = "Test") {
    std::optional<Error> error;
    EXPECT_EQ(open(std::move(bundle), std::move(type), &error), nullptr);
    EXPECT_TRUE(error.has_value());
    return error.value_or(Error());
  }

  AlertBundleDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry registry_{directory_.path(), FileManager::system(), clock_, log_};
};

TEST_F(AlertBundleRegistryTest, FindsTheAlertsOwnClass) {
  directory_.writeInfo("Disk.bundle", kInfo);
  directory_.writeStrings("Disk.bundle", "en", "\"Test.subject\" = \"A test\";");
  const auto alert = open("Disk");
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(alert->subject("en"), "A test");
  EXPECT_EQ(alert->alert().bundle, "Disk");
}

TEST_F(AlertBundleRegistryTest, FindsABundleUnderTheKeyThatDiscoveryGivesIt) {
  directory_.writeInfo("a.bundle.old", kInfo);
  EXPECT_NE(open("a.bundle"), nullptr);
  EXPECT_EQ(open("a"), nullptr);
  EXPECT_EQ(open("a.bundle.old"), nullptr);
  directory_.writeInfo("plain", kInfo);
  EXPECT_EQ(open("plain"), nullptr);
}

TEST_F(AlertBundleRegistryTest, PrefersTheUsualNameOfABundle) {
  directory_.writeInfo("X.bundle.bundles", kInfo);
  directory_.writeInfo("X.bundle.bundle", "{ VLAlertTypes = { Other = {}; }; }");
  EXPECT_NE(open("X.bundle", "Other"), nullptr);
}

TEST_F(AlertBundleRegistryTest, FindsABundleThatComesLater) {
  EXPECT_EQ(open("Disk"), nullptr);
  directory_.writeInfo("Disk.bundle", kInfo);
  clock_.set(1);
  EXPECT_NE(open("Disk"), nullptr);
}

TEST_F(AlertBundleRegistryTest, LooksForAMissingBundleOnceASecond) {
  EXPECT_EQ(open("Disk"), nullptr);
  directory_.writeInfo("Disk.bundle", kInfo);
  clock_.set(0.9);
  EXPECT_EQ(open("Disk"), nullptr);
  clock_.set(-5);
  EXPECT_NE(open("Disk"), nullptr) << "a clock that is set back hides nothing";
}

TEST_F(AlertBundleRegistryTest, ManyAlertsOfAMissingBundleReadTheDirectoryOnce) {
  CountingFileManager files;
  AlertBundleRegistry registry(directory_.path(), files, clock_, log_);
  VLAlert alert;
  alert.bundle = "Missing";
  alert.type = "Test";
  for (int count = 0; count < 20000; ++count) {
    EXPECT_EQ(registry.alertSubclass(alert, nullptr), nullptr);
  }
  EXPECT_EQ(files.listings, 1);
  clock_.set(1);
  EXPECT_EQ(registry.alertSubclass(alert, nullptr), nullptr);
  EXPECT_EQ(files.listings, 2);
}

TEST_F(AlertBundleRegistryTest, KeepsABundleThatItHasRead) {
  directory_.writeInfo("Disk.bundle", kInfo);
  ASSERT_NE(open("Disk"), nullptr);
  std::filesystem::remove_all(directory_.path() + "/Disk.bundle");
  EXPECT_NE(open("Disk"), nullptr);
}

TEST_F(AlertBundleRegistryTest, SaysWhatTheAlertLacks) {
  EXPECT_EQ(errorOf(std::nullopt), makeError(kBundleErrorDomain, kAlertWithoutBundleErrorCode,
                                             "The alert names no alert bundle."));
  EXPECT_EQ(errorOf("Disk", std::nullopt), makeError(kBundleErrorDomain, kAlertWithoutTypeErrorCode,
                                                     "The alert of bundle 'Disk' names no type."));
}

TEST_F(AlertBundleRegistryTest, SaysWhichBundleOrTypeIsMissing) {
  EXPECT_EQ(errorOf("Disk"), makeError(kBundleErrorDomain, kBundleNotOpenedErrorCode,
                                       "Alert bundle 'Disk' cannot be opened: no such bundle in " +
                                           directory_.path() + "."));
  directory_.writeInfo("Disk.bundle", kInfo);
  clock_.set(1);
  EXPECT_EQ(errorOf("Disk", "Foo"), makeError(kBundleErrorDomain, kNoSuchAlertTypeErrorCode,
                                              "Alert bundle 'Disk' has no alert type 'Foo'."));
}

TEST_F(AlertBundleRegistryTest, LeavesAnEarlierErrorInPlace) {
  std::optional<Error> error = makeError("Store", 7, "first");
  EXPECT_EQ(open("Disk", "Test", &error), nullptr);
  EXPECT_EQ(error, makeError("Store", 7, "first"));
}

TEST_F(AlertBundleRegistryTest, NoNameLeadsOutOfTheDirectory) {
  const AlertBundleDirectory outside;
  outside.writeInfo("Out.bundle", kInfo);
  outside.writeInfo(".bundle", kInfo);
  directory_.writeInfo("In.bundle", kInfo);
  const std::string elsewhere = std::filesystem::path(outside.path()).filename().string();
  for (const std::string& name :
       {std::string("../") + elsewhere + "/Out", outside.path() + "/Out", outside.path() + "/",
        std::string(), std::string("."), std::string(".."), std::string("./In"),
        std::string("../") + elsewhere + "/", std::string("In.bundle\0", 10),
        std::string("In\0", 3)}) {
    EXPECT_EQ(open(name), nullptr) << name;
    EXPECT_FALSE(registry_.VLLoadAlertBundle(name)) << name;
  }
}

TEST_F(AlertBundleRegistryTest, LogsOnceWhatCannotBeLoaded) {
  directory_.writeInfo("Disk.bundle", kInfo);
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_FALSE(registry_.VLLoadAlertBundle("Common"));
    EXPECT_FALSE(registry_.VLLoadAlertBundle("Disk"));
  }
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(
          "Alert bundle 'Common' not loaded: there is no such bundle in " + directory_.path(),
          "Alert bundle 'Disk' not loaded: " + directory_.path() + "/Disk.bundle has no code"));
  EXPECT_EQ(registry_.makeEmailFormatter("EmailFormatter"), nullptr);
}

TEST_F(AlertBundleRegistryTest, ManyThreadsSeeTheSameBundles) {
  directory_.writeInfo("Disk.bundle", kInfo);
  directory_.writeStrings("Disk.bundle", "en", "\"Test.subject\" = \"A test\";");
  std::vector<std::optional<std::string>> subjects(6);
  std::vector<std::thread> threads;
  for (auto& subject : subjects) {
    threads.emplace_back([this, &subject] {
      EXPECT_FALSE(registry_.VLLoadAlertBundle("Missing"));
      if (const auto alert = open("Disk")) subject = alert->subject("en");
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_THAT(subjects, testing::Each(testing::Optional(std::string("A test"))));
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("'Missing' not loaded")));
}

}  // namespace
}  // namespace velto
