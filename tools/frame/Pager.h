// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace velto {

/// A pager between standard output and the terminal: that of PAGER, or `less`. What is written to
/// standard output while it lives goes through it; the destructor waits until its user has seen
/// enough. One a process.
class Pager {
 public:
  /// Where there is none to be had, the output goes to the terminal as before.
  Pager();
  ~Pager();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

  /// Whether there is one that people would want: PAGER is neither empty nor `cat`.
  static bool isWanted();

 private:
  pid_t process_ = -1;
};

}  // namespace velto
