// SPDX-License-Identifier: Apache-2.0
#include "platform/push/PushReports.h"

#include <thread>

#include <gtest/gtest.h>

namespace velto {
namespace {

constexpr auto kPatient = std::chrono::hours(1);

std::optional<PushOutcome> wait(PushReports& reports, PushReports::Clock::duration time) {
  return reports.waitForFailure(PushReports::Clock::now() + time);
}

std::optional<std::uint64_t> status(const std::optional<PushOutcome>& outcome) {
  const auto* response = outcome ? std::get_if<PushErrorResponse>(&*outcome) : nullptr;
  return response == nullptr ? std::nullopt : std::optional(response->status);
}

TEST(PushReports, NothingExpectedIsNotWaitedFor) {
  PushReports reports;
  EXPECT_FALSE(wait(reports, kPatient));
  EXPECT_EQ(reports.giveUp(), 0u);
}

TEST(PushReports, WaitsForTheLastOutcome) {
  PushReports reports;
  for (int index = 0; index < 1000; ++index) {
    reports.expectOne();
  }
  std::thread sender([&] {
    for (int index = 0; index < 999; ++index) {
      reports.add(std::monostate());
    }
    reports.add(PushErrorResponse{500, {}});
  });
  EXPECT_EQ(status(wait(reports, kPatient)), 500u);
  EXPECT_FALSE(wait(reports, kPatient));
  sender.join();
  EXPECT_EQ(reports.giveUp(), 0u);
}

TEST(PushReports, GivesFailuresInTheirOrder) {
  PushReports reports;
  for (const std::uint64_t number : {410u, 500u}) {
    reports.expectOne();
    reports.add(PushErrorResponse{number, {}});
  }
  EXPECT_EQ(status(reports.takeFailure()), 410u);
  EXPECT_EQ(status(reports.takeFailure()), 500u);
  EXPECT_FALSE(reports.takeFailure());
}

TEST(PushReports, TimeIsUpAtTheDeadline) {
  for (const auto time : {std::chrono::milliseconds(1), std::chrono::milliseconds(-1)}) {
    PushReports reports;
    reports.expectOne();
    reports.expectOne();
    reports.add(std::monostate());
    EXPECT_FALSE(wait(reports, time));
    EXPECT_EQ(reports.giveUp(), 1u);
  }
}

TEST(PushReports, WhoHasGivenUpHearsNoMore) {
  PushReports reports;
  reports.expectOne();
  reports.expectOne();
  reports.add(PushErrorResponse{410, {}});
  EXPECT_EQ(reports.giveUp(), 1u);
  EXPECT_TRUE(reports.isGivenUp());
  reports.add(PushErrorResponse{500, {}});
  EXPECT_EQ(status(reports.takeFailure()), 410u) << "what came in before still counts";
  EXPECT_FALSE(wait(reports, kPatient));
}

}  // namespace
}  // namespace velto
