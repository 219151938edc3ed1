// SPDX-License-Identifier: Apache-2.0
// Pending changes laid over what the file holds.

#include <gmock/gmock.h>

#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

FetchRequest sorted(FetchRequest request, std::vector<SortDescriptor> descriptors,
                    std::size_t limit = 0) {
  request.setSortDescriptors(std::move(descriptors));
  request.setFetchLimit(limit);
  return request;
}

const std::vector<SortDescriptor> kNewestFirst{{"date", false}};
const std::vector<SortDescriptor> kOldestFirst{{"date", true}};

/// Three saved records, a to c, with the dates 1 to 3.
class OverlayTest : public ::testing::Test {
 protected:
  OverlayTest() {
    a_ = insertThing(*context_, "a", 1);
    b_ = insertThing(*context_, "b", 2);
    c_ = insertThing(*context_, "c", 3);
    expectSaved(*context_);
  }

  std::vector<std::string> found(const FetchRequest& request) { return names(*context_, request); }

  const TestStore store_;
  const std::unique_ptr<ManagedObjectContext> context_ = store_.context();
  std::optional<Thing> a_;
  std::optional<Thing> b_;
  std::optional<Thing> c_;
};

TEST_F(OverlayTest, UnsortedIsTheOrderOfInsertion) {
  insertThing(*context_, "d", 0);
  insertThing(*context_, "e", 9);
  a_->setDate(Date(99));
  EXPECT_THAT(found(thingRequest()), ElementsAre("a", "b", "c", "d", "e"));
}

TEST_F(OverlayTest, DeletedRecordsAreLeftOut) {
  context_->deleteObject(*b_);
  EXPECT_THAT(found(thingRequest()), ElementsAre("a", "c"));
  a_->setName("changed");
  context_->deleteObject(*a_);
  EXPECT_THAT(found(thingRequest()), ElementsAre("c"));
  const Thing pending = insertThing(*context_, "d");
  context_->deleteObject(pending);
  EXPECT_THAT(found(thingRequest()), ElementsAre("c"));
}

TEST_F(OverlayTest, RecordsThatMatchNoLongerAreLeftOut) {
  const FetchRequest early = thingRequest("date < %@", {Date(3)});
  b_->setDate(Date(5));
  EXPECT_THAT(found(early), ElementsAre("a"));
  a_->setDate(std::nullopt);
  EXPECT_THAT(found(early), IsEmpty());
}

TEST_F(OverlayTest, RecordsThatMatchNowAreAdded) {
  c_->setDate(Date(0));
  insertThing(*context_, "d", -1);
  insertThing(*context_, "e", 10);
  EXPECT_THAT(found(thingRequest("date < %@", {Date(2)})), ElementsAre("a", "c", "d"));
}

TEST_F(OverlayTest, PendingValuesDecideTheOrder) {
  a_->setDate(Date(2.5));
  insertThing(*context_, "d", 2.2);
  EXPECT_THAT(found(sorted(thingRequest(), kOldestFirst)), ElementsAre("b", "d", "a", "c"));
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst)), ElementsAre("c", "a", "d", "b"));
}

TEST_F(OverlayTest, AbsentSortsBelowPresent) {
  b_->setDate(std::nullopt);
  EXPECT_THAT(found(sorted(thingRequest(), kOldestFirst)), ElementsAre("b", "a", "c"));
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst)), ElementsAre("c", "a", "b"));
  expectSaved(*context_);
  EXPECT_THAT(found(sorted(thingRequest(), kOldestFirst)), ElementsAre("b", "a", "c"));
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst)), ElementsAre("c", "a", "b"));
}

