#include "platform/persistence/ReaderPool.h"

#include <set>

#include <gtest/gtest.h>

#include "tests/persistence/OpenStore.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

TEST(ReaderPool, ReadersAreUsedAgain) {
  const OpenStore store(thingModel());
  ReaderPool pool(store.path());
  const Connection* first = nullptr;
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
  std::set<Connection*> distinct;
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

}  // namespace
}  // namespace velto
