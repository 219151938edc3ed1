// SPDX-License-Identifier: Apache-2.0
// The alert records of ADAlertStore.

#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class AlertRecordsTest : public StoreTest {};

TEST_F(AlertRecordsTest, WhatIsNotSavedIsDropped) {
  {
    auto store = system_.store();
    store.insertAlert(alert("a", 1));
    EXPECT_THAT(identifiers(store.getAlertsOfType("AlmostFull", nullptr)), ElementsAre("a"));
  }
  EXPECT_THAT(system_.store().getAlertsOfType("AlmostFull", nullptr), IsEmpty());
}

TEST_F(AlertRecordsTest, ListingsAreNewestFirstAndUndatedLast) {
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

TEST_F(AlertRecordsTest, MatchingIsExact) {
  auto store = system_.store();
  store.insertAlert(alert("a", 1));
  EXPECT_THAT(store.getAlertsOfBundle("disk", nullptr), IsEmpty());
  EXPECT_THAT(store.getAlertsOfBundle("Disk ", nullptr), IsEmpty());
  EXPECT_THAT(store.getAlertsOfBundle("' OR 1=1 --", nullptr), IsEmpty());
  EXPECT_THAT(store.getAlertsOfBundle(std::nullopt, nullptr), IsEmpty());
}

TEST_F(AlertRecordsTest, AListingWithAnErrorInTheSlotIsEmpty) {
  auto store = system_.store();
  store.insertAlert(alert("a", 1));
  std::optional<Error> error = kEarlier;
  EXPECT_THAT(store.getAlertsOfType("AlmostFull", &error), IsEmpty());
  EXPECT_THAT(store.getAlertsOfBundle("Disk", &error), IsEmpty());
  EXPECT_THAT(store.getAlertsFromDate(Date(0), Date(2), &error), IsEmpty());
  EXPECT_EQ(error, kEarlier);
  EXPECT_TRUE(store.getLastAlertOfType("AlmostFull", &error)) << "the slot is not looked at";
}

TEST_F(AlertRecordsTest, LastAlertOfAnUnknownTypeIsNoError) {
  std::optional<Error> error;
  EXPECT_EQ(system_.store().getLastAlertOfType("Unknown", &error), std::nullopt);
  EXPECT_EQ(error, std::nullopt);
}

/// Alerts with one of the three dates each, and one with none.
void insertDated(ADAlertStore& store) {
  auto sent = alert("sent", 10);
  auto read = alert("read");
  read.readDate = Date(20);
  auto resolved = alert("resolved");
  resolved.resolvedDate = Date(30);
  for (const VLAlert& each : {sent, read, resolved, alert("undated")}) {
    store.insertAlert(each);
  }
}

TEST_F(AlertRecordsTest, APeriodBeginsAfterItsStartAndHoldsItsEnd) {
  auto store = system_.store();
  insertDated(store);
  save(store);
  const auto listed = [&](double from, double to) {
    return identifiers(system_.store().getAlertsFromDate(Date(from), Date(to), nullptr));
  };
  EXPECT_THAT(listed(9, 10), ElementsAre("sent"));
  EXPECT_THAT(listed(10, 11), IsEmpty());
  EXPECT_THAT(listed(10, 10), IsEmpty()) << "nothing is after and at or before one moment";
  EXPECT_THAT(listed(19, 20), ElementsAre("read"));
  EXPECT_THAT(listed(20, 29.5), IsEmpty());
  EXPECT_THAT(listed(29, 30), ElementsAre("resolved"));
  EXPECT_THAT(listed(0, 30), UnorderedElementsAre("sent", "read", "resolved"));
  EXPECT_THAT(listed(30, 0), IsEmpty());
}

TEST_F(AlertRecordsTest, AnAlertReadWithinThePeriodButSentAndResolvedOutsideIsListed) {
  auto store = system_.store();
  auto made = alert("a", 1);
  made.readDate = Date(5);
  made.resolvedDate = Date(9);
  store.insertAlert(made);
  EXPECT_THAT(store.getAlertsFromDate(Date(4), Date(6), nullptr), ElementsAre(made));
  EXPECT_THAT(store.getAlertsFromDate(Date(5), Date(6), nullptr), IsEmpty());
}

TEST_F(AlertRecordsTest, WithoutAStartThePeriodHoldsAllBefore) {
  auto store = system_.store();
  insertDated(store);
  EXPECT_THAT(identifiers(store.getAlertsFromDate(std::nullopt, Date(10), nullptr)),
              ElementsAre("sent"));
  EXPECT_THAT(identifiers(store.getAlertsFromDate(std::nullopt, Date(20), nullptr)),
              ElementsAre("sent", "read"));
  EXPECT_THAT(store.getAlertsFromDate(std::nullopt, Date(9.9), nullptr), IsEmpty());
}

TEST_F(AlertRecordsTest, WithoutAnEndThePeriodLastsUntilNow) {
  auto store = system_.store();
  insertDated(store);
  system_.clock.set(20);
  EXPECT_THAT(identifiers(store.getAlertsFromDate(std::nullopt, std::nullopt, nullptr)),
              ElementsAre("sent", "read"));
  EXPECT_THAT(identifiers(store.getAlertsFromDate(Date(10), std::nullopt, nullptr)),
              ElementsAre("read"));
  system_.clock.set(1e9);
  EXPECT_THAT(identifiers(store.getAlertsFromDate(std::nullopt, std::nullopt, nullptr)),
              UnorderedElementsAre("sent", "read", "resolved"))
      << "an alert without a date is never listed by date";
}

TEST_F(AlertRecordsTest, AnAlertIsFoundByItsIdentifier) {
  auto store = system_.store();
  auto made = alert("a", 1);
  made.attributes = PropertyList::Dictionary{{"volume", PropertyList("/home")}};
  store.insertAlert(made);
  store.insertAlert(alert("b", 2));
  save(store);
  std::optional<Error> error;
  EXPECT_EQ(system_.store().getAlertWithIdentifier("a", &error), made);
  EXPECT_EQ(system_.store().getAlertWithIdentifier("c", &error), std::nullopt);
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(AlertRecordsTest, AnUpdateOverwritesAllButIdentifierAndCreationDate) {
  auto store = system_.store();
  auto before = alert("a", 1);
  before.creationDate = Date(0.5);
  before.readDate = Date(2);
  before.resolvedDate = Date(3);
  before.attributes = PropertyList::Dictionary{{"volume", PropertyList("/home")}};
  store.insertAlert(before);
  save(store);

  VLAlert after;
  after.identifier = "a";
  after.creationDate = Date(100);
  after.type = "Full";
  after.bundle = "Tape";
  after.resolvedDate = Date(7);
  std::optional<Error> error;
  auto writer = system_.store();
  EXPECT_TRUE(writer.updateAlert(after, &error));
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(system_.store().getAlertWithIdentifier("a", nullptr), before) << "not saved yet";
  save(writer);
  after.creationDate = Date(0.5);
  EXPECT_EQ(system_.store().getAlertWithIdentifier("a", nullptr), after);
}

TEST_F(AlertRecordsTest, AttributesThatHaveNoEncodingAreUpdatedToAbsent) {
  auto store = system_.store();
  auto made = alert("a", 1);
  made.attributes = PropertyList::Dictionary{{"volume", PropertyList("/home")}};
  store.insertAlert(made);
  made.attributes = PropertyList::Dictionary{{"volume", PropertyList()}};
  EXPECT_TRUE(store.updateAlert(made, nullptr));
  EXPECT_EQ(store.getAlertWithIdentifier("a", nullptr)->attributes, std::nullopt);
}

TEST_F(AlertRecordsTest, AnUpdateOfNoAlertFindsNone) {
  auto store = system_.store();
  store.insertAlert(alert(std::nullopt, 1));
  std::optional<Error> error;
  EXPECT_FALSE(store.updateAlert(std::nullopt, &error));
  EXPECT_EQ(error, ownError("Update Alert: Alert not found."));
  error.reset();
  EXPECT_FALSE(store.deleteAlert(std::nullopt, &error));
  EXPECT_EQ(error, ownError("Delete Alert: Alert '(null)' not found."));
  EXPECT_TRUE(store.updateAlert(alert(std::nullopt, 2), nullptr)) << "an absent identifier is one";
  EXPECT_FALSE(brokenStore().updateAlert(std::nullopt, &error));
  EXPECT_EQ(error, ownError("Delete Alert: Alert '(null)' not found."));
}

TEST_F(AlertRecordsTest, ADeletedAlertIsGoneAfterTheSave) {
  auto store = system_.store();
  store.insertAlert(alert("a", 1));
  store.insertAlert(alert("b", 2));
  save(store);
  auto writer = system_.store();
  std::optional<Error> error;
  EXPECT_TRUE(writer.deleteAlert(alert("a"), &error));
  EXPECT_EQ(error, std::nullopt);
  EXPECT_THAT(identifiers(writer.getAlertsOfBundle("Disk", nullptr)), ElementsAre("b"));
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Disk", nullptr)),
              ElementsAre("b", "a"));
  save(writer);
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Disk", nullptr)), ElementsAre("b"));
}

TEST_F(AlertRecordsTest, DeletingBeforeADateLooksAtTheSentDateAlone) {
  auto store = system_.store();
  insertDated(store);
  store.insertAlert(alert("exactly", 15));
  store.insertAlert(alert("after", 16));
  save(store);
  auto writer = system_.store();
  std::optional<Error> error;
  EXPECT_EQ(writer.deleteAlertsBeforeDate(Date(15), &error), 1U);
  EXPECT_EQ(writer.deleteAlertsBeforeDate(std::nullopt, &error), 0U);
  EXPECT_EQ(error, std::nullopt);
  save(writer);
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Disk", nullptr)),
              UnorderedElementsAre("exactly", "after", "read", "resolved", "undated"));
}

