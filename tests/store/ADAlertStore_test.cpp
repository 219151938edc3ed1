#include "store/ADAlertStore.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/Paths.h"
#include "tests/support/ScratchSystem.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

Error storeError(std::string_view message) {
  return makeError("VeltoAlertsStore", 100, message);
}

const Error kEarlier = makeError("Earlier", 1, "from before");

class ADAlertStoreTest : public ::testing::Test {
 protected:
  /// A handle without storage behind it: every fetch fails.
  ADAlertStore brokenStore() { return ADAlertStore(broken_); }

  void save(ADAlertStore& store) {
    std::optional<Error> error;
    ASSERT_TRUE(store.save(&error)) << error->localizedDescription();
  }

  ScratchSystem system_;
  TemporaryDirectory nothing_;
  FakeLog brokenLog_;
  StoreContainer broken_{nothing_.path().string(), nothing_.path().string(), brokenLog_};
};

VLAlert alert(std::optional<std::string> identifier, std::optional<double> sent = std::nullopt) {
  VLAlert made;
  made.identifier = std::move(identifier);
  made.type = "AlmostFull";
  made.bundle = "Disk";
  if (sent) {
    made.sentDate = Date(*sent);
  }
  return made;
}

std::vector<std::string> identifiers(const std::vector<VLAlert>& alerts) {
  std::vector<std::string> found;
  for (const auto& each : alerts) {
    found.push_back(each.identifier.value_or("none"));
  }
  return found;
}

TEST_F(ADAlertStoreTest, LookUpWithAnAbsentKeyFindsARecordWithoutOne) {
  auto store = system_.store();
  store.insertAlert(alert("a"));
  auto without = alert(std::nullopt);
  without.type = "NoIdentifier";
  store.insertAlert(without);
  save(store);
  std::optional<Error> error;
  const auto found = system_.store().getADAlertWithIdentifier(std::nullopt, &error);
  EXPECT_TRUE(found);
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(ADAlertStoreTest, LookUpOfNothingIsNoError) {
  std::optional<Error> error;
  auto store = system_.store();
  EXPECT_EQ(store.getADAlertWithIdentifier("none", &error), std::nullopt);
  EXPECT_EQ(store.getADAlertBundle("none", &error), std::nullopt);
  EXPECT_EQ(store.getADMailRecipientForAddress("none", &error), std::nullopt);
  EXPECT_EQ(store.getADPushRecipientWithGUID("none", &error), std::nullopt);
  EXPECT_EQ(store.getADPushRecipientWithToken(Data("none"), &error), std::nullopt);
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(ADAlertStoreTest, LooksUpPushRecipientsByBothKeys) {
  auto store = system_.store();
  auto record = store.managedObjectContext().insertNewObject<ADPushRecipient>("ADPushRecipient");
  record.setGuid("phone");
  record.setToken(Data("\x01\x02"));
  save(store);
  auto other = system_.store();
  const auto byGuid = other.getADPushRecipientWithGUID("phone", nullptr);
  const auto byToken = other.getADPushRecipientWithToken(Data("\x01\x02"), nullptr);
  ASSERT_TRUE(byGuid);
  EXPECT_EQ(byGuid, byToken);
  EXPECT_EQ(other.getADPushRecipientWithToken(Data("\x01"), nullptr), std::nullopt);
}

TEST_F(ADAlertStoreTest, TwoRecordsOfAKeyOneIsActedOn) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "one");
  store.insertAlertBundle("Disk", "two");
  save(store);
  auto second = system_.store();
  EXPECT_TRUE(second.deleteAlertBundle("Disk", nullptr));
  save(second);
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), ElementsAre("Disk"));
}

