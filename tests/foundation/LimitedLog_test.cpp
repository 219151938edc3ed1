// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/LimitedLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

using testing::ElementsAre;

class LimitedLogTest : public testing::Test {
 protected:
  FakeLog log_;
  FakeClock clock_{1000};
  LimitedLog limited_{log_, clock_};
};

TEST_F(LimitedLogTest, SaysEachLineOnceAMinute) {
  for (int time = 0; time < 3; ++time) {
    limited_.warning("a");
    limited_.warning("b");
  }
  EXPECT_THAT(log_.lines(), ElementsAre("a", "b"));
  clock_.set(1059.9);
  limited_.warning("a");
  EXPECT_THAT(log_.lines(), ElementsAre("a", "b"));
}

TEST_F(LimitedLogTest, TellsHowOftenALineWasNotSaid) {
  for (int time = 0; time < 3; ++time) {
    limited_.warning("a");
  }
  clock_.set(1060);
  limited_.warning("a");
  EXPECT_THAT(log_.lines(), ElementsAre("a", "a (and 2 times more since it was last said)"));
  clock_.set(1120);
  limited_.warning("a");
  EXPECT_EQ(log_.lines().back(), "a");
}

TEST_F(LimitedLogTest, AClockThatIsSetBackSilencesNothing) {
  limited_.warning("a");
  clock_.set(10);
  limited_.warning("a");
  EXPECT_EQ(log_.lines().size(), 2U);
}

TEST_F(LimitedLogTest, ManyLinesAreAllSaid) {
  for (int number = 0; number < 5000; ++number) {
    limited_.warning(std::to_string(number));
  }
  EXPECT_EQ(log_.lines().size(), 5000U);
}

TEST_F(LimitedLogTest, SaysTheFirstOfAKind) {
  limited_.warningOf("kind", "process 1");
  limited_.warningOf("kind", "process 2");
  limited_.warningOf("other kind", "process 3");
  EXPECT_THAT(log_.lines(), ElementsAre("process 1", "process 3"));
}

TEST_F(LimitedLogTest, SaysNothingAgainWithinItsTime) {
  LimitedLog daily(log_, clock_, LimitedLog::kDay);
  daily.warning("line");
  clock_.set(1000 + LimitedLog::kDay - 1);
  daily.warning("line");
  EXPECT_THAT(log_.lines(), ElementsAre("line"));
}

}  // namespace
}  // namespace velto