TEST_F(AlertRecordsTest, DeletingByIdsTakesEveryRecordOfAnIdentifier) {
  auto store = system_.store();
  for (const char* identifier : {"a", "b", "a", "c"}) {
    store.insertAlert(alert(identifier, 1));
  }
  store.insertAlert(alert(std::nullopt));
  save(store);
  auto writer = system_.store();
  std::optional<Error> error;
  EXPECT_EQ(writer.deleteAlertsWithIds({}, &error), 0U);
  EXPECT_EQ(writer.deleteAlertsWithIds({"a", "nobody's", "a", "c"}, &error), 3U);
  EXPECT_EQ(error, std::nullopt);
  save(writer);
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Disk", nullptr)),
              ElementsAre("b", "none"));
}

TEST_F(AlertRecordsTest, ManyIdentifiersAreOneDeletion) {
  auto store = system_.store();
  std::vector<std::string> all;
  for (int number = 0; number < 100000; ++number) {
    all.push_back("alert " + std::to_string(number));
    if (number % 1000 == 0) {
      store.insertAlert(alert(all.back(), number));
    }
  }
  store.insertAlert(alert("kept", 0));
  save(store);
  auto writer = system_.store();
  EXPECT_EQ(writer.deleteAlertsWithIds(all, nullptr), 100U);
  save(writer);
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Disk", nullptr)), ElementsAre("kept"));
}