TEST_F(ADAlertStoreTest, AFetchErrorWinsOverNotFound) {
  auto store = brokenStore();
  std::optional<Error> error;
  EXPECT_EQ(store.getAlertBundle("Disk", &error), std::nullopt);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  error.reset();
  EXPECT_FALSE(store.deleteAlertBundle("Disk", &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
}

TEST_F(ADAlertStoreTest, NotFoundGoesOnlyIntoAnEmptySlot) {
  auto store = system_.store();
  std::optional<Error> error = kEarlier;
  EXPECT_EQ(store.getAlertBundle("Disk", &error), std::nullopt);
  EXPECT_EQ(error, kEarlier);
  EXPECT_EQ(store.getAlertBundle("Disk", nullptr), std::nullopt);
  error.reset();
  EXPECT_EQ(store.getAlertBundle("Disk", &error), std::nullopt);
  EXPECT_EQ(error, storeError("Get Alert Bundle: Bundle 'Disk' not found."));
}

TEST_F(ADAlertStoreTest, WhatIsNotSavedIsDropped) {
  {
    auto store = system_.store();
    store.insertAlert(alert("a", 1));
    EXPECT_THAT(identifiers(store.getAlertsOfType("AlmostFull", nullptr)), ElementsAre("a"));
  }
  EXPECT_THAT(system_.store().getAlertsOfType("AlmostFull", nullptr), IsEmpty());
}

TEST_F(ADAlertStoreTest, ListingsAreNewestFirstAndUndatedLast) {
  auto store = system_.store();
  store.insertAlert(alert("undated"));
  store.insertAlert(alert("old", 1));
  store.insertAlert(alert("new", 3));
  store.insertAlert(alert("middle", 2));
  auto other = alert("other", 9);
  other.bundle = "Mail";
  store.insertAlert(other);
  save(store);
  auto reader = system_.store();
  EXPECT_THAT(identifiers(reader.getAlertsOfBundle("Disk", nullptr)),
              ElementsAre("new", "middle", "old", "undated"));
  EXPECT_THAT(identifiers(reader.getAlertsOfType("AlmostFull", nullptr)),
              ElementsAre("other", "new", "middle", "old", "undated"));
  EXPECT_EQ(reader.getLastAlertOfBundle("Disk", nullptr)->identifier, "new");
  EXPECT_EQ(reader.getLastAlertOfType("AlmostFull", nullptr)->identifier, "other");
}

TEST_F(ADAlertStoreTest, MatchingIsExact) {
  auto store = system_.store();
  store.insertAlert(alert("a", 1));
  EXPECT_THAT(store.getAlertsOfBundle("disk", nullptr), IsEmpty());
  EXPECT_THAT(store.getAlertsOfBundle("Disk ", nullptr), IsEmpty());
  EXPECT_THAT(store.getAlertsOfBundle("' OR 1=1 --", nullptr), IsEmpty());
  EXPECT_THAT(store.getAlertsOfBundle(std::nullopt, nullptr), IsEmpty());
}

TEST_F(ADAlertStoreTest, AListingWithAnErrorInTheSlotIsEmpty) {
  auto store = system_.store();
  store.insertAlert(alert("a", 1));
  std::optional<Error> error = kEarlier;
  EXPECT_THAT(store.getAlertsOfType("AlmostFull", &error), IsEmpty());
  EXPECT_THAT(store.getAlertsOfBundle("Disk", &error), IsEmpty());
  EXPECT_EQ(error, kEarlier);
  EXPECT_TRUE(store.getLastAlertOfType("AlmostFull", &error)) << "the slot is not looked at";
}

TEST_F(ADAlertStoreTest, AFailedFetchGivesNothingAndItsError) {
  auto store = brokenStore();
  std::optional<Error> error = kEarlier;
  EXPECT_THAT(store.getAlertsOfType("AlmostFull", nullptr), IsEmpty());
  EXPECT_EQ(store.getLastAlertOfType("AlmostFull", &error), std::nullopt);
  EXPECT_NE(error, kEarlier) << "an error of the layer below replaces what was there";
  EXPECT_THAT(store.getEnabledAlertBundleNames(&error), IsEmpty());
  EXPECT_THAT(store.getMailRecipients(&error), IsEmpty());
  EXPECT_THAT(store.getMailRecipientsByLocalization(&error), IsEmpty());
}

TEST_F(ADAlertStoreTest, LastAlertOfAnUnknownTypeIsNoError) {
  std::optional<Error> error;
  EXPECT_EQ(system_.store().getLastAlertOfType("Unknown", &error), std::nullopt);
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(ADAlertStoreTest, ANewBundleIsEnabledWithBothChannels) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  save(store);
  auto reader = system_.store();
  const auto switches = reader.getAlertBundle("Disk", nullptr);
  ASSERT_TRUE(switches);
  EXPECT_EQ(switches->bundle, "Disk");
  EXPECT_EQ(switches->pushEnabled, true);
  EXPECT_EQ(switches->mailEnabled, true);
  EXPECT_EQ(reader.getADAlertBundle("Disk", nullptr)->name(), "Disks");
  EXPECT_THAT(reader.getEnabledAlertBundleNames(nullptr), ElementsAre("Disk"));
  EXPECT_THAT(reader.getAllAlertBundleNames(nullptr), ElementsAre("Disk"));
}

TEST_F(ADAlertStoreTest, ADisabledBundleIsOnlyInTheWholeList) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  store.insertAlertBundle("Mail", "Mail");
  store.getADAlertBundle("Disk", nullptr)->setEnabled(false);
  save(store);
  auto reader = system_.store();
  EXPECT_THAT(reader.getEnabledAlertBundleNames(nullptr), ElementsAre("Mail"));
  EXPECT_THAT(reader.getAllAlertBundleNames(nullptr), UnorderedElementsAre("Disk", "Mail"));
}

TEST_F(ADAlertStoreTest, RenamingToTheSameNameIsNotFound) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  std::optional<Error> error;
  EXPECT_FALSE(store.updateAlertBundle("Disk", "Disks", &error));
  EXPECT_EQ(error, storeError("Update Alert Bundle: Bundle 'Disk' not found."));
  error.reset();
  EXPECT_TRUE(store.updateAlertBundle("Disk", "Volumes", &error));
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(store.getADAlertBundle("Disk", nullptr)->name(), "Volumes");
  EXPECT_FALSE(store.updateAlertBundle("Tape", "Tapes", &error));
  EXPECT_EQ(error, storeError("Update Alert Bundle: Bundle 'Tape' not found."));
}

