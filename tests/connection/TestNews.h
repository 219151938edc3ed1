// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>
#include <set>
#include <string>

#include "platform/connection/ReplyStream.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// Tells all streams made of it what the test says. Any thread; outlives its streams.
class TestNews {
 public:
  /// One that tells what comes from now on, each word in a message {"word": ...}.
  std::unique_ptr<ReplyStream> stream();
  void tell(const std::string& word);
  /// Of the streams.
  std::size_t count() const;
  /// How often a stream was asked and had nothing to tell.
  int vainQuestions() const;

 private:
  class Stream;

  mutable Mutex mutex_;
  std::set<Stream*> streams_ VELTO_GUARDED_BY(mutex_);
  int vainQuestions_ VELTO_GUARDED_BY(mutex_) = 0;
};

}  // namespace velto
