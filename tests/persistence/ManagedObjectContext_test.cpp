// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/ManagedObjectContext.h"

#include <limits>

#include <gmock/gmock.h>

#include "tests/persistence/TestStore.h"
#include "tests/support/ErrorAnswer.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kWithNul("a\0b", 3);

TEST(ManagedObjectContext, SavedRecordsAreReadByAnotherContext) {
  const TestStore store;
  const auto writer = store.context();
  Thing thing = writer->insertNewObject<Thing>(kThing);
  thing.setName(kWithNul);
  thing.setDate(Date(-1.5));
  thing.setData(Data(kWithNul));
  thing.setEnabled(false);
  writer->insertNewObject<Thing>(kThing);
  expectSaved(*writer);

  const auto reader = store.context();
  const auto things = fetchThings(*reader, thingRequest());
  ASSERT_EQ(things.size(), 2U);
  EXPECT_EQ(things[0].name(), kWithNul);
  EXPECT_EQ(things[0].date(), Date(-1.5));
  EXPECT_EQ(things[0].data(), Data(kWithNul));
  EXPECT_EQ(things[0].enabled(), false);
  EXPECT_EQ(things[1].name(), std::nullopt);
  EXPECT_EQ(things[1].date(), std::nullopt);
  EXPECT_EQ(things[1].data(), std::nullopt);
  EXPECT_EQ(things[1].enabled(), std::nullopt);
}

TEST(ManagedObjectContext, EmptyIsNotAbsent) {
  const TestStore store;
  const auto writer = store.context();
  Thing thing = writer->insertNewObject<Thing>(kThing);
  thing.setName("");
  thing.setData(Data());
  expectSaved(*writer);

  const auto reader = store.context();
  const auto things = fetchThings(*reader, thingRequest("name != nil AND data != nil"));
  ASSERT_EQ(things.size(), 1U);
  EXPECT_EQ(things[0].name(), "");
  EXPECT_EQ(things[0].data(), Data());
}

TEST(ManagedObjectContext, DateThatIsNoNumberIsAbsentFromTheStart) {
  const TestStore store;
  const auto context = store.context();
  Thing thing = insertThing(*context, "thing");
  thing.setDate(Date(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(thing.date(), std::nullopt);
  EXPECT_THAT(names(*context, thingRequest("date = nil")), ElementsAre("thing"));
  thing.setDate(Date(-std::numeric_limits<double>::infinity()));
  expectSaved(*context);
  EXPECT_EQ(fetchThings(*store.context(), thingRequest()).at(0).date(), thing.date());
}

TEST(ManagedObjectContext, NothingIsVisibleToOthersBeforeTheSave) {
  const TestStore store;
  const auto writer = store.context();
  insertThing(*writer, "new");
  const auto reader = store.context();
  EXPECT_THAT(names(*reader, thingRequest()), IsEmpty());
  EXPECT_THAT(names(*writer, thingRequest()), ElementsAre("new"));
  expectSaved(*writer);
  EXPECT_THAT(names(*reader, thingRequest()), ElementsAre("new"));
}

TEST(ManagedObjectContext, DroppedContextLeavesNothing) {
  const TestStore store;
  insertThing(*store.context(), "lost");
  EXPECT_THAT(names(*store.context(), thingRequest()), IsEmpty());
}

TEST(ManagedObjectContext, OneRecordIsOneState) {
  const TestStore store;
  const auto context = store.context();
  Thing inserted = insertThing(*context, "one");
  EXPECT_EQ(fetchThings(*context, thingRequest()).at(0), inserted);
  expectSaved(*context);
  EXPECT_EQ(fetchThings(*context, thingRequest()).at(0), inserted);
  inserted.setName("two");
  EXPECT_EQ(fetchThings(*context, thingRequest()).at(0).name(), "two");
}

TEST(ManagedObjectContext, ARecordStaysAsItWasFirstReadUntilTheSave) {
  const TestStore store;
  const auto first = store.context();
  const Thing mine = insertThing(*first, "old");
  expectSaved(*first);
  const auto second = store.context();
  fetchThings(*second, thingRequest()).at(0).setName("new");
  expectSaved(*second);
  EXPECT_EQ(mine.name(), "old");
  expectSaved(*first);
  fetchThings(*first, thingRequest());
  EXPECT_EQ(mine.name(), "new");
  fetchThings(*second, thingRequest()).at(0).setName("newest");
  expectSaved(*second);
  EXPECT_THAT(names(*first, thingRequest()), ElementsAre("new"));
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("newest"));
}

TEST(ManagedObjectContext, AChangeOfWhatOthersHaveChangedSinceItWasReadConflicts) {
  const TestStore store;
  const auto writer = store.context();
  insertThing(*writer, "original");
  expectSaved(*writer);
  const auto first = store.context();
  EXPECT_THAT(names(*first, thingRequest()), ElementsAre("original"));
  const auto second = store.context();
  fetchThings(*second, thingRequest()).at(0).setDate(Date(2));
  expectSaved(*second);
  // Read again between the other's save and the change.
  fetchThings(*first, thingRequest()).at(0).setName("mine");
  expectConflict(*first);
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("original"));
  EXPECT_EQ(fetchThings(*store.context(), thingRequest()).at(0).date(), Date(2));
}

