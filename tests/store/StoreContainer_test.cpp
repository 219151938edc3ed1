// SPDX-License-Identifier: Apache-2.0
#include "store/StoreContainer.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileManager.h"
#include "platform/foundation/Languages.h"
#include "platform/foundation/Paths.h"
#include "store/ADAlertStore.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"
#include "tests/support/SkipOrFail.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

/// Passes on what is done to directories, notes which were synced, and lets a sync of one fail.
class ObservedEntries : public DirectoryEntries {
 public:
  explicit ObservedEntries(fs::path failing = {}) : failing_(std::move(failing)) {}

  std::optional<Error> rename(const std::string& from, const std::string& to) const override {
    return system().rename(from, to);
  }
  std::optional<Error> remove(const std::string& file) const override {
    return system().remove(file);
  }
  std::optional<Error> sync(const std::string& directory) const override {
    synced_.push_back(fs::canonical(directory));
    return synced_.back() == failing_ ? std::optional(makeError("Test", EIO, "no sync"))
                                      : std::nullopt;
  }

  const std::vector<fs::path>& synced() const { return synced_; }

 private:
  const fs::path failing_;
  mutable std::vector<fs::path> synced_;
};

class StoreContainerTest : public ::testing::Test {
 protected:
  StoreServices services(const DirectoryEntries& entries = DirectoryEntries::system()) {
    return {.bundles = bundles_,
            .languages = languages_,
            .entries = entries,
            .clock = clock_,
            .log = log_};
  }
  StoreContainer container(const DirectoryEntries& entries = DirectoryEntries::system()) {
    return {resourceDirectory(), directory_.string(), services(entries)};
  }

  TemporaryDirectory root_;
  fs::path directory_ = root_.path() / "Alerts";
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry bundles_{root_.path().string(), FileManager::system(), clock_, log_};
  DefaultLanguages languages_{root_.path().string(), FileManager::system(), preferredLanguages};
};

struct stat statusOf(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status;
}

TEST_F(StoreContainerTest, MakesTheMissingDirectoryForRootAlone) {
  if (geteuid() != 0) {
    return skipOrFail("only root can give a directory to root");
  }
  umask(0022);
  auto stores = container();
  ASSERT_NE(stores.persistentStoreCoordinator(), nullptr);
  const auto status = statusOf(directory_);
  EXPECT_EQ(status.st_uid, 0u);
  EXPECT_EQ(status.st_gid, 0u);
  EXPECT_EQ(status.st_mode & 07777u, 0750u);
  EXPECT_TRUE(fs::is_regular_file(directory_ / "alertData.db"));
}

TEST_F(StoreContainerTest, TheNameOfTheDirectoryLastsBeforeTheStoreIsThere) {
  for (const char* start : {"makes it", "finds it"}) {
    SCOPED_TRACE(start);
    const ObservedEntries entries;
    auto stores = container(entries);
    ASSERT_NE(stores.persistentStoreCoordinator(), nullptr);
    EXPECT_THAT(entries.synced(), Contains(fs::canonical(root_.path())));
    EXPECT_THAT(entries.synced(), Contains(fs::canonical(directory_)));
  }
}

TEST_F(StoreContainerTest, ADirectoryWhoseNameMayNotLastIsNoStore) {
  for (const fs::path& failing : {root_.path(), directory_}) {
    SCOPED_TRACE(failing);
    const ObservedEntries entries(failing);
    auto stores = container(entries);
    EXPECT_EQ(stores.persistentStoreCoordinator(), nullptr);
    ADAlertStore store(stores);
    EXPECT_FALSE(store.save(nullptr));
  }
  EXPECT_THAT(log_.lines(), ElementsAre("no sync", "Failed to initialize the store",
                                        HasSubstr("alertData.db: Input/output error"),
                                        "Failed to initialize the store"));
  EXPECT_NE(container().persistentStoreCoordinator(), nullptr) << "when it lasts";
}

TEST_F(StoreContainerTest, LeavesAnExistingDirectoryAsItIs) {
  ASSERT_EQ(mkdir(directory_.c_str(), 0700), 0);
  ASSERT_EQ(chmod(directory_.c_str(), 0755), 0);
  auto stores = container();
  ASSERT_NE(stores.persistentStoreCoordinator(), nullptr);
  EXPECT_EQ(statusOf(directory_).st_mode & 07777u, 0755u);
}

TEST_F(StoreContainerTest, NobodyElseCanReadTheFile) {
  auto stores = container();
  ASSERT_NE(stores.persistentStoreCoordinator(), nullptr);
  EXPECT_EQ(statusOf(directory_ / "alertData.db").st_mode & 0077u, 0u);
}

