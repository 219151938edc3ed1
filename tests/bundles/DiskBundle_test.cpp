#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/AlertBundleRegistry.h"
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
  AlertBundleRegistry registry_{VELTO_BUNDLES_DIR, log_};
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

TEST_F(DiskBundleTest, OffersNoRecovery) {
  ASSERT_NE(alert_, nullptr);
  EXPECT_TRUE(alert_->recoveryOptions().empty());
}

}  // namespace
}  // namespace velto
