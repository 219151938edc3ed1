// SPDX-License-Identifier: Apache-2.0
// What a store handle does with files.

#include <atomic>
#include <filesystem>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/InterceptedFiles.h"
#include "tests/support/ScratchSystem.h"
#include "tests/support/SkipOrFail.h"

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

void save(ScratchSystem& system) {
  auto store = system.store();
  store.insertAlert(VLAlert());
  ASSERT_TRUE(store.save(nullptr));
}

TEST(StoreFiles, WhatOthersCanWriteIsToldOfAtTheStart) {
  ScratchSystem system;
  const auto directory = system.path(kStoreDirectory);
  save(system);
  EXPECT_THAT(system.log.lines(), testing::IsEmpty());
  std::filesystem::permissions(directory, std::filesystem::perms(0770));
  std::filesystem::permissions(directory / "alertData.db", std::filesystem::perms(0666));

  StoreContainer nextStart(resourceDirectory(), directory.string(), system.storeServices);
  EXPECT_NE(nextStart.persistentStoreCoordinator(), nullptr);
  const std::string file = (directory / "alertData.db").string();
  const std::string why = " can be written by others than its owner";
  // SQLite gives the files beside it the same mode.
  EXPECT_THAT(system.log.lines(),
              testing::IsSupersetOf({"The store is open to others: " + directory.string() + why,
                                     "The store is open to others: " + file + why}));
  nextStart.persistentStoreCoordinator();
  EXPECT_THAT(system.log.lines(), testing::SizeIs(testing::Le(4)));
}

TEST(StoreFiles, WhatBelongsToSomebodyElseIsToldOf) {
  if (geteuid() != 0) return skipOrFail("only root can give a file away");
  ScratchSystem system;
  const std::string directory = system.path(kStoreDirectory).string();
  save(system);
  ASSERT_EQ(chown(directory.c_str(), 65534, 0), 0);
  StoreContainer nextStart(resourceDirectory(), directory, system.storeServices);
  EXPECT_NE(nextStart.persistentStoreCoordinator(), nullptr);
  EXPECT_THAT(system.log.lines(), testing::ElementsAre("The store is open to others: " + directory +
                                                       " belongs to user 65534"));
}

}  // namespace
}  // namespace velto