TEST_F(StoreContainerTest, MissingParentIsLoggedOnceAndEveryHandleSaysSo) {
  directory_ = root_.path() / "missing" / "Alerts";
  auto stores = container();
  for (int i = 0; i < 2; ++i) {
    ADAlertStore store(stores);
    std::optional<Error> error;
    EXPECT_EQ(store.getADAlertWithIdentifier("x", &error), std::nullopt);
    EXPECT_TRUE(error);
    EXPECT_FALSE(store.save(&error));
  }
  EXPECT_FALSE(fs::exists(directory_.parent_path()));
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("alertData.db"), "Failed to initialize the store",
                                        "Failed to initialize the store"));
}

TEST_F(StoreContainerTest, AFileInPlaceOfTheDirectoryIsLeftAlone) {
  root_.write("Alerts", "mine");
  auto stores = container();
  EXPECT_EQ(stores.persistentStoreCoordinator(), nullptr);
  EXPECT_EQ(readFile(directory_), "mine");
  EXPECT_EQ(log_.lines().size(), 1u);
}

TEST_F(StoreContainerTest, ADirectoryThatMayNotBeEnteredIsNoStore) {
  if (geteuid() != 0) {
    return skipOrFail("only root can act as somebody else");
  }
  auto stores = container();
  ASSERT_NE(stores.managedObjectModel(), nullptr);
  ASSERT_EQ(seteuid(65534), 0);
  EXPECT_EQ(stores.persistentStoreCoordinator(), nullptr);
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("alertData.db: Permission denied")));
  EXPECT_FALSE(fs::exists(directory_));
  EXPECT_EQ(stores.persistentStoreCoordinator(), nullptr) << "it is not tried again";
}

TEST_F(StoreContainerTest, AStoreOfAnotherModelStaysBitForBit) {
  fs::create_directory(directory_);
  const fs::path path = directory_ / "alertData.db";
  {
    std::vector<EntityDescription> entities;
    entities.emplace_back("ADAlert",
                          std::vector<AttributeDescription>{{"identifier", AttributeType::kString}},
                          std::vector<IndexDescription>{});
    PersistentStoreCoordinator earlier(
        std::make_shared<const ManagedObjectModel>(std::move(entities)));
    ASSERT_TRUE(earlier.addPersistentStore(path, nullptr));
  }
  const std::string before = readFile(path);
  auto stores = container();
  EXPECT_EQ(stores.persistentStoreCoordinator(), nullptr);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("alertData.db: a store of another model")));
  EXPECT_EQ(readFile(path), before);
}

TEST_F(StoreContainerTest, AFileOfAnotherProgramStaysBitForBit) {
  const std::string content = "this is no store, and somebody may want it";
  root_.write("Alerts/alertData.db", content);
  auto stores = container();
  EXPECT_EQ(stores.persistentStoreCoordinator(), nullptr);
  EXPECT_EQ(readFile(directory_ / "alertData.db"), content);
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("alertData.db")));
}

TEST_F(StoreContainerTest, WithoutAModelThereIsNoStore) {
  const TemporaryDirectory empty;
  StoreContainer stores(empty.path().string(), directory_.string(), services());
  EXPECT_EQ(stores.persistentStoreCoordinator(), nullptr);
  EXPECT_EQ(stores.persistentStoreCoordinator(), nullptr);
  EXPECT_FALSE(fs::exists(directory_));
  EXPECT_THAT(log_.lines(), ElementsAre("No model to generate a store from"));
}

TEST_F(StoreContainerTest, ADamagedModelIsNoModel) {
  const TemporaryDirectory resources;
  resources.write("Alerts.model", "{ Entities = ( { Name = ADAlert; Attributes = ( { Na");
  StoreContainer stores(resources.path().string(), directory_.string(), services());
  EXPECT_EQ(stores.managedObjectModel(), nullptr);
}

TEST_F(StoreContainerTest, AModelOfOtherEntitiesIsNoModel) {
  const TemporaryDirectory resources;
  resources.write("Alerts.model",
                  "{ Entities = ( { Name = ADAlert; Attributes = ( { Name = type; "
                  "Type = string; } ); Indexes = (); } ); }");
  StoreContainer stores(resources.path().string(), directory_.string(), services());
  EXPECT_EQ(stores.managedObjectModel(), nullptr);
}

TEST_F(StoreContainerTest, ConcurrentFirstCallsOpenOnce) {
  auto stores = container();
  std::vector<std::shared_ptr<PersistentStoreCoordinator>> seen(8);
  std::vector<std::thread> threads;
  threads.reserve(seen.size());
  for (auto& coordinator : seen) {
    threads.emplace_back([&] { coordinator = stores.persistentStoreCoordinator(); });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  for (const auto& coordinator : seen) {
    EXPECT_NE(coordinator, nullptr);
    EXPECT_EQ(coordinator, seen.front());
  }
}

}  // namespace
}  // namespace velto
