// SPDX-License-Identifier: Apache-2.0
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "daemon/AlertsDaemon.h"
#include "tests/daemon/Callers.h"

namespace velto {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class PostingTest : public ::testing::Test {
 protected:
  PostingTest() {
    system_.addDiskBundle();
    system_.clock.set(86400);
    auto store = system_.store();
    store.insertAlertBundle("Disk", "Disks");
    store.insertMailRecipientWithAddress("a@example.org", "en");
    store.save(nullptr);
  }

  std::optional<Error> post(AlertsDaemon& object, std::optional<VLAlert> alert) {
    ErrorAnswer answer;
    object.postAlert(std::move(alert), answer.block());
    EXPECT_EQ(answer.calls, 1);
    return answer.error;
  }

  std::vector<VLAlert> stored() { return system_.store().getAlertsOfBundle("Disk", nullptr); }

  void addPushRecipient() {
    auto store = system_.store();
    store.insertPushRecipientWithName("Phone", "guid", Data(std::string_view("token")), "en");
    ASSERT_TRUE(store.save(nullptr));
  }

  void setSwitches(bool push, bool mail) {
    auto store = system_.store();
    auto record = store.getADAlertBundle("Disk", nullptr);
    record->setPushEnabled(push);
    record->setMailEnabled(mail);
    ASSERT_TRUE(store.save(nullptr));
  }