TEST(ManagedObjectContext, UpdateOfAChangedRecordConflicts) {
  const TestStore store;
  const auto first = store.context();
  Thing mine = insertThing(*first, "original");
  expectSaved(*first);
  const auto second = store.context();
  fetchThings(*second, thingRequest()).at(0).setName("theirs");
  expectSaved(*second);

  mine.setName("mine");
  insertThing(*first, "beside");
  expectConflict(*first);
  EXPECT_EQ(mine.name(), "mine");
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("theirs"));
  EXPECT_THAT(names(*first, thingRequest()), ElementsAre("mine", "beside"));
  expectConflict(*first);
}

TEST(ManagedObjectContext, DeletionOfAChangedRecordConflicts) {
  const TestStore store;
  const auto first = store.context();
  const Thing mine = insertThing(*first, "original");
  expectSaved(*first);
  const auto second = store.context();
  fetchThings(*second, thingRequest()).at(0).setName("theirs");
  expectSaved(*second);

  first->deleteObject(mine);
  expectConflict(*first);
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("theirs"));
  EXPECT_THAT(names(*first, thingRequest()), IsEmpty());
}

TEST(ManagedObjectContext, ChangesOfADeletedRecordConflict) {
  const TestStore store;
  const auto first = store.context();
  Thing updated = insertThing(*first, "updated");
  const Thing deleted = insertThing(*first, "deleted");
  expectSaved(*first);
  const auto second = store.context();
  for (const Thing& thing : fetchThings(*second, thingRequest())) {
    second->deleteObject(thing);
  }
  insertThing(*second, "successor");
  expectSaved(*second);

  updated.setName("changed");
  EXPECT_THAT(names(*first, thingRequest()), ElementsAre("changed", "successor"));
  expectConflict(*first);
  const auto third = store.context();
  third->deleteObject(fetchThings(*third, thingRequest()).at(0));
  first->deleteObject(updated);
  first->deleteObject(deleted);
  expectConflict(*first);
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("successor"));
}

TEST(ManagedObjectContext, EqualValueIsAChange) {
  const TestStore store;
  const auto first = store.context();
  Thing mine = insertThing(*first, "same");
  expectSaved(*first);
  const auto second = store.context();
  fetchThings(*second, thingRequest()).at(0).setName("same");
  EXPECT_TRUE(second->hasChanges());
  expectSaved(*second);
  mine.setName("same");
  expectConflict(*first);
}

TEST(ManagedObjectContext, SavesOneAfterTheOther) {
  const TestStore store;
  const auto context = store.context();
  Thing thing = insertThing(*context, "0");
  for (int round = 1; round < 4; ++round) {
    expectSaved(*context);
    thing.setName(std::to_string(round));
  }
  expectSaved(*context);
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("3"));
  context->deleteObject(thing);
  expectSaved(*context);
  EXPECT_THAT(names(*store.context(), thingRequest()), IsEmpty());
}

TEST(ManagedObjectContext, DeletingTwiceIsHarmless) {
  const TestStore store;
  const auto context = store.context();
  const Thing pending = insertThing(*context, "pending");
  context->deleteObject(pending);
  context->deleteObject(pending);
  EXPECT_FALSE(context->hasChanges());
  const Thing saved = insertThing(*context, "saved");
  expectSaved(*context);
  context->deleteObject(saved);
  context->deleteObject(saved);
  expectSaved(*context);
  context->deleteObject(saved);
  EXPECT_FALSE(context->hasChanges());
}

TEST(ManagedObjectContext, RowIdsAreNeverUsedAgain) {
  const TestStore store;
  const auto first = store.context();
  Thing mine = insertThing(*first, "first");
  expectSaved(*first);
  const auto second = store.context();
  second->deleteObject(fetchThings(*second, thingRequest()).at(0));
  expectSaved(*second);
  insertThing(*second, "second");
  expectSaved(*second);
  mine.setName("changed");
  expectConflict(*first);
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("second"));
}

TEST(ManagedObjectContext, EntitiesAreApart) {
  const TestStore store;
  const auto context = store.context();
  insertThing(*context, "thing");
  context->insertNewObject("Other").setValue(0, std::string("other"));
  expectSaved(*context);
  const auto others = store.context()->executeFetchRequest(FetchRequest("Other"), nullptr);
  ASSERT_TRUE(others.has_value());
  EXPECT_EQ(others->size(), 1U);
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("thing"));
}