TEST_F(OverlayTest, TiesKeepTheOrderOfInsertionOrItsReverse) {
  a_->setDate(Date(2));
  insertThing(*context_, "d", 2);
  insertThing(*context_, "e", 2);
  EXPECT_THAT(found(sorted(thingRequest(), kOldestFirst)), ElementsAre("a", "b", "d", "e", "c"));
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst)), ElementsAre("c", "e", "d", "b", "a"));
  expectSaved(*context_);
  EXPECT_THAT(found(sorted(thingRequest(), kOldestFirst)), ElementsAre("a", "b", "d", "e", "c"));
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst)), ElementsAre("c", "e", "d", "b", "a"));
}

TEST_F(OverlayTest, SeveralSortDescriptors) {
  insertThing(*context_, "b", 1);
  insertThing(*context_, "b", 3);
  const std::vector<SortDescriptor> byNameThenNewest{{"name", true}, {"date", false}};
  const auto foundDates = [&] {
    std::vector<double> dates;
    for (const Thing& thing : fetchThings(*context_, sorted(thingRequest(), byNameThenNewest))) {
      dates.push_back(thing.date()->secondsSinceReference());
    }
    return dates;
  };
  EXPECT_THAT(foundDates(), ElementsAre(1, 3, 2, 1, 3));
  expectSaved(*context_);
  EXPECT_THAT(foundDates(), ElementsAre(1, 3, 2, 1, 3));
}

TEST_F(OverlayTest, LimitCountsAfterTheOverlay) {
  EXPECT_THAT(found(sorted(thingRequest(), {}, 2)), ElementsAre("a", "b"));
  context_->deleteObject(*a_);
  EXPECT_THAT(found(sorted(thingRequest(), {}, 2)), ElementsAre("b", "c"));
  b_->setDate(Date(-1));
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst, 1)), ElementsAre("c"));
  EXPECT_THAT(found(sorted(thingRequest(), kOldestFirst, 1)), ElementsAre("b"));
  insertThing(*context_, "d", 9);
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst, 1)), ElementsAre("d"));
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst, 9)), ElementsAre("d", "c", "b"));
}

TEST_F(OverlayTest, LimitIsMetThoughManyOfTheFirstAreGone) {
  for (int index = 0; index < 20; ++index) {
    insertThing(*context_, "x", 10 + index);
  }
  expectSaved(*context_);
  for (const Thing& thing : fetchThings(*context_, thingRequest("date >= %@", {Date(10)}))) {
    context_->deleteObject(thing);
  }
  EXPECT_THAT(found(sorted(thingRequest(), kNewestFirst, 2)), ElementsAre("c", "b"));
}

TEST_F(OverlayTest, PendingChangesSurviveAFetchOfNewerValues) {
  const auto other = store_.context();
  a_->setName("mine");
  for (Thing& thing : fetchThings(*other, thingRequest())) {
    thing.setName("theirs");
  }
  expectSaved(*other);
  EXPECT_THAT(found(thingRequest()), ElementsAre("mine", "theirs", "theirs"));
  EXPECT_EQ(b_->name(), "theirs");
}

TEST_F(OverlayTest, RecordGoneFromTheFileKeepsItsPendingChanges) {
  const auto other = store_.context();
  for (const Thing& thing : fetchThings(*other, thingRequest())) {
    other->deleteObject(thing);
  }
  expectSaved(*other);
  b_->setName("still here");
  EXPECT_THAT(found(thingRequest()), ElementsAre("still here"));
  EXPECT_THAT(found(sorted(thingRequest("date = %@", {Date(2)}), {}, 1)),
              ElementsAre("still here"));
  expectConflict(*context_);
}

TEST_F(OverlayTest, FailedSaveKeepsTheOverlay) {
  const auto other = store_.context();
  fetchThings(*other, thingRequest()).at(0).setName("theirs");
  expectSaved(*other);
  a_->setName("mine");
  context_->deleteObject(*b_);
  insertThing(*context_, "d", 4);
  expectConflict(*context_);
  EXPECT_THAT(found(thingRequest()), ElementsAre("mine", "c", "d"));
}

}  // namespace
}  // namespace velto
