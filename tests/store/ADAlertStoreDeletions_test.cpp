// SPDX-License-Identifier: Apache-2.0
// Deletions of many alerts, and of a few.

#include <future>
#include <limits>

#include <sqlite3.h>

#include "platform/foundation/Paths.h"
#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class DeletionsTest : public StoreTest {
 protected:
  static constexpr int kMany = 12000;  ///< more than are deleted at once

  /// Alerts 0, 1, ... of the bundle Disk, sent in this order, and one of the bundle Tape.
  void insertMany() {
    auto store = system_.store();
    for (int number = 0; number < kMany; ++number) {
      store.insertAlert(alert(std::to_string(number), number));
    }
    auto other = alert("kept", -1);
    other.bundle = "Tape";
    store.insertAlert(other);
    save(store);
  }

  std::size_t left() { return system_.store().getAlertsOfBundle("Disk", nullptr).size(); }

  /// From now on the store refuses to delete the alert.
  void refuseToDelete(const std::string& identifier) {
    sqlite3* database = nullptr;
    const auto path = system_.path(kStoreDirectory) / "alertData.db";
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    const std::string sql =
        "CREATE TRIGGER refuse BEFORE DELETE ON ADAlert WHEN OLD.identifier = '" + identifier +
        "' BEGIN SELECT RAISE(FAIL, 'refused'); END";
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }
};