TEST_F(AlertRecordsTest, DeletingByBundlesTakesTheirAlerts) {
  auto store = system_.store();
  for (const char* bundle : {"Disk", "Tape", "Mail", "Disk"}) {
    auto made = alert(std::string(bundle) + "'s", 1);
    made.bundle = bundle;
    store.insertAlert(made);
  }
  store.insertAlert(alert(std::nullopt));
  save(store);
  auto writer = system_.store();
  std::optional<Error> error;
  EXPECT_EQ(writer.deleteAlertsWithBundleIDs({"Empty"}, &error), 0U);
  EXPECT_EQ(writer.deleteAlertsWithBundleIDs({}, &error), 0U);
  EXPECT_EQ(writer.deleteAlertsWithBundleIDs({"Disk", "Mail"}, &error), 3U);
  EXPECT_EQ(error, std::nullopt);
  save(writer);
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Tape", nullptr)),
              ElementsAre("Tape's"));
  EXPECT_THAT(system_.store().getAlertsOfBundle("Mail", nullptr), IsEmpty());
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Disk", nullptr)), ElementsAre("none"))
      << "an alert without an identifier has none to be deleted by";
}

TEST_F(AlertRecordsTest, DeletingByBundlesStopsAtAnError) {
  auto store = system_.store();
  store.insertAlert(alert("a", 1));
  std::optional<Error> error = kEarlier;
  EXPECT_EQ(store.deleteAlertsWithBundleIDs({"Disk"}, &error), 0U);
  EXPECT_EQ(error, kEarlier);
  EXPECT_THAT(identifiers(store.getAlertsOfBundle("Disk", nullptr)), ElementsAre("a"));
  EXPECT_EQ(store.deleteAlertsWithBundleIDs({"Disk"}, nullptr), 1U) << "a slot is not needed";
}

