// SPDX-License-Identifier: Apache-2.0
#include "tests/support/SkipOrFail.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "tests/foundation/ScopedEnvironment.h"

namespace velto {
namespace {

/// What a test that cannot run reports where CI has a value, or none.
testing::TestPartResult reportWithCI(const std::optional<std::string>& value) {
  ScopedEnvironment environment;
  environment.set("CI", value);
  testing::TestPartResultArray reports;
  {
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &reports);
    skipOrFail("only root can do this");
  }
  EXPECT_EQ(reports.size(), 1);
  return reports.GetTestPartResult(0);
}

TEST(SkipOrFail, SkipsWithTheReason) {
  const auto report = reportWithCI(std::nullopt);
  EXPECT_TRUE(report.skipped());
  EXPECT_STREQ(report.message(), "only root can do this");
}

TEST(SkipOrFail, FailsWithTheReasonWhereCIIsSet) {
  for (const char* value : {"1", "true", ""}) {
    const auto report = reportWithCI(value);
    EXPECT_TRUE(report.fatally_failed()) << value;
    EXPECT_STREQ(report.message(), "Failed\nonly root can do this") << value;
  }
}

}  // namespace
}  // namespace velto
