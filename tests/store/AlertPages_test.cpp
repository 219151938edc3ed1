// SPDX-License-Identifier: Apache-2.0
// Pages of lists of alerts, beside a list of everything that is filtered and sorted in memory.

#include "store/AlertPages.h"

#include <algorithm>
#include <limits>
#include <random>
#include <set>

#include "platform/persistence/search/PageSearch.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "store/ADAlertAdditions.h"
#include "store/AlertSearch.h"
#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

using Identifiers = std::vector<std::string>;

template <typename T, std::size_t size>
T oneOf(const T (&values)[size], std::mt19937& random) {
  return values[random() % size];
}

const std::optional<std::string> kBundles[] = {std::nullopt, "Disk", "Mail", "Load"};
const std::optional<std::string> kTypes[] = {std::nullopt, "Full", "Late", "Größe"};
const std::optional<std::string> kTexts[] = {std::nullopt, "disk",  "GRÖSSE",  "full",
                                             "s",          "nil 3", "nowhere", ""};

std::optional<Date> randomDate(std::mt19937& random) {
  return random() % 5 == 0 ? std::nullopt : std::optional(Date(static_cast<double>(random() % 12)));
}

VLAlert randomAlert(int number, std::mt19937& random) {
  VLAlert made;
  made.identifier = std::to_string(number);
  made.bundle = oneOf(kBundles, random);
  made.type = oneOf(kTypes, random);
  made.sentDate = randomDate(random);
  if (random() % 2 == 0) made.readDate = randomDate(random);
  if (random() % 3 == 0) made.resolvedDate = randomDate(random);
  if (random() % 3 != 0) {
    made.attributes = PropertyList::Dictionary{
        {"full", PropertyList("nil " + std::to_string(random() % 7))},
        {"nested", PropertyList(PropertyList::Array{PropertyList(
                       random() % 8 == 0 ? "eine große Größe" : "nothing of interest")})}};
  }
  return made;
}

AlertFilter randomFilter(std::mt19937& random) {
  const std::optional<bool> states[] = {std::nullopt, std::nullopt, true, false};
  AlertFilter filter;
  if (random() % 2 == 0) filter.bundle = oneOf(kBundles, random);
  if (random() % 2 == 0) filter.type = oneOf(kTypes, random);
  if (random() % 3 == 0) filter.from = randomDate(random);
  if (random() % 3 == 0) filter.to = randomDate(random);
  filter.unread = oneOf(states, random);
  filter.unresolved = oneOf(states, random);
  if (random() % 2 == 0) filter.text = oneOf(kTexts, random);
  return filter;
}

/// What these few texts become when case does not count.
std::string folded(std::string text) {
  const std::pair<std::string, std::string> letters[] = {{"Ö", "ö"}, {"ß", "ss"}};
  for (const auto& [from, to] : letters) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from)) {
      text.replace(at, from.size(), to);
    }
  }
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

bool hasText(const VLAlert& alert, const std::string& text) {
  std::vector<std::string> texts{alert.identifier.value_or(""), alert.type.value_or(""),
                                 alert.bundle.value_or("")};
  if (alert.attributes) {
    texts.push_back(*valueForKey(*alert.attributes, "full")->string());
    texts.push_back(*valueForKey(*alert.attributes, "nested")->array()->front().string());
  }
  return std::any_of(texts.begin(), texts.end(), [&](const std::string& one) {
    return folded(one).find(folded(text)) != std::string::npos;
  });
}

bool holds(const AlertFilter& filter, const VLAlert& alert) {
  return (!filter.bundle || alert.bundle == filter.bundle) &&
         (!filter.type || alert.type == filter.type) &&
         (!filter.from || (alert.sentDate && *alert.sentDate > *filter.from)) &&
         (!filter.to || (alert.sentDate && *alert.sentDate <= *filter.to)) &&
         (!filter.unread || alert.readDate.has_value() != *filter.unread) &&
         (!filter.unresolved || alert.resolvedDate.has_value() != *filter.unresolved) &&
         (!filter.text || hasText(alert, *filter.text));
}

