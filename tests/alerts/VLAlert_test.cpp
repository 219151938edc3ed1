// SPDX-License-Identifier: Apache-2.0
#include "alerts/VLAlert.h"

#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Shared.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

/// A registry with the bundle Disk, which the process shares.
class VLAlertTest : public testing::Test {
 protected:
  VLAlertTest() {
    directory_.writeInfo("Disk.bundle",
                         "{ VLAlertTypes = { Full = { RecoveryOptions = (Free); }; }; }");
  }

  static VLAlert fullDisk() {
    VLAlert alert;
    alert.bundle = "Disk";
    alert.type = "Full";
    return alert;
  }

  AlertBundleDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry registry_{directory_.path(), FileManager::system(), clock_, log_};
  const Shared<AlertBundleRegistry> shared_{registry_};
};

TEST_F(VLAlertTest, FindsItsClassInTheSharedBundles) {
  VLAlert alert = fullDisk();
  std::optional<Error> error;
  const auto subclass = alert.alertSubclass(&error);
  ASSERT_NE(subclass, nullptr) << error->localizedDescription();
  EXPECT_EQ(subclass->recoveryOptions(), std::vector<std::string>{"Free"});
  EXPECT_EQ(VLAlert::alertWithAlert(*subclass), alert);

  alert.type = "Empty";
  EXPECT_EQ(alert.alertSubclass(&error), nullptr);
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, kNoSuchAlertTypeErrorCode);
}

TEST(VLAlert, AnAbsentValueIsNotAnEmptyOne) {
  VLAlert absent;
  VLAlert empty;
  empty.attributes = PropertyList::Dictionary();
  EXPECT_NE(absent, empty);
  absent.attributes = PropertyList::Dictionary();
  EXPECT_EQ(absent, empty);
}

}  // namespace
}  // namespace velto
