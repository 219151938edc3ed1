// SPDX-License-Identifier: Apache-2.0
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "daemon/AlertsDaemon.h"
#include "tests/daemon/Callers.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UnresolvedTest : public ::testing::Test {
 protected:
  UnresolvedTest() {
    system_.clock.set(1000);
    // For each type, the actions named after it.
    system_.addBundle("Disk.bundle", R"({ VLAlertTypes = {
        Plain = {}; Gone = { RecoveryOptions = (Yes); }; There = { RecoveryOptions = (No); };
        Twice = { RecoveryOptions = (Yes, No, Yes); };
        Odd = { RecoveryOptions = (Missing, Yes); }; Broken = { RecoveryOptions = (Broken); }; }; })");
    system_.addAction("Disk.bundle", "Yes", "exit 0");
    system_.addAction("Disk.bundle", "No", "exit 1");
    system_.addAction("Disk.bundle", "Broken", "exit 2");
  }

  void insert(const std::string& type, double sent = 1) {
    auto store = system_.store();
    VLAlert alert;
    alert.identifier = type;
    alert.type = type;
    alert.bundle = "Disk";
    alert.sentDate = Date(sent);
    store.insertAlert(alert);
    ASSERT_TRUE(store.save(nullptr));
  }

  /// The identifiers of what was resolved; nothing when the round did not take place.
  std::optional<std::vector<std::string>> update() {
    auto store = system_.store();
    const auto resolved = daemon_->updateUnresolvedAlerts(store, error_);
    if (!resolved) {
      return std::nullopt;
    }
    std::vector<std::string> identifiers;
    for (const VLAlert& alert : *resolved) {
      EXPECT_EQ(alert.resolvedDate, Date(1000));
      identifiers.push_back(alert.identifier.value_or("none"));
    }
    return identifiers;
  }

  std::optional<Date> resolvedDate(const std::string& identifier) {
    return system_.store().getAlertWithIdentifier(identifier, nullptr)->resolvedDate;
  }

  ScratchSystem system_;
  std::unique_ptr<AlertsDaemon> daemon_ = AlertsDaemon::initAsRoot(servicesOf(system_));
  std::optional<Error> error_;
};

TEST_F(UnresolvedTest, WhatAnActionSaysHasGoneIsResolvedAndSaved) {
  insert("Plain", 1);
  insert("There", 2);
  insert("Gone", 3);
  EXPECT_THAT(*update(), ElementsAre("Gone"));
  EXPECT_EQ(error_, std::nullopt);
  EXPECT_EQ(resolvedDate("Gone"), Date(1000));
  EXPECT_EQ(resolvedDate("There"), std::nullopt);
  EXPECT_EQ(resolvedDate("Plain"), std::nullopt);
  EXPECT_THAT(*update(), IsEmpty()) << "it is resolved now";
}

TEST_F(UnresolvedTest, EachActionThatSaysSoCounts) {
  insert("Twice");
  EXPECT_THAT(*update(), ElementsAre("Twice", "Twice"));
}

TEST_F(UnresolvedTest, AnActionThatFailsDoesNotEndTheRound) {
  insert("Odd", 3);
  insert("Broken", 2);
  insert("Gone", 1);
  EXPECT_THAT(*update(), ElementsAre("Odd", "Gone"));
  ASSERT_TRUE(error_);
  EXPECT_EQ(error_->code, kNoSuchActionErrorCode);
  EXPECT_EQ(resolvedDate("Odd"), Date(1000));
}

TEST_F(UnresolvedTest, AnErrorInTheSlotEndsTheRoundBeforeItBegins) {
  insert("Gone");
  error_ = makeError("Earlier", 1, "");
  EXPECT_EQ(update(), std::nullopt);
  EXPECT_EQ(resolvedDate("Gone"), std::nullopt);
}

TEST_F(UnresolvedTest, AnAlertThatItsBundleDoesNotKnowEndsTheRound) {
  insert("Gone");
  insert("Unknown");
  EXPECT_EQ(update(), std::nullopt);
  EXPECT_EQ(error_->code, kNoSuchAlertTypeErrorCode);
}

TEST_F(UnresolvedTest, AlertsWithoutActionsCostNoProcess) {
  auto store = system_.store();
  for (int number = 0; number < 1000; ++number) {
    VLAlert alert;
    alert.identifier = std::to_string(number);
    alert.type = "Plain";
    alert.bundle = "Disk";
    store.insertAlert(alert);
  }
  ASSERT_TRUE(store.save(nullptr));
  // Every program that the bundle has would leave a trace.
  const auto trace = system_.root.path() / "trace";
  for (const char* action : {"Yes", "No", "Broken"}) {
    system_.addAction("Disk.bundle", action, "touch " + trace.string());
  }
  EXPECT_THAT(*update(), IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(trace));
  insert("Gone");
  update();
  EXPECT_TRUE(std::filesystem::exists(trace)) << "as one with an action does";
}

TEST_F(UnresolvedTest, ThePlainAlertsStandBehindTheObjects) {
  insert("Gone", 2);
  insert("Plain", 1);
  auto store = system_.store();
  const auto objects = store.getUnresolvedAlertSubclasses(nullptr);
  EXPECT_EQ(AlertsDaemon::removeSubclasses(objects), store.getAlertsOfBundle("Disk", nullptr));
}

}  // namespace
}  // namespace velto
