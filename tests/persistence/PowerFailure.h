// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/sqlite/StoreFile.h"
#include "tests/persistence/StoreContent.h"
#include "tests/persistence/TestStore.h"
#include "tests/support/InterceptedFiles.h"
#include "tests/support/SimulatedDisk.h"

namespace velto {

/// What VELTO_RANDOM_SEED says, so that other failures than those of every day can be had; else 0.
inline unsigned randomSeed() {
  const char* const given = std::getenv("VELTO_RANDOM_SEED");
  return given == nullptr ? 0 : static_cast<unsigned>(std::strtoul(given, nullptr, 10));
}

/// All calls, and the saves acknowledged between them.
class CallLog : public FileObserver {
 public:
  using Kind = FileCall::Kind;

  Verdict before(const FileCall& call) override {
    const std::lock_guard lock(mutex_);
    if (call.kind == failingKind_ && --syncsToFailure_ == 0) {
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
  void failSync(int number, Kind kind = Kind::kSync) {
    syncsToFailure_ = number;
    failingKind_ = kind;
  }
  bool hasFailedSync() const { return failedSync_.has_value(); }

  std::size_t size() const { return calls_.size(); }
  const FileCall& operator[](std::size_t index) const { return calls_[index]; }

  std::ptrdiff_t writesTo(const std::string& path) const {
    return std::count_if(calls_.begin(), calls_.end(), [&](const FileCall& call) {
      return call.kind == Kind::kWrite && call.path == path;
    });
  }

  /// Of the calls of a kind the last one.
  std::size_t last(Kind kind) const {
    const auto found = std::find_if(calls_.rbegin(), calls_.rend(),
                                    [&](const FileCall& call) { return call.kind == kind; });
    EXPECT_NE(found, calls_.rend());
    return calls_.size() - 1 - static_cast<std::size_t>(found - calls_.rbegin());
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
      disk.applyFailedSync(calls_[index]);
    } else {
      disk.apply(calls_[index]);
    }
  }

 private:
  std::mutex mutex_;
  std::vector<FileCall> calls_;
  std::vector<std::pair<std::size_t, std::string>> acknowledged_;
  int syncsToFailure_ = 0;
  Kind failingKind_ = Kind::kSync;
  std::optional<std::size_t> failedSync_;
};

class UnobservedFiles : public FileObserver {
  Verdict before(const FileCall&) override { return {}; }
};

/// What becomes of that which is not certain, and the chance it is left to.
struct PowerFailureCase {
  const char* name;
  SimulatedDisk::Failure failure;
  unsigned seed;
};

inline void PrintTo(const PowerFailureCase& row, std::ostream* out) {
  *out << row.name;
}

inline std::string nameOf(const ::testing::TestParamInfo<PowerFailureCase>& info) {
  return info.param.name;
}

inline constexpr PowerFailureCase kPowerFailures[] = {
    {"LosesNothing", SimulatedDisk::Failure::kLosesNothing, 0},
    {"LosesAll", SimulatedDisk::Failure::kLosesAll, 0},
    {"LosesTearsMixes1", SimulatedDisk::Failure::kLosesTearsMixes, 1},
    {"LosesTearsMixes2", SimulatedDisk::Failure::kLosesTearsMixes, 2},
};

/// For a store that need not last, since the power fails no second time.
class UnsyncedEntries : public DirectoryEntries {
 public:
  std::optional<Error> rename(const std::string& from, const std::string& to) const override {
    return system().rename(from, to);
  }
  std::optional<Error> remove(const std::string& file) const override {
    return system().remove(file);
  }
  std::optional<Error> sync(const std::string& /*directory*/) const override {
    return std::nullopt;
  }
};

class PowerFailure : public ::testing::TestWithParam<PowerFailureCase> {
 protected:
  using Kind = FileCall::Kind;

  /// From now on what happens to the store's files is a part of the log.
  void record(const TestStore& store) {
    disk_.emplace(std::filesystem::path(store.path()).parent_path());
    log_.clear();
  }

  /// Saves some change and acknowledges it; returns what the store holds then.
  std::vector<std::string> saveAtRandom(const TestStore& store, std::mt19937& random) {
    const auto context = store.context();
    changeAtRandom(*context, random);
    expectSaved(*context);
    log_.acknowledge("");
    return contentOf(*store.context());
  }

  using Check = std::function<void(const std::string& path, std::size_t call)>;

  /// What is there after a failure before the call.
  void failBefore(std::size_t call, const SimulatedDisk& disk, const Check& check) {
    SCOPED_TRACE(call);
    const TemporaryDirectory directory;
    disk.fail(GetParam().failure, chance_, directory.path());
    check(directory.path() / "store.db", call);
  }

  /// Lets the power fail before and after each sync of a file, and each truncation.
  void failAtEachSync(const Check& check) {
    const auto counts = [this](std::size_t call) {
      return log_[call].kind == Kind::kSync || log_[call].kind == Kind::kTruncate;
    };
    failWhere(
        [&](std::size_t call) {
          return (call < log_.size() && counts(call)) || (call > 0 && counts(call - 1));
        },
        check);
  }

  /// Lets the power fail before each call, and after the last one.
  void failAtEachCall(const Check& check) {
    failWhere([](std::size_t) { return true; }, check);
  }

  /// What a start finds in the store that a failure has left.
  static std::vector<std::string> recovered(const std::string& path) {
    return recoveredContent(path, UnsyncedEntries());
  }

  /// A start shows so many things, and a failure right after it leaves as many. Returns how many
  /// bytes the start has written.
  std::size_t failAfterAStart(const std::string& path, const DirectoryEntries& entries,
                              std::size_t things) {
    const std::size_t start = log_.size();
    const auto model = thingModel();
    const std::vector<EntitySql> sql(model->entities().begin(), model->entities().end());
    const auto writer = StoreFile(path, *model, sql, entries).open(nullptr);
    EXPECT_NE(writer, nullptr);
    if (writer == nullptr) return 0;
    EXPECT_EQ(writer->integer("SELECT count(*) FROM Thing"), static_cast<std::int64_t>(things));
    std::size_t written = 0;
    for (std::size_t call = 0; call < log_.size(); ++call) {
      if (call >= start) written += log_[call].data.size();
      log_.apply(call, *disk_);
    }
    failBefore(log_.size(), *disk_, [&](const std::string& left, std::size_t) {
      EXPECT_EQ(recovered(left).size(), things);
    });
    return written;
  }

  CallLog log_;
  std::optional<SimulatedDisk> disk_;
  std::mt19937 chance_{GetParam().seed + randomSeed()};

 private:
  void failWhere(const std::function<bool(std::size_t call)>& isMoment, const Check& check) {
    UnobservedFiles unobserved;
    const InterceptedFiles files(unobserved);
    for (std::size_t call = 0; call <= log_.size(); ++call) {
      if (isMoment(call)) {
        failBefore(call, *disk_, check);
      }
      if (call < log_.size()) {
        log_.apply(call, *disk_);
      }
    }
  }
};

}  // namespace velto
