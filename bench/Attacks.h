// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace velto::bench {

/// What one user does to a daemon without regard for anybody else, for as long as its process
/// lives.
struct Attack {
  std::string_view title;
  gid_t group;  ///< 0 may read and post, any other nothing
  void (*run)(const std::string& socketPath);
};

/// All that we can think of. Each in a process with one thread.
const std::vector<Attack>& attacks();

/// A process that is an attacker, or keeps a processor busy. Ends with this object.
class HostileProcess {
 public:
  HostileProcess(const Attack& attack, const std::string& socketPath);
  /// Computes, and does nothing else.
  HostileProcess();
  ~HostileProcess();
  HostileProcess(HostileProcess&& other) noexcept;
  HostileProcess& operator=(HostileProcess&&) = delete;

  /// False when it has failed, and so has shown nothing.
  bool isRunning() const;

 private:
  template <typename Run>
  void start(gid_t group, const Run& run);

  pid_t process_ = -1;
};

}  // namespace velto::bench
