// SPDX-License-Identifier: Apache-2.0
// What is told of commits, and what is counted between them.
#include "platform/persistence/CommitObserver.h"

#include <atomic>
#include <thread>

#include <gmock/gmock.h>

#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string textOf(const AttributeValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* date = std::get_if<Date>(&value)) {
    return std::to_string(static_cast<int>(date->secondsSinceReference()));
  }
  if (const auto* data = std::get_if<Data>(&value)) return std::to_string(data->size()) + " bytes";
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "yes" : "no";
  return "-";
}

std::string textOf(const std::vector<AttributeValue>& values) {
  std::string text;
  for (const AttributeValue& value : values) {
    text += (text.empty() ? "" : ",") + textOf(value);
  }
  return text;
}

/// Keeps each commit as a line for each row.
class Commits : public CommitObserver {
 public:
  bool wantsRows() noexcept override { return wants; }
  void noteCommit(std::uint64_t count, std::span<const ChangedRow> rows) noexcept override {
    counts.push_back(count);
    for (const ChangedRow& row : rows) {
      constexpr std::array kSigns{"+", "*", "-"};
      lines.push_back(kSigns.at(static_cast<std::size_t>(row.kind)) + *row.entity + " " +
                      textOf(row.before) +
                      (row.after == nullptr ? "" : " > " + textOf(*row.after)));
    }
  }

  std::atomic<bool> wants = true;
  std::vector<std::uint64_t> counts;
  std::vector<std::string> lines;
};

class CommitObserverTest : public ::testing::Test {
 protected:
  CommitObserverTest() {
    coordinator_->setCommitObserver(commits_);
    std::optional<Error> error;
    EXPECT_TRUE(coordinator_->addPersistentStore(directory_.path() / "store.db", &error));
  }

  std::unique_ptr<ManagedObjectContext> context() const {
    auto context = std::make_unique<ManagedObjectContext>();
    context->setPersistentStoreCoordinator(coordinator_);
    return context;
  }

  Thing onlyThing(ManagedObjectContext& context, std::string_view name) const {
    return fetchThings(context, thingRequest("name = %@", {std::string(name)})).at(0);
  }

  const TemporaryDirectory directory_;
  Commits commits_;
  const std::shared_ptr<PersistentStoreCoordinator> coordinator_ =
      std::make_shared<PersistentStoreCoordinator>(thingModel());
};

TEST_F(CommitObserverTest, HearsOfEveryRowInTheOrderOfItsChange) {
  auto first = context();
  insertThing(*first, "a", 1).setData(Data("bytes"));
  insertThing(*first, "b", 2).setEnabled(true);
  expectSaved(*first);
  EXPECT_THAT(commits_.lines, ElementsAre("+Thing  > a,1,5 bytes,-", "+Thing  > b,2,-,yes"));
  commits_.lines.clear();

  auto second = context();
  onlyThing(*second, "b").setDate(Date(3));
  second->deleteObject(onlyThing(*second, "a"));
  second->insertNewObject("Other");
  expectSaved(*second);
  EXPECT_THAT(commits_.lines,
              ElementsAre("+Other  > -", "*Thing b,2,-,yes > b,3,-,yes", "-Thing a,1,-,-"));
  EXPECT_THAT(commits_.counts, ElementsAre(2, 3));
}

TEST_F(CommitObserverTest, HearsOfDeletionsOfMany) {
  auto first = context();
  for (const auto* name : {"a", "b", "c"}) {
    insertThing(*first, name, 1);
  }
  expectSaved(*first);
  commits_.lines.clear();
  const auto rowIds = coordinator_->rowIds(thingRequest("name != %@", {std::string("b")}), nullptr);
  ASSERT_TRUE(rowIds);
  EXPECT_EQ(coordinator_->deleteRows(*coordinator_->model().entity(kThing), *rowIds, nullptr), 2u);
  EXPECT_THAT(commits_.lines, ElementsAre("-Thing a,1,-,-", "-Thing c,1,-,-"));
  EXPECT_THAT(commits_.counts, ElementsAre(3, 2));
}