TEST_F(AlertRecordsTest, FailedDeletionsDeleteNothingAndGiveTheError) {
  auto store = brokenStore();
  std::optional<Error> error;
  EXPECT_EQ(store.deleteAlertsBeforeDate(Date(1), &error), 0U);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  error.reset();
  EXPECT_EQ(store.deleteAlertsWithIds({"a"}, &error), 0U);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  error.reset();
  EXPECT_EQ(store.deleteAlertsWithBundleIDs({"Disk"}, &error), 0U);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_EQ(store.deleteAlertsWithBundleIDs({"Disk"}, nullptr), 0U);
}

TEST_F(AlertRecordsTest, UnresolvedAlertsAreObjectsOfTheirBundles) {
  system_.addDiskBundle();
  auto store = system_.store();
  store.insertAlert(alert("old", 1));
  store.insertAlert(alert("new", 2));
  auto resolved = alert("resolved", 3);
  resolved.resolvedDate = Date(4);
  store.insertAlert(resolved);
  save(store);
  std::optional<Error> error;
  const auto alerts = system_.store().getUnresolvedAlertSubclasses(&error);
  EXPECT_EQ(error, std::nullopt);
  ASSERT_EQ(alerts.size(), 2U);
  EXPECT_EQ(alerts[0]->alert().identifier, "new");
  EXPECT_EQ(alerts[1]->alert().identifier, "old");
  EXPECT_TRUE(alerts[0]->subject("en").has_value());
}

TEST_F(AlertRecordsTest, AnUnresolvedAlertThatItsBundleDoesNotKnowIsLeftOut) {
  system_.addDiskBundle();
  auto store = system_.store();
  auto unknown = alert("unknown", 2);
  unknown.type = "NoSuchType";
  store.insertAlert(unknown);
  store.insertAlert(alert("known", 1));
  std::optional<Error> error;
  const auto alerts = store.getUnresolvedAlertSubclasses(&error);
  ASSERT_EQ(alerts.size(), 1U);
  EXPECT_EQ(alerts[0]->alert().identifier, "known");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kBundleErrorDomain);
  EXPECT_EQ(store.getUnresolvedAlertSubclasses(nullptr).size(), 1U);
  EXPECT_EQ(store.getUnresolvedAlertSubclasses(&error).size(), 0U) << "the slot holds an error";
}

TEST_F(AlertRecordsTest, OfTheUnresolvedAlertsThoseWithRecoveryActionsCanBeHadAlone) {
  system_.addBundle("Disk.bundle", R"({ CFBundleGetInfoString = "Disks"; VLAlertTypes = {
      AlmostFull = { RecoveryOptions = (FreeSpace, Ignore); }; Noted = {}; }; })");
  auto store = system_.store();
  store.insertAlert(alert("recoverable", 1));
  auto noted = alert("noted", 2);
  noted.type = "Noted";
  store.insertAlert(noted);
  save(store);
  std::optional<Error> error;
  const auto alerts = store.getRecoverableAlertSubclasses(&error);
  ASSERT_EQ(alerts.size(), 1U);
  EXPECT_EQ(alerts[0]->alert().identifier, "recoverable");
  EXPECT_EQ(error, std::nullopt);

  auto unknown = alert("unknown", 3);
  unknown.type = "NoSuchType";
  store.insertAlert(unknown);
  EXPECT_EQ(store.getRecoverableAlertSubclasses(&error).size(), 1U);
  EXPECT_EQ(error->domain, kBundleErrorDomain);
}

