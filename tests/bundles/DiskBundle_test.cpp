// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <sys/statvfs.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

class DiskBundleTest : public testing::Test {
 protected:
  DiskBundleTest() {
    VLAlert alert;
    alert.bundle = "Disk";
    alert.type = "AlmostFull";
    alert.attributes = PropertyList::Dictionary{{"volume", "/home"}, {"percent", 97}};
    std::optional<Error> error;
    alert_ = registry_.alertSubclass(alert, &error);
    EXPECT_EQ(error, std::nullopt);
  }

  FakeLog log_;
  AlertBundleRegistry registry_{VELTO_BUNDLES_DIR, FileManager::system(), Clock::system(), log_};
  std::unique_ptr<VLAlertSubclass> alert_;
};

TEST_F(DiskBundleTest, TellsItsAlertInThreeLanguages) {
  ASSERT_NE(alert_, nullptr);
  EXPECT_EQ(alert_->subject("en"), "The volume /home is almost full");
  EXPECT_EQ(alert_->subject("fr"), "Le volume /home est presque plein");
  EXPECT_EQ(alert_->subject("de"), "Das Volume /home ist fast voll");
  EXPECT_EQ(alert_->subject("ja"), "The volume /home is almost full");
  for (const std::string_view language : {"en", "fr", "de"}) {
    EXPECT_THAT(*alert_->message(language), testing::ContainsRegex("/home .* 97 ?%"));
  }
}

TEST_F(DiskBundleTest, OffersToFreeSpace) {
  ASSERT_NE(alert_, nullptr);
  EXPECT_THAT(alert_->recoveryOptions(), testing::ElementsAre("FreeSpace"));
  std::optional<Error> error;
  const auto action = registry_.alertAction("FreeSpace", alert_->alert(), &error);
  ASSERT_NE(action, nullptr) << error->localizedDescription();
  EXPECT_EQ(action->title("fr"), "Vider le cache des paquets");
}

TEST_F(DiskBundleTest, IsResolvedWhenThereIsRoomAgain) {
  struct statvfs state {};
  ASSERT_EQ(statvfs("/", &state), 0);
  const double used = static_cast<double>(state.f_blocks - state.f_bfree);
  const double percent = std::ceil(used * 100 / (used + static_cast<double>(state.f_bavail)));
  VLAlert alert = alert_->alert();
  alert.attributes = PropertyList::Dictionary{{"percent", 97}, {"volume", "/"}};
  EXPECT_EQ(registry_.alertAction("FreeSpace", alert, nullptr)->hasBeenResolved(), percent < 90);
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
  alert.attributes = PropertyList::Dictionary{{"volume", "/nonexistent"}};
  EXPECT_FALSE(registry_.alertAction("FreeSpace", alert, nullptr)->hasBeenResolved());
  EXPECT_THAT(log_.lines(), testing::ElementsAre(testing::HasSubstr("ended with status 2")));
}

}  // namespace
}  // namespace velto