class AlertPagesTest : public StoreTest {
 protected:
  std::shared_ptr<PersistentStoreCoordinator> coordinator() {
    return system_.container.persistentStoreCoordinator();
  }

  void insert(const std::vector<VLAlert>& alerts) {
    auto store = system_.store();
    for (const VLAlert& each : alerts) {
      store.insertAlert(each);
    }
    save(store);
  }

  AlertPage page(const AlertFilter& filter, std::size_t limit,
                 const std::optional<std::string>& after = std::nullopt) {
    std::optional<RowPlace> place;
    if (after) {
      place = placeFromPosition(*after);
      EXPECT_TRUE(place) << *after;
    }
    std::optional<Error> error;
    auto found = listAlerts(coordinator(), filter, place, limit, &error);
    EXPECT_TRUE(found) << error->localizedDescription();
    return found.value_or(AlertPage());
  }

  std::vector<VLAlert> allPages(const AlertFilter& filter, std::size_t limit) {
    AlertPage next = page(filter, limit);
    std::vector<VLAlert> all = next.alerts;
    while (next.next) {
      EXPECT_THAT(next.alerts, SizeIs(limit));
      next = page(filter, limit, next.next);
      EXPECT_FALSE(next.alerts.empty());
      all.insert(all.end(), next.alerts.begin(), next.alerts.end());
    }
    return all;
  }

  /// Many, in the order of their insertion.
  std::vector<VLAlert> insertRandom(int count, std::mt19937& random) {
    std::vector<VLAlert> alerts;
    for (int number = 0; number < count; ++number) {
      alerts.push_back(randomAlert(number, random));
    }
    insert(alerts);
    return alerts;
  }

  /// The row ids of all pages, found with so many steps along the indexes.
  std::vector<std::int64_t> allPlaces(const AlertFilter& filter, std::size_t limit,
                                      const std::vector<std::size_t>& turns) {
    RowSearch search = searchFor(filter);
    search.turns = turns;
    std::vector<std::int64_t> rowIds;
    std::optional<RowPlace> after;
    for (;;) {
      const auto found = findPage(*coordinator(), search, after, limit, nullptr);
      for (const RowPlace& place : found.value_or(std::vector<RowPlace>())) {
        rowIds.push_back(place.rowId);
        after = place;
      }
      if (!found || found->size() < limit) {
        return rowIds;
      }
    }
  }
};

/// The alerts that the filter holds for, in the order of the lists, of alerts in that of their row
/// ids.
std::vector<VLAlert> expected(std::vector<VLAlert> alerts, const AlertFilter& filter) {
  std::reverse(alerts.begin(), alerts.end());
  std::stable_sort(alerts.begin(), alerts.end(), [](const VLAlert& one, const VLAlert& other) {
    return one.sentDate > other.sentDate;
  });
  std::erase_if(alerts, [&](const VLAlert& each) { return !holds(filter, each); });
  return alerts;
}

TEST_F(AlertPagesTest, TogetherAreTheWholeListForAnyFilter) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same each time
  const auto alerts = insertRandom(300, random);
  std::set<std::size_t> sizes;
  for (int round = 0; round < 400; ++round) {
    const AlertFilter filter = randomFilter(random);
    const auto whole = expected(alerts, filter);
    EXPECT_EQ(allPages(filter, 1 + random() % 20), whole) << round;
    sizes.insert(whole.size());
  }
  EXPECT_GT(sizes.size(), 50U);
}

TEST_F(AlertPagesTest, AreTheSameHoweverTheyAreFound) {
  std::mt19937 random(2);  // NOLINT(cert-msc51-cpp): the same each time
  const auto alerts = insertRandom(300, random);
  for (int round = 0; round < 150; ++round) {
    const AlertFilter filter = randomFilter(random);
    std::vector<std::int64_t> whole;
    for (const VLAlert& each : expected(alerts, filter)) {
      whole.push_back(std::stol(*each.identifier) + 1);
    }
    const std::size_t limit = 1 + random() % 20;
    // One step at a time, and beginning again each time; then none at all.
    EXPECT_EQ(allPlaces(filter, limit, std::vector<std::size_t>(400, 1)), whole) << round;
    EXPECT_EQ(allPlaces(filter, limit, {2, 3}), whole) << round;
    EXPECT_EQ(allPlaces(filter, limit, {}), whole) << round;
  }
}

