// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/Progress.h"

#include <iostream>
#include <langinfo.h>
#include <string_view>
#include <unistd.h>

#include "tools/text/Bar.h"
#include "tools/text/Message.h"
#include "tools/text/Width.h"

namespace velto {
namespace {

constexpr std::size_t kWidth = 30;
constexpr std::chrono::milliseconds kPause(100);

}  // namespace

Progress::Progress(std::int64_t total) : total_(total), isShown_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  // Back to the beginning of the line, and nothing behind it.
  if (isShown_) std::cerr << "\r\x1b[K" << std::flush;
}

void Progress::reach(std::int64_t count) {
  const auto now = std::chrono::steady_clock::now();
  if (!isShown_ || now - drawn_ < kPause) return;
  drawn_ = now;
  const std::string alerts = sayCount("{} alert", "{} alerts", count);
  if (total_ <= 0) {
    std::cerr << '\r' << alerts << "\x1b[K" << std::flush;
    return;
  }
  const double share = static_cast<double>(count) / static_cast<double>(total_);
  const bool hasBlocks = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
  std::cerr << "\r[" << padded(bar(share, kWidth, hasBlocks), kWidth) << "] "
            << static_cast<int>(100 * share) << " %  " << alerts << "\x1b[K" << std::flush;
}

}  // namespace velto
