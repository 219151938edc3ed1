// SPDX-License-Identifier: Apache-2.0
// Lists of alerts a few at a time, and what is to be asked of the unresolved ones.

#include <limits>
#include <random>

#include "alerts/VLAlertJSON.h"
#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AlertSequencesTest : public StoreTest {
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

  static std::string text(AlertSequence alerts) {
    std::string text = "[";
    std::optional<Error> error;
    while (alerts.appendElements(text, text.size() + 1, &error)) {
    }
    EXPECT_FALSE(error);
    return text;
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

TEST_F(AlertSequencesTest, AreTheSameAsText) {
  fill();
  auto store = system_.store();
  auto strange = alert("strange", 5);
  strange.attributes = PropertyList::Dictionary{{"$date", "reserved"}, {"caf\xc3\xa9", Date(1)}};
  auto bare = alert("bare", 5);
  bare.attributes.reset();
  store.insertAlert(strange);
  store.insertAlert(bare);
  save(store);
  std::string expected = "[";
  for (const VLAlert& each : all(store.alertsOfType("AlmostFull", nullptr))) {
    beginElement(expected);
    appendJSON(expected, each);
  }
  EXPECT_EQ(text(store.alertsOfType("AlmostFull", nullptr)), expected);
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

TEST_F(AlertSequencesTest, OfAnyPeriodAreTheSameAsTheWholeList) {
  std::minstd_rand random(1);
  const auto date = [&]() -> std::optional<Date> {
    return random() % 4 == 0 ? std::nullopt
                             : std::optional(Date(static_cast<double>(random() % 20)));
  };
  {
    auto store = system_.store();
    for (int number = 0; number < 300; ++number) {
      auto each = alert(std::to_string(number));
      each.sentDate = date();
      each.readDate = date();
      each.resolvedDate = date();
      store.insertAlert(each);
    }
    save(store);
  }
  auto store = system_.store();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  std::vector<std::optional<Date>> bounds{std::nullopt,    Date(-1e300),     Date(1e300),
                                          Date(kInfinity), Date(-kInfinity), Date(3),
                                          Date(7),         Date(7.5),        Date(19)};
  system_.clock.set(10);
  for (const auto& from : bounds) {
    for (const auto& to : bounds) {
      EXPECT_EQ(all(store.alertsFromDate(from, to, nullptr)),
                store.getAlertsFromDate(from, to, nullptr));
    }
  }
}

// --- The unresolved ---

class RecoverableTest : public AlertSequencesTest {
 protected:
  RecoverableTest() {
    system_.addBundle("Disk.bundle", R"({ VLAlertTypes = {
        AlmostFull = { RecoveryOptions = (FreeSpace); }; Noted = {}; };  })");
    system_.addBundle("Tape.bundle", R"({ VLAlertTypes = {
        Noted = { RecoveryOptions = (Rewind); }; }; })");
  }

  void insert(const std::string& bundle, const std::string& type, std::optional<double> sent,
              bool isResolved = false) {
    auto store = system_.store();
    auto made = alert(bundle + "." + type, sent);
    made.bundle = bundle;
    made.type = type;
    if (isResolved) {
      made.resolvedDate = Date(1);
    }
    store.insertAlert(made);
    save(store);
  }

  std::vector<std::string> recoverable() {
    error_.reset();
    auto store = system_.store();
    std::vector<std::string> found;
    for (AlertSequence alerts = store.recoverableAlerts(&error_);
         const VLAlert* each = alerts.current(&error_); alerts.advance()) {
      found.push_back(*each->identifier);
    }
    return found;
  }

  std::optional<Error> error_;
};

TEST_F(RecoverableTest, AreThoseOfKindsWithActionsNewestFirst) {
  EXPECT_THAT(recoverable(), IsEmpty());
  insert("Disk", "AlmostFull", 2);
  insert("Disk", "Noted", 5);
  insert("Tape", "Noted", 3);
  insert("Tape", "Noted", std::nullopt);
  insert("Disk", "AlmostFull", 4);
  insert("Disk", "AlmostFull", 9, true);
  EXPECT_THAT(recoverable(),
              ElementsAre("Disk.AlmostFull", "Tape.Noted", "Disk.AlmostFull", "Tape.Noted"));
  EXPECT_EQ(error_, std::nullopt);
}

TEST_F(RecoverableTest, WhatIsUnknownIsToldOfTheNewest) {
  insert("Disk", "AlmostFull", 2);
  insert("Disk", "Older", 5);
  insert("Disk", "Newest", 7);
  insert("Disk", "Newest", 1);
  insert("Gone", "Undated", std::nullopt);
  recoverable();
  ASSERT_TRUE(error_);
  EXPECT_THAT(error_->localizedDescription(), testing::HasSubstr("'Newest'"));
}

TEST_F(RecoverableTest, WhatLacksABundleOrATypeIsUnknown) {
  auto store = system_.store();
  VLAlert bare;
  store.insertAlert(bare);
  save(store);
  recoverable();
  ASSERT_TRUE(error_);
  EXPECT_EQ(error_->domain, kBundleErrorDomain);
}

TEST_F(RecoverableTest, WithAnErrorInTheSlotThereAreNone) {
  insert("Disk", "AlmostFull", 2);
  std::optional<Error> error = kEarlier;
  auto store = system_.store();
  EXPECT_THAT(all(store.recoverableAlerts(&error)), IsEmpty());
  EXPECT_EQ(error, kEarlier);
  error.reset();
  EXPECT_THAT(all(brokenStore().recoverableAlerts(&error)), IsEmpty());
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
}

}  // namespace
}  // namespace velto