TEST_F(DeletionsTest, DeletingBeforeADateLooksAtTheSentDateAlone) {
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

TEST_F(DeletionsTest, DeletingByIdsTakesEveryRecordOfAnIdentifier) {
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

TEST_F(DeletionsTest, ManyIdentifiersAreOneDeletion) {
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

TEST_F(DeletionsTest, DeletingByBundlesTakesTheirAlerts) {
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

TEST_F(DeletionsTest, DeletingByBundlesStopsAtAnError) {
  auto store = system_.store();
  store.insertAlert(alert("a", 1));
  std::optional<Error> error = kEarlier;
  EXPECT_EQ(store.deleteAlertsWithBundleIDs({"Disk"}, &error), 0U);
  EXPECT_EQ(error, kEarlier);
  EXPECT_THAT(identifiers(store.getAlertsOfBundle("Disk", nullptr)), ElementsAre("a"));
  EXPECT_EQ(store.deleteAlertsWithBundleIDs({"Disk"}, nullptr), 1U) << "a slot is not needed";
}

TEST_F(DeletionsTest, FailedDeletionsDeleteNothingAndGiveTheError) {
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

TEST_F(DeletionsTest, ManyByDateAreCountedAndGone) {
  insertMany();
  std::optional<Error> error;
  auto store = system_.store();
  EXPECT_EQ(store.deleteAlertsBeforeDate(Date(kMany - 10), &error), std::uint64_t{kMany} - 9U);
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(left(), 10U);
  EXPECT_THAT(system_.store().getAlertsOfBundle("Tape", nullptr), IsEmpty());
}

TEST_F(DeletionsTest, ManyByIdentifierAreCountedOnceWhateverStandsTwice) {
  insertMany();
  std::vector<std::string> all;
  for (int number = 0; number < 3 * kMany; ++number) {
    all.push_back(std::to_string(number % (kMany + 5)));
  }
  EXPECT_EQ(system_.store().deleteAlertsWithIds(all, nullptr), std::uint64_t{kMany});
  EXPECT_EQ(left(), 0U);
}

TEST_F(DeletionsTest, TakeAMillionIdentifiersMostOfThemNobodysAndEachTwice) {
  constexpr int kIdentifiers = 500'000;
  insertMany();
  std::vector<std::string> all;
  for (int number = 0; number < 2 * kIdentifiers; ++number) {
    all.push_back(std::to_string(2 * (number % kIdentifiers)));
  }
  EXPECT_EQ(system_.store().deleteAlertsWithIds(std::move(all), nullptr),
            std::uint64_t{kMany} / 2U);
  EXPECT_EQ(left(), std::uint64_t{kMany} / 2U);
}

TEST_F(DeletionsTest, ManyOfABundleGoWithTheOthersOfTheirIdentifiers) {
  insertMany();
  {
    auto store = system_.store();
    auto namesake = alert("7", 1);
    namesake.bundle = "Tape";
    store.insertAlert(namesake);
    store.insertAlert(alert(std::nullopt, 5));
    save(store);
  }
  auto store = system_.store();
  EXPECT_EQ(store.deleteAlertsWithBundleIDs({"Empty", "Disk"}, nullptr), std::uint64_t{kMany} + 1U);
  save(store);
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Disk", nullptr)), ElementsAre("none"));
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Tape", nullptr)), ElementsAre("kept"));
}

TEST_F(DeletionsTest, OfManyTheOldestGoFirstAndStayGoneAfterAFailure) {
  insertMany();
  refuseToDelete("5500");
  std::optional<Error> error;
  auto store = system_.store();
  const auto deleted = store.deleteAlertsBeforeDate(Date(1e300), &error);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_GE(deleted, 1000U);
  EXPECT_LE(deleted, 5501U);
  const auto rest = system_.store().getAlertsOfBundle("Disk", nullptr);
  EXPECT_EQ(rest.size() + deleted, std::uint64_t{kMany} + 1U);
  EXPECT_EQ(rest.back().sentDate, Date(static_cast<double>(kMany - rest.size())));
  auto after = system_.store();
  after.insertAlert(alert("new", 1));
  save(after);
}

TEST_F(DeletionsTest, OthersSaveBetweenThePortions) {
  insertMany();
  std::promise<void> begun;
  auto deletion = std::async(std::launch::async, [&] {
    auto store = system_.store();
    begun.set_value();
    return store.deleteAlertsBeforeDate(Date(1e9), nullptr);
  });
  begun.get_future().wait();
  std::size_t saved = 0;
  do {
    auto store = system_.store();
    store.insertAlert(alert("new", 2e9));
    save(store);
    ++saved;
  } while (deletion.wait_for(std::chrono::seconds(0)) != std::future_status::ready);
  EXPECT_EQ(deletion.get(), std::uint64_t{kMany} + 1U);
  EXPECT_EQ(left(), saved);
}

TEST_F(DeletionsTest, TakeAnyDate) {
  insertMany();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double date : {-1e300, -kInfinity, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(system_.store().deleteAlertsBeforeDate(Date(date), nullptr), 0U);
  }
  EXPECT_EQ(system_.store().deleteAlertsBeforeDate(std::nullopt, nullptr), 0U);
  EXPECT_EQ(system_.store().deleteAlertsBeforeDate(Date(kInfinity), nullptr),
            std::uint64_t{kMany} + 1U);
}

TEST_F(DeletionsTest, OfRecordsWithAnyDateTakeThoseBeforeIt) {
  insertMany();
  {
    auto store = system_.store();
    store.insertAlert(alert("ancient", -1e300));
    store.insertAlert(alert("far", 1e300));
    store.insertAlert(alert("undated"));
    save(store);
  }
  const auto listed = [this](std::optional<Date> from, std::optional<Date> to) {
    return system_.store().getAlertsFromDate(from, to, nullptr).size();
  };
  EXPECT_EQ(listed(Date(-1e300), Date(1e300)), std::size_t{kMany} + 2U);
  EXPECT_EQ(listed(std::nullopt, Date(1e300)), std::size_t{kMany} + 3U);
  EXPECT_EQ(listed(Date(1e300), Date(1e300)), 0U);
  EXPECT_EQ(system_.store().deleteAlertsBeforeDate(Date(1e300), nullptr),
            std::uint64_t{kMany} + 2U);
  EXPECT_THAT(identifiers(system_.store().getAlertsOfBundle("Disk", nullptr)),
              ElementsAre("far", "undated"));
}

}  // namespace
}  // namespace velto