TEST_F(ADAlertStoreTest, DeletingAnUnknownBundleSaysSo) {
  std::optional<Error> error;
  EXPECT_FALSE(system_.store().deleteAlertBundle("Disk", &error));
  EXPECT_EQ(error, storeError("Delete Alert Bundle: Bundle 'Disk' not found."));
}

TEST_F(ADAlertStoreTest, MailRecipientsTakeTheirLanguageFromTheAddress) {
  auto store = system_.store();
  store.insertMailRecipientWithAddress("a@example.fr", std::nullopt);
  store.insertMailRecipientWithAddress("b@example.fr", "de");
  store.insertMailRecipientWithAddress(std::nullopt, "de");
  save(store);
  EXPECT_THAT(
      system_.store().getMailRecipients(nullptr),
      ElementsAre(MailRecipient{"a@example.fr", "fr"}, MailRecipient{"b@example.fr", "de"}));
}

TEST_F(ADAlertStoreTest, OnlyEnabledRecipientsWithBothValuesAreListed) {
  auto store = system_.store();
  store.insertMailRecipientWithAddress("off@example.fr", std::nullopt);
  store.getADMailRecipientForAddress("off@example.fr", nullptr)->setEnabled(false);
  store.insertMailRecipientWithAddress("nowhere@example.fr", std::nullopt);
  store.getADMailRecipientForAddress("nowhere@example.fr", nullptr)->setLocalization(std::nullopt);
  store.insertMailRecipientWithAddress("empty@example.fr", "");
  save(store);
  auto reader = system_.store();
  EXPECT_THAT(reader.getMailRecipients(nullptr),
              ElementsAre(MailRecipient{"empty@example.fr", ""}));
  EXPECT_EQ(reader.getMailRecipientsByLocalization(nullptr),
            (std::map<std::string, std::vector<std::string>>{
                {ADAlertStore::preferredLocalizationIdentifier(),
                 {"nowhere@example.fr", "empty@example.fr"}}}));
}

TEST_F(ADAlertStoreTest, RecipientsOfALanguageStandTogetherInOrder) {
  auto store = system_.store();
  store.insertMailRecipientWithAddress("1@example.org", "fr");
  store.insertMailRecipientWithAddress("2@example.org", "en");
  store.insertMailRecipientWithAddress("3@example.org", "fr");
  store.insertMailRecipientWithAddress("3@example.org", "fr");
  save(store);
  EXPECT_EQ(
      system_.store().getMailRecipientsByLocalization(nullptr),
      (std::map<std::string, std::vector<std::string>>{
          {"en", {"2@example.org"}}, {"fr", {"1@example.org", "3@example.org", "3@example.org"}}}));
}

}  // namespace
}  // namespace velto