  ScratchSystem system_;
  const AlertsDaemonServices services_ = servicesOf(system_);
  const std::unique_ptr<AlertsDaemon> root_ = AlertsDaemon::initAsRoot(services_);
  const std::unique_ptr<AlertsDaemon> trusted_ = AlertsDaemon::initAsPrivileged(services_);
  const std::unique_ptr<AlertsDaemon> entitled_ =
      AlertsDaemon::initWithBundleEntitlements(services_, {"Disk"});
  const std::unique_ptr<AlertsDaemon> nobody_ = AlertsDaemon::init(services_);
};

VLAlert diskAlert() {
  VLAlert alert;
  alert.type = "AlmostFull";
  alert.bundle = "Disk";
  alert.attributes = PropertyList::Dictionary{{"volume", "/home"}, {"percent", 93}};
  return alert;
}

TEST_F(PostingTest, APostedAlertIsStoredAsSentAndMailed) {
  EXPECT_EQ(post(*entitled_, diskAlert()), std::nullopt);
  auto expected = diskAlert();
  expected.sentDate = Date(86400);
  expected.identifier = "AlmostFull:141dd76000";
  ASSERT_THAT(stored(), SizeIs(1));
  EXPECT_EQ(stored().front(), expected);
  EXPECT_THAT(system_.mails(), SizeIs(1));
}

TEST_F(PostingTest, AlertsOfABurstDoNotReplaceEachOther) {
  addPushRecipient();
  for (int index = 0; index < 3; ++index) {
    EXPECT_EQ(post(*root_, diskAlert()), std::nullopt);
  }
  const auto& sent = system_.provider->sent;
  ASSERT_THAT(sent, SizeIs(3));
  EXPECT_NE(sent[0].identifier, sent[1].identifier);
  EXPECT_NE(sent[1].identifier, sent[2].identifier);
}

TEST_F(PostingTest, RolesAndMissingInput) {
  const Error noAlert = makeError("AlertsDaemon", 203, "No alert to post.");
  EXPECT_EQ(post(*root_, std::nullopt), noAlert);
  EXPECT_EQ(post(*trusted_, std::nullopt), noAlert);
  EXPECT_EQ(post(*entitled_, std::nullopt), kEntitlementError);
  EXPECT_EQ(post(*nobody_, std::nullopt), kEntitlementError);
  EXPECT_EQ(post(*nobody_, diskAlert()), kEntitlementError);
  auto other = diskAlert();
  other.bundle = "Mail";
  EXPECT_EQ(post(*entitled_, other), kEntitlementError);
  other.bundle.reset();
  EXPECT_EQ(post(*entitled_, other), kEntitlementError);
  EXPECT_THAT(stored(), IsEmpty());
  EXPECT_EQ(post(*trusted_, diskAlert()), std::nullopt);
  EXPECT_THAT(stored(), SizeIs(1));
}

TEST_F(PostingTest, AnUnknownBundleStoresNothing) {
  auto alert = diskAlert();
  alert.bundle = "Tape";
  EXPECT_EQ(post(*root_, alert),
            makeError("VeltoAlertsStore", 100, "Get Alert Bundle: Bundle 'Tape' not found."));
  alert.bundle.reset();
  EXPECT_EQ(post(*root_, alert),
            makeError("VeltoAlertsStore", 100, "Get Alert Bundle: Bundle '(null)' not found."));
  EXPECT_THAT(system_.store().getAlertsOfType("AlmostFull", nullptr), IsEmpty());
}

TEST_F(PostingTest, AnUnknownTypeStoresNothingEvenWithBothChannelsOff) {
  auto alert = diskAlert();
  alert.type = "Unheard";
  setSwitches(false, false);
  const auto error = post(*root_, alert);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kBundleErrorDomain);
  EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(PostingTest, WithBothChannelsOffTheAlertIsDropped) {
  setSwitches(false, false);
  EXPECT_EQ(post(*root_, diskAlert()), std::nullopt);
  EXPECT_THAT(stored(), IsEmpty());
  EXPECT_THAT(system_.mails(), IsEmpty());
}

TEST_F(PostingTest, WithMailOffTheAlertIsStoredAndNotMailed) {
  setSwitches(true, false);
  EXPECT_EQ(post(*root_, diskAlert()), std::nullopt);
  EXPECT_THAT(stored(), SizeIs(1));
  EXPECT_THAT(system_.mails(), IsEmpty());
}

TEST_F(PostingTest, ABundleThatIsDisabledStillPosts) {
  auto store = system_.store();
  store.getADAlertBundle("Disk", nullptr)->setEnabled(false);
  ASSERT_TRUE(store.save(nullptr));
  EXPECT_EQ(post(*root_, diskAlert()), std::nullopt);
  EXPECT_THAT(stored(), SizeIs(1));
}

TEST_F(PostingTest, IdentifiersAreMadeOnlyWhenThereIsNone) {
  setSwitches(false, true);  // a push would have a millisecond of its own
  const std::tuple<std::optional<std::string>, double, std::string> rows[] = {
      {"mine", 1, "mine"},
      {"mine", 2, "mine"},
      {"", 0.0000019, "AlmostFull:1"},
      {std::nullopt, 0, "AlmostFull:0"},
      {std::nullopt, -1, "AlmostFull:fffffffffff0bdc0"},
  };
  for (const auto& [given, now, expected] : rows) {
    system_.clock.set(now);
    auto alert = diskAlert();
    alert.identifier = given;
    EXPECT_EQ(post(*root_, alert), std::nullopt);
    auto store = system_.store();
    const auto record = store.getADAlertWithIdentifier(expected, nullptr);
    EXPECT_TRUE(record) << expected;
  }
  EXPECT_THAT(stored(), SizeIs(5)) << "an identifier that is taken is no obstacle";
}

TEST_F(PostingTest, AFailedMailIsToldAndTheAlertStaysStoredAsSent) {
  system_.setMailProgram("cat > /dev/null; exit 75");
  EXPECT_EQ(post(*root_, diskAlert()), (Error{"VeltoAlertsMailer", 75, {}}));
  ASSERT_THAT(stored(), SizeIs(1));
  EXPECT_EQ(stored().front().sentDate, Date(86400));
}

TEST_F(PostingTest, PushComesBeforeMailAndItsErrorCounts) {
  addPushRecipient();
  system_.provider->refuse("token", 410, "gone");
  const auto error = post(*root_, diskAlert());
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "UlmoraPushProvider");
  EXPECT_EQ(error->code, 410);
  EXPECT_THAT(system_.mails(), SizeIs(1)) << "mail is sent all the same";
  ASSERT_THAT(stored(), SizeIs(1));
  EXPECT_EQ(stored().front().sentDate, Date(86400));
}

