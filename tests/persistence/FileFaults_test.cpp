// Full disks and disks that fail, at each call in turn.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/persistence/StoreContent.h"
#include "tests/persistence/TestStore.h"
#include "tests/support/InterceptedFiles.h"

namespace velto {
namespace {

using ::testing::AnyOf;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;
using Kind = FileCall::Kind;

/// Lets a call fail, and those after it as long as the fault lasts.
class FaultyFiles : public FileObserver {
 public:
  struct Fault {
    std::set<Kind> kinds;
    int result;
    bool writesHalf = false;
    bool lasts = false;
  };

  Verdict before(const FileCall& call) override {
    if (!fault_.kinds.contains(call.kind) || number_ == 0 || --number_ > 0) {
      return {};
    }
    number_ = fault_.lasts ? 1 : 0;
    ++failures_;
    return {fault_.result, fault_.writesHalf ? call.data.size() / 2 : 0};
  }

  /// Of the calls of these kinds, the one of this number from now on, from 1, fails.
  void arm(const Fault& fault, int number) {
    fault_ = fault;
    number_ = number;
    failures_ = 0;
  }
  void disarm() { number_ = 0; }
  int failures() const { return failures_; }

 private:
  Fault fault_{};
  int number_ = 0;
  int failures_ = 0;
};

using Fault = FaultyFiles::Fault;

const std::set<Kind> kChanges = {Kind::kWrite, Kind::kTruncate};

struct Case {
  const char* name;
  Fault fault;
};

std::string nameOf(const ::testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

/// The calls fail that a save makes.
class SaveFault : public ::testing::TestWithParam<Case> {};

/// Tries the save with its first call failing, with its second, and so on, until it is through
/// before it comes to the fault. Gives how often it failed.
int saveThroughEachFault(FaultyFiles& faults, const Fault& fault, const TestStore& store,
                         ManagedObjectContext& context) {
  const auto before = contentOf(*store.context());
  int failed = 0;
  for (int number = 1;; ++number) {
    faults.arm(fault, number);
    std::optional<Error> error;
    const bool saved = context.save(&error);
    faults.disarm();
    EXPECT_EQ(saved, !error.has_value());
    if (saved) {
      if (faults.failures() == 0) {
        return failed;
      }
      // The fault met the checkpoint. Another save begins where this one was.
      context.insertNewObject<Thing>(kThing).setName(std::to_string(number));
    } else {
      ++failed;
      EXPECT_GT(faults.failures(), 0);
      EXPECT_EQ(error->code & 0xff, fault.result & 0xff) << error->localizedDescription();
      EXPECT_THAT(error->localizedDescription(), StartsWith(store.path() + ": "));
      EXPECT_TRUE(context.hasChanges());
      EXPECT_EQ(contentOf(*store.context()), before);
    }
  }
}

TEST_P(SaveFault, ChangesNothingAndTheNextSaveWorks) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  TestStore store;
  std::mt19937 random(3);
  for (int save = 0; save < 45; ++save) {
    SCOPED_TRACE(save);
    const auto context = store.context();
    changeAtRandom(*context, random);
    const auto expected = contentOf(*context);
    EXPECT_THAT(saveThroughEachFault(faults, GetParam().fault, store, *context), Ge(3));
    EXPECT_EQ(contentOf(*store.context()), expected);
    EXPECT_EQ(integrityOf(store.path()), "ok");
  }
}

const Case kSaveFaults[] = {
    {"DiskFull", {kChanges, SQLITE_FULL}},
    {"DiskFullHalfwayThroughAWrite", {kChanges, SQLITE_FULL, true}},
    {"DiskFullForAWhile", {kChanges, SQLITE_FULL, true, true}},
    {"WriteError", {kChanges, SQLITE_IOERR_WRITE}},
};

INSTANTIATE_TEST_SUITE_P(Store, SaveFault, ::testing::ValuesIn(kSaveFaults), nameOf);

}  // namespace
}  // namespace velto
