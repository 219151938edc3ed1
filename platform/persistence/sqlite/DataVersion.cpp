// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/DataVersion.h"

namespace velto {

namespace {

/// How long a commit of another program may go unnoticed.
constexpr std::chrono::milliseconds kTrustTime{10};

}  // namespace

std::optional<std::int64_t> DataVersion::get() {
  // Read before SQLite is asked: a commit that is noted in between makes the next caller ask again.
  const std::uint64_t commits = commits_;
  const auto now = std::chrono::steady_clock::now();
  const MutexLock lock(mutex_);
  if (!version_ || commits != seenCommits_ || now - asked_ > kTrustTime) {
    ask();
    seenCommits_ = commits;
    asked_ = now;
  }
  return version_;
}

void DataVersion::ask() {
  if (reader_ == nullptr) {
    reader_ = readers_.lend(nullptr);
  }
  version_ = reader_ == nullptr ? std::nullopt : reader_->integer("PRAGMA data_version");
}

}  // namespace velto
