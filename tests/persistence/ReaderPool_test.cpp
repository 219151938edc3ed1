// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/ReaderPool.h"

#include <fcntl.h>
#include <set>
#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileDescriptor.h"
#include "tests/persistence/OpenStore.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAre;

TEST(ReaderPool, ReadersAreUsedAgain) {
  const OpenStore store(thingModel());
  ReaderPool pool(store.path());
  const SQLiteConnection* first = nullptr;
  {
    const ReaderPool::Reader lent = pool.lend(nullptr);
    first = lent.get();
  }
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(pool.lend(nullptr).get(), first);
}

TEST(ReaderPool, ReadersInUseAreApart) {
  const OpenStore store(thingModel());
  ReaderPool pool(store.path());
  std::vector<ReaderPool::Reader> lent;
  std::set<SQLiteConnection*> distinct;
  for (int count = 0; count < 20; ++count) {
    lent.push_back(pool.lend(nullptr));
    EXPECT_EQ(lent.back()->integer("SELECT count(*) FROM Thing"), 0);
    distinct.insert(lent.back().get());
  }
  EXPECT_EQ(distinct.size(), 20U);
}

TEST(ReaderPool, FileThatIsGoneIsAnError) {
  ReaderPool pool("/nonexistent/store.db");
  std::optional<Error> error;
  EXPECT_EQ(pool.lend(&error), nullptr);
  EXPECT_TRUE(error.has_value());
}

/// Lets the process open only so many files more, as long as it lives.
class FilesLeft {
 public:
  explicit FilesLeft(rlim_t count) {
    getrlimit(RLIMIT_NOFILE, &before_);
    const FileDescriptor lowest(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const rlimit low{static_cast<rlim_t>(lowest.get()) + count, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
  }
  ~FilesLeft() { EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before_), 0); }
  FilesLeft(const FilesLeft&) = delete;
  FilesLeft& operator=(const FilesLeft&) = delete;

 private:
  rlimit before_{};
};

TEST(ReaderPool, WithoutDescriptorsAFetchFailsAndTheNextWorks) {
  int failed = 0;
  for (rlim_t count = 0; count < 10; ++count) {
    const TestStore store;
    const auto context = store.context();
    insertThing(*context, "thing");
    expectSaved(*context);
    std::optional<Error> error;
    bool found = false;
    {
      const FilesLeft left(count);
      found = context->executeFetchRequest(thingRequest(), &error).has_value();
    }
    EXPECT_EQ(found, !error.has_value());
    failed += found ? 0 : 1;
    EXPECT_THAT(names(*context, thingRequest()), ElementsAre("thing"));
  }
  EXPECT_GT(failed, 0);
  EXPECT_LT(failed, 10);
}

}  // namespace
}  // namespace velto