TEST_F(PostingTest, WhenBothChannelsFailThePushErrorIsTold) {
  addPushRecipient();
  system_.provider->refuse("token", 410, "gone");
  system_.setMailProgram("cat > /dev/null; exit 75");
  EXPECT_EQ(post(*root_, diskAlert())->code, 410);
  EXPECT_THAT(stored(), SizeIs(1));
}

TEST_F(PostingTest, WhenPushIsFineAFailedMailIsTold) {
  addPushRecipient();
  system_.setMailProgram("cat > /dev/null; exit 75");
  EXPECT_EQ(post(*root_, diskAlert()), (Error{"VeltoAlertsMailer", 75, {}}));
  EXPECT_THAT(system_.provider->sent, SizeIs(1));
}

TEST_F(PostingTest, OnlyTheChannelsThatAreOnAreUsed) {
  addPushRecipient();
  setSwitches(false, true);
  EXPECT_EQ(post(*root_, diskAlert()), std::nullopt);
  EXPECT_THAT(system_.provider->sent, IsEmpty());
  EXPECT_THAT(system_.mails(), SizeIs(1));
  setSwitches(true, false);
  EXPECT_EQ(post(*root_, diskAlert()), std::nullopt);
  EXPECT_THAT(system_.provider->sent, SizeIs(1));
  EXPECT_THAT(system_.mails(), SizeIs(1));
}

TEST_F(PostingTest, OnlyRootSavesAlerts) {
  for (auto* object : {trusted_.get(), entitled_.get(), nobody_.get()}) {
    ErrorAnswer answer;
    object->saveAlerts(std::vector<VLAlert>{diskAlert()}, answer.block());
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(answer.error, kPrivilegeError);
  }
  EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(PostingTest, SavingStoresAlertsAsTheyAre) {
  ErrorAnswer answer;
  root_->saveAlerts(std::vector<VLAlert>{diskAlert(), diskAlert()}, answer.block());
  EXPECT_EQ(answer.error, std::nullopt);
  ASSERT_THAT(stored(), SizeIs(2));
  EXPECT_EQ(stored().front(), diskAlert()) << "no date and no identifier is filled in";
  EXPECT_THAT(system_.mails(), IsEmpty());
}

TEST_F(PostingTest, SavingNoneAndSavingAnEmptyListDiffer) {
  ErrorAnswer none;
  root_->saveAlerts(std::nullopt, none.block());
  EXPECT_EQ(none.error, makeError("AlertsDaemon", 203, "No alerts to save."));
  ErrorAnswer empty;
  root_->saveAlerts(std::vector<VLAlert>{}, empty.block());
  EXPECT_EQ(empty.calls, 1);
  EXPECT_EQ(empty.error, std::nullopt);
}

TEST_F(PostingTest, AnAlertWithoutATypeHasAnAbsentOnesTextInItsIdentifier) {
  system_.addBundle("Disk.bundle", "{ CFBundleExecutable = \"libDefault.so\"; }");
  system_.addCode("Disk.bundle", std::filesystem::path(VELTO_TEST_MODULES) / "libDefault.so");
  VLAlert alert;
  alert.bundle = "Disk";
  EXPECT_EQ(post(*root_, alert), std::nullopt);
  ASSERT_THAT(stored(), SizeIs(1));
  EXPECT_EQ(stored().front().identifier, "(null):141dd76000");
  EXPECT_EQ(stored().front().type, std::nullopt);
}

}  // namespace
}  // namespace velto
