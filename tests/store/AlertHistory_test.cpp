// SPDX-License-Identifier: Apache-2.0
#include "store/AlertHistory.h"

#include <algorithm>
#include <limits>
#include <map>
#include <random>

#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Entries = std::vector<AlertHistoryEntry>;

class AlertHistoryTest : public StoreTest {
 protected:
  void insert(const std::optional<std::string>& bundle, std::initializer_list<double> dates) {
    auto store = system_.store();
    for (const double date : dates) {
      auto one = alert("id", date);
      one.bundle = bundle;
      store.insertAlert(one);
    }
    save(store);
  }

  Entries history(double from, double to, double step) {
    const auto steps = HistorySteps::make(Date(from), Date(to), step);
    EXPECT_TRUE(steps);
    std::optional<Error> error;
    auto entries = alertHistory(*system_.container.persistentStoreCoordinator(), *steps, &error);
    EXPECT_TRUE(entries) << error->localizedDescription();
    return entries.value_or(Entries());
  }
};

TEST_F(AlertHistoryTest, CountsByBundleAndStep) {
  insert("Disk", {5, 15, 16, 35});
  insert("Mail", {15});
  insert(std::nullopt, {25, 25.5});
  insert("Later", {41});
  auto store = system_.store();
  store.insertAlert(alert("undated"));
  save(store);
  EXPECT_THAT(
      history(0, 40, 10),
      ElementsAre(AlertHistoryEntry{Date(20), std::nullopt, 2},
                  AlertHistoryEntry{Date(0), "Disk", 1}, AlertHistoryEntry{Date(10), "Disk", 2},
                  AlertHistoryEntry{Date(30), "Disk", 1}, AlertHistoryEntry{Date(10), "Mail", 1}));
}

TEST_F(AlertHistoryTest, ExcludesItsStartAndIncludesItsEnd) {
  insert("Disk", {0, 10, 20, 30});
  EXPECT_THAT(history(0, 30, 10), ElementsAre(AlertHistoryEntry{Date(10), "Disk", 1},
                                              AlertHistoryEntry{Date(20), "Disk", 2}));
  // The last step is shorter than the others.
  EXPECT_THAT(history(0, 25, 10), ElementsAre(AlertHistoryEntry{Date(10), "Disk", 1},
                                              AlertHistoryEntry{Date(20), "Disk", 1}));
  EXPECT_THAT(history(10, 20, 100), ElementsAre(AlertHistoryEntry{Date(10), "Disk", 1}));
}

TEST_F(AlertHistoryTest, OfNothingIsEmpty) {
  EXPECT_THAT(history(0, 30, 10), IsEmpty());
  insert("Disk", {0, 10, 20, 30});
  EXPECT_THAT(history(31, 60, 10), IsEmpty());
  EXPECT_THAT(history(20, 20, 10), IsEmpty());
  EXPECT_THAT(history(20, 10, 10), IsEmpty());
}

TEST(HistorySteps, AreAThousandAtMost) {
  EXPECT_EQ(HistorySteps::make(Date(0), Date(1000), 1)->count(), 1000U);
  EXPECT_FALSE(HistorySteps::make(Date(0), Date(1000.5), 1));
  EXPECT_FALSE(HistorySteps::make(Date(0), Date(1), 1e-300));
  // What a caller has added up may be a little more.
  const double from = 7.5e8 + 0.1;
  EXPECT_EQ(HistorySteps::make(Date(from), Date(from + 1000 * 0.7), 0.7)->count(), 1000U);
  EXPECT_EQ(HistorySteps::make(Date(0), Date(0.1 * 3), 0.1)->count(), 3U);
  EXPECT_EQ(HistorySteps::make(Date(0), Date(1e-9), 1)->count(), 1U);
}

TEST(HistorySteps, NeedAStepThatLeadsForward) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double step : {0.0, -1.0, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(HistorySteps::make(Date(0), Date(10), step)) << step;
    EXPECT_FALSE(HistorySteps::make(Date(10), Date(0), step)) << step;
  }
  EXPECT_FALSE(HistorySteps::make(Date(-infinity), Date(0), 1));
  EXPECT_FALSE(HistorySteps::make(Date(0), Date(infinity), 1));
}

/// Few in some steps, more than are gone through in others.
TEST_F(AlertHistoryTest, IsWhatCountingOneByOneGives) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same each time
  const std::optional<std::string> bundles[] = {std::nullopt, "", "Disk", "Mail"};
  std::vector<VLAlert> alerts;
  auto store = system_.store();
  for (int number = 0; number < 4000; ++number) {
    // Multiples of what no double holds exactly, clustered in places.
    const auto tenths = random() % 3 == 0 ? random() % 40 * (random() % 9) : 70 + random() % 9;
    alerts.push_back(alert("id", 0.1 * static_cast<double>(tenths)));
    alerts.back().bundle = bundles[random() % 4];
    store.insertAlert(alerts.back());
  }
  save(store);
  std::int64_t most = 0;
  for (int round = 0; round < 100; ++round) {
    const double from = 0.1 * static_cast<double>(random() % 100);
    const double to = from + 0.1 * static_cast<double>(1 + random() % 300);
    const double step = 0.1 * static_cast<double>(1 + random() % 20);
    const auto steps = HistorySteps::make(Date(from), Date(to), step);
    std::map<std::pair<std::optional<std::string>, Date>, std::int64_t> counts;
    for (const VLAlert& each : alerts) {
      if (*each.sentDate > Date(from) && *each.sentDate <= Date(to)) {
        Date start(from);
        for (std::size_t index = 0; index < steps->count(); ++index) {
          start = steps->start(index) <= *each.sentDate ? steps->start(index) : start;
        }
        ++counts[{each.bundle, start}];
      }
    }
    Entries expected;
    for (const auto& [key, count] : counts) {
      expected.push_back({key.second, key.first, count});
      most = std::max(most, count);
    }
    EXPECT_EQ(history(from, to, step), expected) << round;
  }
  EXPECT_GT(most, 400);
}

}  // namespace
}  // namespace velto
