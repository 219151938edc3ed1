#include "alerts/VLAlert.h"

#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

/// The process's registry takes its directory from the environment once, so one test does it all.
TEST(VLAlert, FindsItsClassInTheSystemsBundles) {
  const TemporaryDirectory root;
  ScopedEnvironment environment;
  environment.set("VELTO_ROOT", root.path().string());
  root.write("usr/lib/velto/alert-bundles/Disk.bundle/Contents/Info.plist",
             "{ VLAlertTypes = { Full = { RecoveryOptions = (Free); }; }; }");

  VLAlert alert;
  alert.bundle = "Disk";
  alert.type = "Full";
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