TEST_F(AlertRecordsTest, TextsOfCallersAreOnlyTexts) {
  auto store = system_.store();
  const std::string texts[] = {"'",
                               "\"",
                               "'; DROP TABLE ADAlert; --",
                               "%@",
                               "%",
                               "_",
                               "nil",
                               std::string("a\0b", 3),
                               std::string("\0", 1),
                               "\xF0\x9F\x98\x80"};
  for (const std::string& text : texts) {
    VLAlert made = alert(text);
    made.type = made.bundle = text;
    store.insertAlert(made);
  }
  save(store);
  for (const std::string& text : texts) {
    auto reader = system_.store();
    EXPECT_THAT(identifiers(reader.getAlertsOfType(text, nullptr)), ElementsAre(text));
    EXPECT_THAT(identifiers(reader.getAlertsOfBundle(text, nullptr)), ElementsAre(text));
    EXPECT_EQ(reader.getAlertWithIdentifier(text, nullptr)->identifier, text);
    EXPECT_EQ(reader.deleteAlertsWithIds({text}, nullptr), 1U);
  }
}

// --- Lists a few alerts at a time ---

class AlertSequencesTest : public AlertRecordsTest {
 protected:
  /// As many alerts as need several reads, of one type and bundle, with dates all over the place.
  void fill() {
    auto store = system_.store();
    for (int number = 0; number < 300; ++number) {
      auto each = alert(std::to_string(number), number * 7 % 10);
      each.attributes = PropertyList::Dictionary{
          {"text", std::string(static_cast<std::size_t>(number) * 10, 'x')}};
      if (number % 5 == 0) {
        each.sentDate.reset();
        each.readDate = Date(number % 3);
      }
      store.insertAlert(each);
    }
    save(store);
  }

  static std::vector<VLAlert> all(AlertSequence alerts) {
    std::vector<VLAlert> found;
    std::optional<Error> error;
    while (const VLAlert* each = alerts.current(&error)) {
      found.push_back(*each);
      alerts.advance();
    }
    EXPECT_FALSE(error);
    return found;
  }
};

TEST_F(AlertSequencesTest, AreTheSameLists) {
  fill();
  auto store = system_.store();
  EXPECT_EQ(store.getAlertsOfType("AlmostFull", nullptr).size(), 300U);
  EXPECT_EQ(all(store.alertsOfType("AlmostFull", nullptr)),
            store.getAlertsOfType("AlmostFull", nullptr));
  EXPECT_EQ(all(store.alertsOfBundle("Disk", nullptr)), store.getAlertsOfBundle("Disk", nullptr));
  EXPECT_EQ(all(store.alertsFromDate(Date(1), Date(4), nullptr)),
            store.getAlertsFromDate(Date(1), Date(4), nullptr));
  EXPECT_EQ(all(store.alertsFromDate(std::nullopt, Date(0), nullptr)),
            store.getAlertsFromDate(std::nullopt, Date(0), nullptr));
  EXPECT_THAT(all(store.alertsOfType("Unheard", nullptr)), IsEmpty());
}

TEST_F(AlertSequencesTest, OutliveTheirHandle) {
  fill();
  AlertSequence alerts = system_.store().alertsOfType("AlmostFull", nullptr);
  EXPECT_EQ(all(std::move(alerts)).size(), 300U);
}

TEST_F(AlertSequencesTest, ShowWhatTheHandleHasNotSaved) {
  auto store = system_.store();
  store.insertAlert(alert("a", 1));
  EXPECT_THAT(identifiers(all(store.alertsOfType("AlmostFull", nullptr))), ElementsAre("a"));
}

TEST_F(AlertSequencesTest, AreEmptyWithAnErrorInTheSlot) {
  fill();
  auto store = system_.store();
  std::optional<Error> error = kEarlier;
  EXPECT_THAT(all(store.alertsOfType("AlmostFull", &error)), IsEmpty());
  EXPECT_EQ(error, kEarlier);
  error.reset();
  EXPECT_THAT(all(brokenStore().alertsOfType("AlmostFull", &error)), IsEmpty());
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
}

}  // namespace
}  // namespace velto
