// SPDX-License-Identifier: Apache-2.0
// What a store handle does with files.

#include <atomic>

#include <gtest/gtest.h>

#include "tests/support/InterceptedFiles.h"
#include "tests/support/ScratchSystem.h"

namespace velto {
namespace {

class OpeningCounter : public FileObserver {
 public:
  Verdict before(const FileCall& call) override {
    openings += call.kind == FileCall::Kind::kOpen ? 1 : 0;
    return {};
  }

  std::atomic<int> openings = 0;
};

TEST(StoreFiles, ANewHandleOpensNone) {
  OpeningCounter counter;
  const InterceptedFiles files(counter);
  ScratchSystem system;
  VLAlert alert;
  alert.identifier = "a";
  auto first = system.store();
  first.insertAlert(alert);
  ASSERT_TRUE(first.save(nullptr));
  ASSERT_TRUE(system.store().getAlertWithIdentifier("a", nullptr));
  const int before = counter.openings;
  EXPECT_GT(before, 0);
  for (int handle = 0; handle < 10; ++handle) {
    auto store = system.store();
    EXPECT_EQ(store.getAlertWithIdentifier("a", nullptr), alert);
    ASSERT_TRUE(store.updateAlert(alert, nullptr));
    ASSERT_TRUE(store.save(nullptr));
  }
  EXPECT_EQ(counter.openings, before);
}

}  // namespace
}  // namespace velto
