// What the store holds after the power has failed, at each moment at which something has become
// certain.

#include <algorithm>
#include <functional>
#include <mutex>
#include <random>
#include <thread>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/persistence/StoreContent.h"
#include "tests/persistence/TestStore.h"
#include "tests/support/InterceptedFiles.h"
#include "tests/support/SimulatedDisk.h"

namespace velto {
namespace {

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Kind = FileCall::Kind;
using Failure = SimulatedDisk::Failure;

/// All calls, and the saves acknowledged between them.
class CallLog : public FileObserver {
 public:
  Verdict before(const FileCall& call) override {
    const std::lock_guard lock(mutex_);
    if (call.kind == Kind::kSync && --syncsToFailure_ == 0) {
      failedSync_ = calls_.size();
    }
    calls_.push_back(call);
    return {failedSync_ == calls_.size() - 1 ? SQLITE_IOERR_FSYNC : SQLITE_OK, 0};
  }

  void clear() {
    const std::lock_guard lock(mutex_);
    calls_.clear();
  }

  void acknowledge(std::string save) {
    const std::lock_guard lock(mutex_);
    acknowledged_.emplace_back(calls_.size(), std::move(save));
  }

  /// The sync of this number from now on, from 1, fails.
  void failSync(int number) { syncsToFailure_ = number; }
  bool hasFailedSync() const { return failedSync_.has_value(); }

  std::size_t size() const { return calls_.size(); }
  const FileCall& operator[](std::size_t index) const { return calls_[index]; }

  std::ptrdiff_t writesTo(const std::string& path) const {
    return std::count_if(calls_.begin(), calls_.end(), [&](const FileCall& call) {
      return call.kind == Kind::kWrite && call.path == path;
    });
  }

  std::vector<std::string> acknowledgedBefore(std::size_t call) const {
    std::vector<std::string> saves;
    for (const auto& [at, save] : acknowledged_) {
      if (at <= call) {
        saves.push_back(save);
      }
    }
    return saves;
  }

  void apply(std::size_t index, SimulatedDisk& disk) const {
    if (index == failedSync_) {
      disk.applyFailedSync(calls_[index].path);
    } else {
      disk.apply(calls_[index]);
    }
  }

 private:
  std::mutex mutex_;
  std::vector<FileCall> calls_;
  std::vector<std::pair<std::size_t, std::string>> acknowledged_;
  int syncsToFailure_ = 0;
  std::optional<std::size_t> failedSync_;
};

class Unobserved : public FileObserver {
  Verdict before(const FileCall&) override { return {}; }
};

struct Case {
  const char* name;
  Failure failure;
  unsigned seed;
};

void PrintTo(const Case& row, std::ostream* out) {
  *out << row.name;
}

class PowerFailure : public ::testing::TestWithParam<Case> {
 protected:
  /// From now on what happens to the store's files is a part of the log.
  void record(const TestStore& store) {
    disk_.emplace(std::filesystem::path(store.path()).parent_path());
    log_.clear();
  }

  using Check = std::function<void(const std::string& path, std::size_t call)>;

  /// What is there after a failure before the call.
  void failBefore(std::size_t call, const SimulatedDisk& disk, const Check& check) {
    SCOPED_TRACE(call);
    const TemporaryDirectory directory;
    disk.fail(GetParam().failure, chance_, directory.path());
    check(directory.path() / "store.db", call);
  }

  /// Lets the power fail before and after each sync.
  void failAtEachSync(const Check& check) {
    Unobserved unobserved;
    const InterceptedFiles files(unobserved);
    for (std::size_t call = 0; call < log_.size(); ++call) {
      const bool syncs = log_[call].kind == Kind::kSync;
      if (syncs) {
        failBefore(call, *disk_, check);
      }
      log_.apply(call, *disk_);
      if (syncs) {
        failBefore(call + 1, *disk_, check);
      }
    }
  }

