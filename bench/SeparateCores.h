// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sched.h>
#include <sys/types.h>

namespace velto::bench {

/// Keeps this thread and another process on cores of their own, as long as this object lives:
/// whether they share one is chance otherwise, and decides how long a message takes from one to the
/// other. Does nothing where there is only one.
class SeparateCores {
 public:
  explicit SeparateCores(pid_t other);
  ~SeparateCores();
  SeparateCores(const SeparateCores&) = delete;
  SeparateCores& operator=(const SeparateCores&) = delete;

 private:
  const pid_t other_;
  cpu_set_t all_;
};

}  // namespace velto::bench