TEST_F(AlertPagesTest, TellOfMoreOnlyWhereThereIsMore) {
  insert({alert("1", 1), alert("2", 2), alert("3", 3)});
  EXPECT_EQ(page({}, 4).next, std::nullopt);
  EXPECT_EQ(page({}, 3).next, std::nullopt);
  const auto first = page({}, 2);
  EXPECT_THAT(identifiers(first.alerts), ElementsAre("3", "2"));
  ASSERT_TRUE(first.next);
  const auto second = page({}, 2, first.next);
  EXPECT_THAT(identifiers(second.alerts), ElementsAre("1"));
  EXPECT_EQ(second.next, std::nullopt);
  EXPECT_THAT(page({.bundle = "Other"}, 2).alerts, IsEmpty());
}

TEST_F(AlertPagesTest, EndWhereTheAlertsAreLarge) {
  std::vector<VLAlert> large;
  for (int number = 0; number < 9; ++number) {
    large.push_back(alert(std::to_string(number), number));
    large.back().attributes = PropertyList::Dictionary{{"text", std::string(300000, 'x')}};
  }
  insert(large);
  const auto first = page({}, 9);
  EXPECT_THAT(identifiers(first.alerts), ElementsAre("8", "7", "6", "5"));
  const auto second = page({}, 5, first.next);
  EXPECT_THAT(identifiers(second.alerts), ElementsAre("4", "3", "2", "1"));
  const auto last = page({}, 5, second.next);
  EXPECT_THAT(identifiers(last.alerts), ElementsAre("0"));
  EXPECT_EQ(last.next, std::nullopt);
  // The last one of all makes it large.
  EXPECT_EQ(page({.to = Date(3)}, 4).next, std::nullopt);
}

/// Alerts that nobody touches come once each, in order, whatever others do.
TEST_F(AlertPagesTest, MissAndRepeatNothingThatNobodyTouches) {
  std::mt19937 random(3);  // NOLINT(cert-msc51-cpp): the same each time
  auto alerts = insertRandom(400, random);
  int next = 400;
  for (const AlertFilter& filter : {AlertFilter(), AlertFilter{.unread = true},
                                    AlertFilter{.bundle = "Disk"}, AlertFilter{.text = "s"}}) {
    std::set<std::string> touched;
    Identifiers found;
    std::optional<std::string> after;
    do {
      const AlertPage one = page(filter, 7, after);
      after = one.next;
      for (const VLAlert& each : one.alerts)
        found.push_back(*each.identifier);
      auto store = system_.store();
      for (int change = 0; change < 3; ++change) {
        alerts.push_back(randomAlert(next++, random));
        touched.insert(*alerts.back().identifier);
        store.insertAlert(alerts.back());
        const VLAlert& gone = alerts[random() % alerts.size()];
        touched.insert(*gone.identifier);
        store.deleteAlert(gone, nullptr);
      }
      save(store);
    } while (after);
    const auto isTouched = [&](const std::string& each) { return touched.contains(each); };
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), found.size());
    std::erase_if(found, isTouched);
    auto store = system_.store();
    auto untouched = alerts;
    std::erase_if(untouched, [&](const VLAlert& each) {
      return !store.getAlertWithIdentifier(each.identifier, nullptr);
    });
    alerts = untouched;
    auto whole = identifiers(expected(untouched, filter));
    std::erase_if(whole, isTouched);
    EXPECT_THAT(found, ElementsAreArray(whole));
    EXPECT_GT(whole.size(), 20U);
  }
}

TEST_F(AlertPagesTest, GoOnBehindAnAlertThatIsGone) {
  insert({alert("1", 1), alert("2", 2), alert("3", 2), alert("4", 3)});
  const auto first = page({}, 2);
  EXPECT_THAT(identifiers(first.alerts), ElementsAre("4", "3"));
  auto store = system_.store();
  store.deleteAlert(alert("3"), nullptr);
  save(store);
  EXPECT_THAT(identifiers(page({}, 9, first.next).alerts), ElementsAre("2", "1"));
}

