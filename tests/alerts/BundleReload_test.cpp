// SPDX-License-Identifier: Apache-2.0
// What a reload changes, and what it leaves alone.

#include <atomic>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/FileManager.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class BundleReloadTest : public testing::Test {
 protected:
  std::unique_ptr<VLAlertSubclass> alert(BundleInUse* bundle = nullptr) {
    return registry_.alertSubclass(alert_, nullptr, bundle);
  }
  std::string subject(BundleInUse* bundle = nullptr) {
    const auto made = alert(bundle);
    return made == nullptr ? "no such alert" : made->subject("en").value_or("none");
  }

  /// A bundle in data alone.
  void write(const std::string& text) const {
    directory_.writeInfo("Test.bundle", "{ VLAlertTypes = { Test = {}; }; }");
    directory_.writeStrings("Test.bundle", "en", "\"Test.subject\" = \"" + text + "\";");
  }
  void remove() const { fs::remove_all(directory_.path() + "/Test.bundle"); }

  /// A bundle with this module as its code, in place of the one that was there.
  fs::path writeCode(const std::string& module) const {
    remove();
    return directory_.writeNativeBundle("Test.bundle",
                                        fs::path(VELTO_TEST_MODULES) / ("lib" + module + ".so"));
  }
  bool hasFormatter() { return registry_.makeEmailFormatter("Probe") != nullptr; }

  static std::size_t openFiles() {
    const fs::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }

  AlertBundleDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry registry_{directory_.path(), FileManager::system(), clock_, log_};
  const VLAlert alert_ = [] {
    VLAlert alert;
    alert.bundle = "Test";
    alert.type = "Test";
    return alert;
  }();
};

TEST_F(BundleReloadTest, WhatHasChangedCountsFromThenOn) {
  write("before");
  EXPECT_EQ(subject(), "before");
  write("after");
  EXPECT_EQ(subject(), "before");
  registry_.reload();
  EXPECT_EQ(subject(), "after");
  remove();
  registry_.reload();
  EXPECT_EQ(subject(), "no such alert");
}

TEST_F(BundleReloadTest, ABundleThatWasLookedForInVainIsLookedForAtOnce) {
  EXPECT_EQ(subject(), "no such alert");
  write("new");
  registry_.reload();
  EXPECT_EQ(subject(), "new");
}

TEST_F(BundleReloadTest, AnAlertKeepsTheBundleThatItBeganWith) {
  write("before");
  BundleInUse bundle;
  const auto first = alert(&bundle);
  ASSERT_NE(first, nullptr);
  write("after");
  registry_.reload();
  EXPECT_EQ(first->subject("en"), "before");
  EXPECT_EQ(subject(&bundle), "before");
  EXPECT_EQ(subject(), "after");
  remove();
  registry_.reload();
  EXPECT_EQ(subject(&bundle), "before");
}

TEST_F(BundleReloadTest, AnAlertKeepsTheCodeThatItBeganWith) {
  writeCode("Classes");
  VLAlert full = alert_;
  full.type = "Full";
  BundleInUse bundle;
  ASSERT_NE(registry_.alertSubclass(full, nullptr, &bundle), nullptr);
  writeCode("Default");
  registry_.reload();
  EXPECT_EQ(registry_.alertSubclass(full, nullptr)->subject("en"), "Something of Full");
  EXPECT_NE(registry_.alertSubclass(full, nullptr, &bundle)->subject("en"), "Something of Full");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(BundleReloadTest, CodeIsReplacedWithoutBeingAskedFor) {
  writeCode("Default");
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_FALSE(hasFormatter());
  writeCode("Probe");
  EXPECT_FALSE(hasFormatter());
  registry_.reload();
  EXPECT_TRUE(hasFormatter());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(BundleReloadTest, CodeThatHasNotChangedStaysAndTakesNothingMore) {
  writeCode("Probe");
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  const std::size_t before = openFiles();
  for (int count = 0; count < 3; ++count) {
    registry_.reload();
    EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
    EXPECT_TRUE(hasFormatter());
  }
  EXPECT_EQ(openFiles(), before);
}

TEST_F(BundleReloadTest, TheClassesOfABundleThatHasGoneGo) {
  writeCode("Probe");
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  remove();
  registry_.reload();
  EXPECT_FALSE(hasFormatter());
}

TEST_F(BundleReloadTest, TheClassesOfABundleThatNoLongerHasCodeGo) {
  writeCode("Probe");
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  write("data alone");
  registry_.reload();
  EXPECT_FALSE(hasFormatter());
  EXPECT_EQ(subject(), "data alone");
}

TEST_F(BundleReloadTest, CodeThatWasRefusedIsTriedAgain) {
  const fs::path code = writeCode("Probe");
  fs::permissions(code, fs::perms(0666));
  EXPECT_FALSE(registry_.VLLoadAlertBundle("Test"));
  fs::permissions(code, fs::perms(0644));
  EXPECT_FALSE(registry_.VLLoadAlertBundle("Test"));
  registry_.reload();
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_TRUE(hasFormatter());
}

TEST_F(BundleReloadTest, CodeThatHasBecomeUnusableIsRefusedWithALine) {
  const fs::path code = writeCode("Probe");
  EXPECT_TRUE(registry_.VLLoadAlertBundle("Test"));
  fs::permissions(code, fs::perms(0666));
  registry_.reload();
  EXPECT_FALSE(registry_.VLLoadAlertBundle("Test"));
  EXPECT_FALSE(hasFormatter());
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("can be written by others")));
}

TEST_F(BundleReloadTest, ReloadsBesideAlertsThatAreBeingMade) {
  writeCode("Probe");
  std::atomic<bool> isOver = false;
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (int count = 0; count < 4; ++count) {
    threads.emplace_back([&] {
      while (!isOver) {
        BundleInUse bundle;
        const auto first = alert(&bundle);
        const auto second = alert(&bundle);
        const bool isWhole = first != nullptr && second != nullptr &&
                             first->subject("en") == second->subject("en") &&
                             registry_.VLLoadAlertBundle("Test");
        failures += isWhole ? 0 : 1;
      }
    });
  }
  const fs::path code = directory_.path() + "/Test.bundle/Contents/Linux/libTest.so";
  for (int count = 0; count < 20; ++count) {
    // As a package does it: another file, under the name at once.
    const std::string module = count % 2 == 0 ? "Default" : "Probe";
    fs::copy_file(fs::path(VELTO_TEST_MODULES) / ("lib" + module + ".so"),
                  directory_.path() + "/new");
    fs::permissions(directory_.path() + "/new", fs::perms(0644));
    fs::rename(directory_.path() + "/new", code);
    registry_.reload();
  }
  isOver = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failures, 0);
  EXPECT_TRUE(hasFormatter());
}

}  // namespace
}  // namespace velto