TEST_F(CommitObserverTest, HearsNothingOfWhatIsNotOnDisk) {
  auto first = context();
  insertThing(*first, "a", 1);
  expectSaved(*first);
  auto late = context();
  onlyThing(*late, "a").setDate(Date(2));
  insertThing(*late, "unsaved");
  auto early = context();
  onlyThing(*early, "a").setDate(Date(3));
  expectSaved(*early);
  commits_.lines.clear();
  expectConflict(*late);
  EXPECT_THAT(commits_.lines, IsEmpty());
  EXPECT_THAT(commits_.counts, ElementsAre(1, 1));
}

TEST_F(CommitObserverTest, CountsRowsThatNobodyWants) {
  commits_.wants = false;
  auto first = context();
  insertThing(*first, "a", 1);
  insertThing(*first, "b", 1);
  expectSaved(*first);
  const auto rowIds = coordinator_->rowIds(thingRequest(), nullptr);
  coordinator_->deleteRows(*coordinator_->model().entity(kThing), *rowIds, nullptr);
  EXPECT_THAT(commits_.lines, IsEmpty());
  EXPECT_THAT(commits_.counts, ElementsAre(2, 2));
}

TEST_F(CommitObserverTest, SavesAreCountedAndThoseThatFail) {
  auto first = context();
  insertThing(*first, "a", 1);
  expectSaved(*first);
  auto late = context();
  onlyThing(*late, "a").setDate(Date(2));
  onlyThing(*first, "a").setDate(Date(3));
  expectSaved(*first);
  expectConflict(*late);
  EXPECT_EQ(coordinator_->saveCounts().all, 2);
  EXPECT_EQ(coordinator_->saveCounts().failed, 0);
  EXPECT_EQ(coordinator_->refusal(), std::nullopt);

  const auto path = directory_.path() / "store.db";
  std::filesystem::rename(path, path.string() + ".away");
  insertThing(*first, "b", 1);
  EXPECT_FALSE(first->save(nullptr));
  EXPECT_EQ(coordinator_->saveCounts().all, 3);
  EXPECT_EQ(coordinator_->saveCounts().failed, 1);
  EXPECT_EQ(coordinator_->refusal()->code, kMovedStoreErrorCode);

  std::filesystem::rename(path.string() + ".away", path);
  EXPECT_TRUE(first->save(nullptr));
  EXPECT_EQ(coordinator_->refusal(), std::nullopt);
}

TEST_F(CommitObserverTest, FreePagesAreToldInBytes) {
  EXPECT_EQ(coordinator_->freeSize(), 0);
  auto first = context();
  for (int index = 0; index < 200; ++index) {
    insertThing(*first, "name", index).setData(Data(std::string(1000, 'x')));
  }
  expectSaved(*first);
  const auto rowIds = coordinator_->rowIds(thingRequest(), nullptr);
  coordinator_->deleteRows(*coordinator_->model().entity(kThing), *rowIds, nullptr);
  EXPECT_GT(coordinator_->freeSize(), 100'000);
}

/// Saves go on all the while; what was committed before the moment is counted, and nothing else.
TEST_F(CommitObserverTest, CountsAreThoseOfOneMomentBetweenTwoCommits) {
  commits_.wants = false;
  FetchRequest all = thingRequest();
  FetchRequest dated = thingRequest("date != nil");
  for (FetchRequest* request : {&all, &dated}) {
    request->setOrder(FetchRequest::Order::kAny);
  }
  std::atomic<bool> isOver = false;
  std::vector<std::thread> savers;
  for (int index = 0; index < 3; ++index) {
    savers.emplace_back([&] {
      while (!isOver) {
        auto own = context();
        insertThing(*own, "a", 1);
        own->insertNewObject<Thing>(kThing);
        own->save(nullptr);
      }
    });
  }
  for (int round = 0; round < 50; ++round) {
    std::uint64_t committed = 0;
    const auto counts = coordinator_->counts(
        std::array{all, dated},
        [&] {
          for (const std::uint64_t count : commits_.counts) {
            committed += count;
          }
        },
        nullptr);
    ASSERT_TRUE(counts);
    EXPECT_THAT(*counts, ElementsAre(static_cast<std::int64_t>(committed),
                                     static_cast<std::int64_t>(committed / 2)));
  }
  isOver = true;
  for (std::thread& saver : savers) {
    saver.join();
  }
}

}  // namespace
}  // namespace velto
