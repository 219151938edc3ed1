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

TEST_F(AlertRecordsTest, AnAbsentAttributeIsLeftOutOfAnUpdate) {
  auto store = system_.store();
  auto made = alert("a", 1);
  made.attributes = PropertyList::Dictionary{{"volume", PropertyList("/home")}};
  store.insertAlert(made);
  made.attributes = PropertyList::Dictionary{{"volume", PropertyList()}, {"percent", 1}};
  EXPECT_TRUE(store.updateAlert(made, nullptr));
  EXPECT_EQ(store.getAlertWithIdentifier("a", nullptr)->attributes,
            (PropertyList::Dictionary{{"percent", 1}}));
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

}  // namespace
}  // namespace velto