  CallLog log_;
  std::optional<SimulatedDisk> disk_;
  std::mt19937 chance_{GetParam().seed};
};

TEST_P(PowerFailure, KeepsWhatWasAcknowledgedAndNoHalfSave) {
  std::vector<std::vector<std::string>> states;  // after each save
  {
    const InterceptedFiles files(log_);
    TestStore store;
    makePagesSmall(store);
    record(store);
    states.push_back(contentOf(*store.context()));
    std::mt19937 random(1);
    for (int save = 0; save < 80; ++save) {
      if (save == 60) {
        EXPECT_GT(log_.writesTo(store.path()), 0) << "the log was long enough for a checkpoint";
        store.close();
        store.open();
      }
      const auto context = store.context();
      changeAtRandom(*context, random);
      expectSaved(*context);
      log_.acknowledge("");
      states.push_back(contentOf(*store.context()));
    }
    store.close();
  }
  std::size_t outcomes = 0;
  failAtEachSync([&](const std::string& path, std::size_t call) {
    const std::size_t saved = log_.acknowledgedBefore(call).size();
    const std::size_t begun = std::min(saved + 1, states.size() - 1);
    EXPECT_THAT(recoveredContent(path), AnyOf(states[saved], states[begun]));
    ++outcomes;
  });
  EXPECT_GT(outcomes, 2 * states.size());
}

/// Each save of a thread inserts a pair.
void savePairs(const TestStore& store, const std::string& thread, CallLog& log) {
  for (int save = 0; save < 12; ++save) {
    const std::string name = thread + std::to_string(save);
    const auto context = store.context();
    insertThing(*context, name + " left").setData(Data(std::string(20000, 'x')));
    insertThing(*context, name + " right").setData(Data(std::string(20000, 'y')));
    expectSaved(*context);
    log.acknowledge(name);
  }
}

void expectWholePairs(const std::vector<std::string>& content,
                      const std::vector<std::string>& acknowledged) {
  for (const std::string& name : acknowledged) {
    EXPECT_THAT(content, Contains(StartsWith(name + " left ")));
  }
  for (const std::string& line : content) {
    const std::string name = line.substr(0, line.find(' '));
    EXPECT_THAT(content, Contains(StartsWith(name + " left ")));
    EXPECT_THAT(content, Contains(StartsWith(name + " right ")));
  }
}

TEST_P(PowerFailure, KeepsWhatWasAcknowledgedToSeveralAtOnce) {
  {
    const InterceptedFiles files(log_);
    TestStore store;
    record(store);
    std::vector<std::thread> threads;
    for (const char* thread : {"a", "b", "c", "d"}) {
      threads.emplace_back([&, thread] { savePairs(store, thread, log_); });
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
  }
  failAtEachSync([&](const std::string& path, std::size_t call) {
    expectWholePairs(recoveredContent(path), log_.acknowledgedBefore(call));
  });
}

TEST_P(PowerFailure, WhileCreatingLeavesNothingInTheWay) {
  std::string path;
  {
    const InterceptedFiles files(log_);
    path = TestStore().path();
  }
  const TemporaryDirectory empty;
  SimulatedDisk disk(empty.path());
  Unobserved unobserved;
  const InterceptedFiles files(unobserved);
  std::size_t call = 0;
  for (; log_[call].path != path; ++call) {
    failBefore(call, disk, [](const std::string& recovered, std::size_t) {
      EXPECT_FALSE(std::filesystem::exists(recovered));
      EXPECT_THAT(recoveredContent(recovered), IsEmpty());
    });
    log_.apply(call, disk);
  }
  EXPECT_GT(call, 10U);
  EXPECT_TRUE(disk.isCertain(path + "-new")) << "when it got its name";
}

/// Saves to a store whose sync of this number fails, if it comes to it, and then to the same store
/// opened anew.
void saveAcrossFailedSync(int number, CallLog& log, TestStore& store) {
  std::mt19937 random(2);
  log.failSync(number);
  for (int save = 0; save < 50 && !log.hasFailedSync(); ++save) {
    const auto context = store.context();
    changeAtRandom(*context, random);
    EXPECT_TRUE(context->save(nullptr) || log.hasFailedSync());
  }
  log.failSync(0);
  store.close();
  store.open();
  for (const char* name : {"first", "second", "third"}) {
    const auto context = store.context();
    insertThing(*context, name);
    expectSaved(*context);
  }
}

TEST_P(PowerFailure, KeepsWhatWasAcknowledgedAfterAFailedSync) {
  int number = 0;
  for (bool failed = true; failed; ++number) {
    SCOPED_TRACE(number);
    CallLog log;
    const InterceptedFiles files(log);
    TestStore store;
    makePagesSmall(store);
    log.clear();
    SimulatedDisk disk(std::filesystem::path(store.path()).parent_path());
    saveAcrossFailedSync(number + 1, log, store);
    failed = log.hasFailedSync();
    const auto content = contentOf(*store.context());
    for (std::size_t call = 0; call < log.size(); ++call) {
      log.apply(call, disk);
    }
    failBefore(log.size(), disk, [&](const std::string& path, std::size_t) {
      EXPECT_EQ(recoveredContent(path), content);
    });
  }
  EXPECT_GT(number, 52) << "each save syncs, and the checkpoint does so twice";
}

const Case kCases[] = {
    {"LosesNothing", Failure::kLosesNothing, 0},
    {"LosesAll", Failure::kLosesAll, 0},
    {"LosesTearsMixes1", Failure::kLosesTearsMixes, 1},
    {"LosesTearsMixes2", Failure::kLosesTearsMixes, 2},
};

std::string nameOf(const ::testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Store, PowerFailure, ::testing::ValuesIn(kCases), nameOf);

}  // namespace
}  // namespace velto
