// SPDX-License-Identifier: Apache-2.0
#include "bench/SeparateCores.h"

#include <filesystem>
#include <string>

#include <fmt/format.h>

namespace velto::bench {
namespace {

void keepOn(pid_t thread, const cpu_set_t& cores) {
  ::sched_setaffinity(thread, sizeof(cores), &cores);
}

void keepAllOn(pid_t process, const cpu_set_t& cores) {
  for (const auto& thread :
       std::filesystem::directory_iterator(fmt::format("/proc/{}/task", process))) {
    keepOn(std::stoi(thread.path().filename()), cores);
  }
}

cpu_set_t firstOf(const cpu_set_t& cores) {
  cpu_set_t first;
  CPU_ZERO(&first);
  for (std::size_t core = 0; CPU_COUNT(&first) == 0; ++core) {
    if (CPU_ISSET(core, &cores)) CPU_SET(core, &first);
  }
  return first;
}

}  // namespace

SeparateCores::SeparateCores(pid_t other) : other_(other), all_() {
  ::sched_getaffinity(0, sizeof(all_), &all_);
  if (CPU_COUNT(&all_) < 2) return;
  const cpu_set_t first = firstOf(all_);
  cpu_set_t others;
  CPU_XOR(&others, &all_, &first);
  keepOn(0, first);
  keepAllOn(other_, others);
}

SeparateCores::~SeparateCores() {
  keepOn(0, all_);
  keepAllOn(other_, all_);
}

}  // namespace velto::bench
