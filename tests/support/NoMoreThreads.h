// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <pthread.h>

#include <gtest/gtest.h>

namespace velto {

/// As long as it lives, no thread can be started in this process: each would need a stack larger
/// than the address space. One thread at a time.
class NoMoreThreads {
 public:
  NoMoreThreads() {
    EXPECT_EQ(::pthread_getattr_default_np(&before_), 0);
    pthread_attr_t huge;
    EXPECT_EQ(::pthread_attr_init(&huge), 0);
    EXPECT_EQ(::pthread_attr_setstacksize(&huge, kNoSuchStack), 0);
    EXPECT_EQ(::pthread_setattr_default_np(&huge), 0);
    EXPECT_EQ(::pthread_attr_destroy(&huge), 0);
  }
  ~NoMoreThreads() {
    EXPECT_EQ(::pthread_setattr_default_np(&before_), 0);
    EXPECT_EQ(::pthread_attr_destroy(&before_), 0);
  }
  NoMoreThreads(const NoMoreThreads&) = delete;
  NoMoreThreads& operator=(const NoMoreThreads&) = delete;

 private:
  static constexpr std::size_t kNoSuchStack = std::size_t{1} << 50;

  pthread_attr_t before_;
};

}  // namespace velto
