// SPDX-License-Identifier: Apache-2.0
#include "daemon/DaemonParts.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

class DaemonPartsTest : public ::testing::Test {
 protected:
  DaemonPartsTest() { environment_.set("VELTO_ROOT", root_.path().string()); }

  const TemporaryDirectory root_;
  ScopedEnvironment environment_;
};

TEST_F(DaemonPartsTest, TheSharedDoorsLeadToTheDaemonsParts) {
  environment_.set("LANGUAGE", "sv");
  DaemonParts parts;
  EXPECT_EQ(&ADAlertPusher::sharedInstance(), &parts.pusher);
  EXPECT_EQ(&ADAlertMailer::sharedInstance(), &parts.mailer);
  EXPECT_EQ(&VLEDaemonClient::sharedClient(), &parts.events);
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "sv");
  EXPECT_EQ(ADAlertMailer::defaultLocalizationForEmailAddress("a@b.com"), "sv");
  root_.write("usr/lib/velto/alert-bundles/Disk.bundle/Contents/Info.plist",
              "{ VLAlertTypes = { Full = {}; }; }");
  VLAlert alert;
  alert.bundle = "Disk";
  alert.type = "Full";
  EXPECT_NE(alert.alertSubclass(nullptr), nullptr);
}

TEST_F(DaemonPartsTest, EverybodyIsHandedTheSameParts) {
  DaemonParts parts;
  const auto services = parts.services();
  EXPECT_EQ(&services.stores.bundles(), &parts.bundles);
  EXPECT_EQ(&services.stores.languages(), &parts.languages);
  EXPECT_EQ(&services.bundles, &parts.bundles);
  EXPECT_EQ(&services.pusher, &parts.pusher);
  EXPECT_EQ(&services.mailer, &parts.mailer);
  EXPECT_EQ(&parts.listenerSeams().codeSigning, &parts.codeSigning);
  EXPECT_EQ(&parts.listenerSeams().events, &parts.events);
}

TEST_F(DaemonPartsTest, MakingThemTouchesNoFile) {
  { const DaemonParts parts; }
  EXPECT_TRUE(std::filesystem::is_empty(root_.path()));
}

TEST(DaemonPartsDeathTest, BeforeThemTheDoorsLeadNowhere) {
  EXPECT_DEATH(ADAlertPusher::sharedInstance(), "ADAlertPusher::sharedInstance is used before");
  EXPECT_DEATH(ADAlertMailer::sharedInstance(), "ADAlertMailer::sharedInstance is used before");
  EXPECT_DEATH(VLEDaemonClient::sharedClient(), "VLEDaemonClient::sharedClient is used before");
  EXPECT_DEATH(ADAlertStore::preferredLocalizationIdentifier(),
               "ADAlertStore::preferredLocalizationIdentifier is used before");
  EXPECT_DEATH(ADAlertMailer::defaultLocalizationForEmailAddress(""),
               "ADAlertMailer::defaultLocalizationForEmailAddress is used before");
  EXPECT_DEATH(VLAlert().alertSubclass(nullptr), "VLAlert::alertSubclass is used before");
  EXPECT_DEATH(VLAlertAction::alertActionWithClassName("", VLAlert(), nullptr),
               "VLAlertAction::alertActionWithClassName is used before");
}

}  // namespace
}  // namespace velto
