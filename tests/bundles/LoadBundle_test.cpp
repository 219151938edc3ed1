// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <limits>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

class LoadBundleTest : public testing::Test {
 protected:
  LoadBundleTest() {
    alert_.bundle = "Load";
    alert_.type = "HighLoad";
    alert_.attributes = PropertyList::Dictionary{{"load", 12.54}};
  }

  FakeLog log_;
  AlertBundleRegistry registry_{VELTO_BUNDLES_DIR, FileManager::system(), Clock::system(), log_};
  VLAlert alert_;
};

TEST_F(LoadBundleTest, TheCodeTellsItsAlert) {
  std::optional<Error> error;
  const auto alert = registry_.alertSubclass(alert_, &error);
  ASSERT_NE(alert, nullptr) << error->localizedDescription();
  EXPECT_EQ(alert->subject("en"), "12.5: The processors are overloaded");
  EXPECT_EQ(alert->subject("de"), "12,5: Die Prozessoren sind überlastet");
  EXPECT_THAT(*alert->message("fr"), testing::HasSubstr("La charge moyenne est de 12,54."));
  EXPECT_THAT(alert->recoveryOptions(), testing::ElementsAre("Recheck"));
  alert_.attributes = std::nullopt;
  EXPECT_EQ(registry_.alertSubclass(alert_, nullptr)->subject("en"),
            "The processors are overloaded");
}

TEST_F(LoadBundleTest, WhateverTheAttributeIsTheSubjectIsText) {
  const std::string text = "The processors are overloaded";
  std::string zeros;  // of 1e300, and the commas between them
  for (int group = 0; group < 100; ++group)
    zeros += ",000";
  const std::vector<std::pair<PropertyList, std::string>> cases = {
      {1e28, "10,000,000,000,000,000,000,000,000,000: " + text},
      {-1e300, "-1" + zeros + ": " + text},
      {5e-324, "0: " + text},
      {std::int64_t{-7}, "-7: " + text},
      {std::numeric_limits<std::uint64_t>::max(), "18,446,744,073,709,552,000: " + text},
      {true, text},
      {std::numeric_limits<double>::infinity(), "∞: " + text},
      {std::string(100000, 'x'), text},
      {Date(1e300), text},
      {Data(std::string_view("bytes")), text},
      {PropertyList::Array{1e28}, text},
      {PropertyList::Dictionary{{"load", 1e28}}, text},
      {PropertyList(), text},
  };
  for (const auto& [value, subject] : cases) {
    alert_.attributes = PropertyList::Dictionary{{"load", value}};
    EXPECT_EQ(registry_.alertSubclass(alert_, nullptr)->subject("en"), subject);
  }
}

TEST_F(LoadBundleTest, TheActionLooksAgain) {
  const auto action = registry_.alertAction("Recheck", alert_, nullptr);
  ASSERT_NE(action, nullptr);
  EXPECT_EQ(action->title("en"), "Check again");
  // The load may change between two looks, but not say two things at once.
  std::optional<Error> error;
  const bool isDone = action->runWithLocalization("en", &error);
  EXPECT_EQ(isDone, !error.has_value());
  if (error) {
    EXPECT_EQ(error, makeError("Load", 1, "The load is still high."));
  }
}

}  // namespace
}  // namespace velto
