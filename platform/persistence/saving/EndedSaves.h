// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <span>

#include "platform/foundation/Error.h"
#include "platform/foundation/Mutex.h"
#include "platform/persistence/CommitObserver.h"
#include "platform/persistence/saving/SaveBatch.h"

namespace velto {

/// What has become of the saves: tells the observer, counts them, and knows why there are no more.
class EndedSaves {
 public:
  /// The observer may be null, and outlives this object.
  explicit EndedSaves(CommitObserver* observer) : observer_(observer) {}

  /// Whether the observer wants to know the rows of the next commit.
  bool wantsRows() const { return observer_ != nullptr && observer_->wantsRows(); }
  /// Their commit is on disk, or they have failed. To be called before they are told, so that
  /// whoever asks then is not told less. One thread at a time.
  void note(std::span<const Save> saves, std::span<const ChangedRow> rows) noexcept;
  /// Why nothing is saved from now on, or null. The error outlives this object.
  void noteRefusal(const Error* refusal) noexcept;

  // Any thread.

  SaveCounts counts() const;
  std::optional<Error> refusal() const;

 private:
  CommitObserver* const observer_;
  mutable Mutex mutex_;
  SaveCounts counts_ VELTO_GUARDED_BY(mutex_);
  const Error* refusal_ VELTO_GUARDED_BY(mutex_) = nullptr;
};

}  // namespace velto
