// SPDX-License-Identifier: Apache-2.0
#include "daemon/FeedPacer.h"

#include <chrono>
#include <cstdint>
#include <tuple>
#include <unistd.h>

#include "platform/foundation/TimerDescriptor.h"

namespace velto {

FeedPacer::FeedPacer(ChangeFeed& feed) : EventSource(idleTimer()), feed_(feed) {
  feed_.setAlarm([timer = descriptor()](auto time) { setTimer(timer, time); });
}

FeedPacer::~FeedPacer() {
  feed_.setAlarm({});
}

Event FeedPacer::serve() noexcept {
  std::uint64_t expirations = 0;
  std::ignore = ::read(descriptor(), &expirations, sizeof expirations);
  feed_.pace(std::chrono::steady_clock::now());
  return Event::kInput;
}

}  // namespace velto