TEST(ManagedObjectContext, SaveWithoutChangesDoesNotTouchTheFile) {
  const TestStore store;
  const auto context = store.context();
  insertThing(*context, "thing");
  expectSaved(*context);
  const std::string before = readFile(store.path() + "-wal");
  expectSaved(*context);
  EXPECT_EQ(readFile(store.path() + "-wal"), before);
}

TEST(ManagedObjectContext, ConflictDoesNotTouchTheFile) {
  const TestStore store;
  const auto first = store.context();
  Thing mine = insertThing(*first, "original");
  expectSaved(*first);
  const auto second = store.context();
  fetchThings(*second, thingRequest()).at(0).setName("theirs");
  expectSaved(*second);
  const std::string before = readFile(store.path() + "-wal");
  insertThing(*first, "beside");
  mine.setName("mine");
  expectConflict(*first);
  EXPECT_EQ(readFile(store.path() + "-wal"), before);
}

TEST(ManagedObjectContext, TellsWhatCameOfASave) {
  const TestStore store;
  const auto context = store.context();
  Thing thing = insertThing(*context, "thing");
  ErrorAnswer saved;
  context->save(saved.block());
  EXPECT_EQ(saved.calls, 1);
  EXPECT_EQ(saved.error, std::nullopt);
  EXPECT_FALSE(context->hasChanges());
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("thing"));

  // The context knows the version that it has written.
  thing.setName("changed");
  expectSaved(*context);

  ErrorAnswer unchanged;
  context->save(unchanged.block());
  EXPECT_EQ(unchanged.calls, 1);
  EXPECT_EQ(unchanged.error, std::nullopt);

  const auto other = store.context();
  fetchThings(*other, thingRequest()).at(0).setName("other");
  expectSaved(*other);
  thing.setName("mine");
  ErrorAnswer conflict;
  context->save(conflict.block());
  EXPECT_EQ(conflict.calls, 1);
  ASSERT_TRUE(conflict.error.has_value());
  EXPECT_EQ(conflict.error->code, kConflictErrorCode);
  EXPECT_TRUE(context->hasChanges());
}

TEST(ManagedObjectContext, MayBeDestroyedByWhatIsTold) {
  TestStore store;
  auto context = std::shared_ptr(store.context());
  insertThing(*context, "thing");
  // The last that keeps the store open: nothing is left to wait for when it goes.
  store.close();
  ManagedObjectContext& saved = *context;
  bool isSaved = false;
  saved.save([&isSaved, context = std::move(context)](std::optional<Error> error) mutable {
    isSaved = !error;
    context.reset();
  });
  EXPECT_TRUE(isSaved);
  store.open();
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("thing"));
}

TEST(ManagedObjectContext, WithoutCoordinatorFetchAndSaveFail) {
  ManagedObjectContext context;
  context.setPersistentStoreCoordinator(nullptr);
  Thing thing = context.insertNewObject<Thing>("Anything");
  EXPECT_EQ(thing.name(), std::nullopt);
  thing.setEnabled(true);
  EXPECT_EQ(thing.enabled(), true);
  EXPECT_EQ(thing.name(), std::nullopt);
  EXPECT_TRUE(context.hasChanges());

  std::optional<Error> error = makeError("Earlier", 1, "");
  EXPECT_FALSE(context.save(&error));
  EXPECT_EQ(error->code, kNoStoreErrorCode);
  ErrorAnswer told;
  context.save(told.block());
  EXPECT_EQ(told.calls, 1);
  EXPECT_EQ(told.error->code, kNoStoreErrorCode);
  error.reset();
  EXPECT_FALSE(context.executeFetchRequest<Thing>(thingRequest(), &error).has_value());
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, kNoStoreErrorCode);
  context.deleteObject(thing);
  EXPECT_FALSE(context.hasChanges());
  EXPECT_FALSE(context.save(nullptr));
}

TEST(ManagedObjectContext, CoordinatorWithoutStoreFails) {
  ManagedObjectContext context;
  context.setPersistentStoreCoordinator(std::make_shared<PersistentStoreCoordinator>(thingModel()));
  std::optional<Error> error;
  EXPECT_FALSE(context.executeFetchRequest<Thing>(thingRequest(), &error).has_value());
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, kNoStoreErrorCode);
  insertThing(context, "thing");
  error.reset();
  EXPECT_FALSE(context.save(&error));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, kNoStoreErrorCode);
}

TEST(ManagedObjectContextDeathTest, MistakesEndTheProcess) {
  const TestStore store;
  const auto context = store.context();
  EXPECT_DEATH(context->insertNewObject("Nothing"), "no entity Nothing");
  Thing thing = context->insertNewObject<Thing>(kThing);
  EXPECT_DEATH(thing.setValue(0, true), "attribute 0 of Thing");
  EXPECT_DEATH(thing.setValue(4, std::string()), "attribute 4");
  EXPECT_DEATH(thing.value(4), "no attribute 4");
}

}  // namespace
}  // namespace velto
