// SPDX-License-Identifier: Apache-2.0
// The example in Fortran.

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "tests/support/FakeLog.h"
#include "tests/support/SkipOrFail.h"

namespace velto {
namespace {

TEST(QueueBundle, WritesTheDateInTheReadersLanguage) {
  if (!std::filesystem::exists(VELTO_EXAMPLES_DIR "/Queue.bundle")) {
    return skipOrFail("there was no Fortran compiler");
  }
  FakeLog log;
  AlertBundleRegistry registry(VELTO_EXAMPLES_DIR, FileManager::system(), Clock::system(), log);
  VLAlert alert;
  alert.bundle = "Queue";
  alert.type = "Long";
  alert.attributes =
      PropertyList::Dictionary{{"jobs", 1200}, {"since", Date::fromUnixSeconds(1795176000)}};
  std::optional<Error> error;
  const auto made = registry.alertSubclass(alert, &error);
  ASSERT_NE(made, nullptr) << error->localizedDescription();
  EXPECT_EQ(made->subject("de"), "1.200 Aufträge warten");
  EXPECT_THAT(*made->message("de"),
              testing::HasSubstr("Es wird gewartet seit: 20. November 2026 um "));
  EXPECT_THAT(*made->message("en"), testing::HasSubstr("Waiting since: November 20, 2026 at "));
  EXPECT_EQ(made->message("fr"), made->message("en"));
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

}  // namespace
}  // namespace velto
