// SPDX-License-Identifier: Apache-2.0
#include "delivery/DeliveryJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/foundation/ScopedEnvironment.h"

namespace velto {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;

VLAlert diskAlert() {
  VLAlert alert;
  alert.identifier = "AlmostFull:1";
  alert.type = "AlmostFull";
  alert.bundle = "Disk";
  return alert;
}

TEST(DeliveryJournal, ADeliveryHasFieldsOfItsOwn) {
  EXPECT_THAT(
      journalFields(diskAlert(), {.channel = "mail",
                                  .recipients = "a@x.org, b@x.org",
                                  .locale = "en",
                                  .isDelivered = true,
                                  .status = 0,
                                  .duration = std::chrono::microseconds(1500)}),
      ElementsAre("MESSAGE=Alert AlmostFull:1 of Disk, mail to a@x.org, b@x.org: delivered",
                  "MESSAGE_ID=5b948e18490f447ab8f28cf86e632cd0", "PRIORITY=6",
                  "VELTO_ALERT_ID=AlmostFull:1", "VELTO_BUNDLE=Disk", "VELTO_TYPE=AlmostFull",
                  "VELTO_CHANNEL=mail", "VELTO_RECIPIENTS=a@x.org, b@x.org", "VELTO_LOCALE=en",
                  "VELTO_RESULT=delivered", "VELTO_STATUS=0", "VELTO_DURATION_USEC=1500"));
}

TEST(DeliveryJournal, AFailureIsAWarning) {
  const auto fields = journalFields(
      diskAlert(), {.channel = "push", .recipients = "Phone", .locale = "en", .status = 410});
  EXPECT_EQ(fields[0], "MESSAGE=Alert AlmostFull:1 of Disk, push to Phone: failed with status 410");
  EXPECT_THAT(fields, Contains("PRIORITY=4"));
  EXPECT_THAT(fields, Contains("VELTO_RESULT=failed"));
  EXPECT_THAT(fields, Contains("VELTO_STATUS=410"));
}

TEST(DeliveryJournal, InAPrivateSystemAnEntryIsALineWhateverItHolds) {
  ScopedEnvironment environment;
  environment.set("VELTO_ROOT", "/nonexistent");
  testing::internal::CaptureStderr();
  DeliveryJournal::system().add(
      diskAlert(), {.channel = "mail", .recipients = "a@x.org\nVELTO_RESULT=x", .locale = "en"});
  const std::string line = testing::internal::GetCapturedStderr();
  EXPECT_THAT(line, StartsWith("MESSAGE=Alert AlmostFull:1 of Disk, mail to a@x.org VELTO_RESULT"));
  EXPECT_EQ(line.find('\n'), line.size() - 1);
}

}  // namespace
}  // namespace velto