TEST_F(AlertPagesTest, OfTextLookIntoValuesAndNotIntoTheirNames) {
  auto attributed = alert("id", 1);
  attributed.attributes = PropertyList::Dictionary{
      {"volume", PropertyList("/Home")},
      {"percent", PropertyList(std::int64_t{93})},
      {"list", PropertyList(PropertyList::Array{
                   PropertyList(PropertyList::Dictionary{{"größe", PropertyList("ÄRGER")}})})}};
  insert({attributed, alert(std::nullopt)});
  const auto finds = [&](const char* text) { return page({.text = text}, 9).alerts.size(); };
  EXPECT_EQ(finds("/home"), 1U);
  EXPECT_EQ(finds("ärger"), 1U);
  EXPECT_EQ(finds("ID"), 1U);
  EXPECT_EQ(finds("almostfull"), 2U);
  EXPECT_EQ(finds("DISK"), 2U);
  EXPECT_EQ(finds(""), 2U);
  EXPECT_EQ(finds("volume"), 0U);
  EXPECT_EQ(finds("größe"), 0U);
  EXPECT_EQ(finds("93"), 0U);
  EXPECT_EQ(finds("none"), 0U);
}

/// The store takes what is there, also what it would not write.
TEST_F(AlertPagesTest, OfTextReadAttributesInOtherForms) {
  auto store = system_.store();
  const auto insertBytes = [&](const char* identifier, std::string_view bytes) {
    insertADAlertObjectInManagedObjectContext(alert(identifier, 1), store.managedObjectContext())
        .setAttributes(Data(bytes));
  };
  insertBytes("old", "{ key = \"In Old Form\"; }");
  insertBytes("damaged", "bplist00 in old form, but damaged");
  insertBytes("empty", "");
  save(store);
  EXPECT_THAT(identifiers(page({.text = "old form"}, 9).alerts), ElementsAre("old"));
}

TEST(AlertPositions, GoThereAndBack) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const std::optional<Date> date :
       {std::optional<Date>(), std::optional(Date(0)), std::optional(Date(-0.0)),
        std::optional(Date(7.5e8)), std::optional(Date(-1e300)), std::optional(Date(infinity))}) {
    for (const std::int64_t rowId : {std::int64_t{1}, std::numeric_limits<std::int64_t>::max()}) {
      const RowPlace place{date, rowId};
      EXPECT_THAT(positionText(place), SizeIs(32));
      EXPECT_EQ(placeFromPosition(positionText(place)), place);
    }
  }
}

TEST(AlertPositions, OfOthersAreNone) {
  const std::string good = positionText({Date(7.5e8), 12345});
  ASSERT_TRUE(placeFromPosition(good));
  for (std::size_t size = 0; size < good.size(); ++size) {
    EXPECT_FALSE(placeFromPosition(good.substr(0, size)));
  }
  EXPECT_FALSE(placeFromPosition(good + "0"));
  EXPECT_FALSE(placeFromPosition(" " + good.substr(1)));
  EXPECT_FALSE(placeFromPosition("-" + good.substr(1)));
  EXPECT_FALSE(placeFromPosition("0x" + good.substr(2)));
  EXPECT_FALSE(placeFromPosition(std::string(32, 'g')));
  std::string upper = good;
  std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
  ASSERT_NE(upper, good);
  EXPECT_FALSE(placeFromPosition(upper));
  const std::string date = good.substr(0, 16);
  EXPECT_FALSE(placeFromPosition(date + "0000000000000000"));
  EXPECT_FALSE(placeFromPosition(date + "8000000000000000"));
  EXPECT_FALSE(placeFromPosition(date + "ffffffffffffffff"));
  EXPECT_TRUE(placeFromPosition("7ff80000000000000000000000000001"));
  EXPECT_FALSE(placeFromPosition("7ff80000000000010000000000000001"));
  EXPECT_FALSE(placeFromPosition("fff80000000000000000000000000001"));
}

}  // namespace
}  // namespace velto
