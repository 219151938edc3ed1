// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "bench/SampleStore.h"
#include "bench/ServiceProcesses.h"

namespace velto::bench {

/// Calls that save new alerts, made before, since it is the daemon that is measured. All clients
/// take the next one, so alerts come in the order of their dates, however many clients there are.
class PreparedSaves {
 public:
  /// Makes new ones. Nobody saves meanwhile.
  void prepare(std::size_t count) {
    calls_.resize(count);
    for (std::string& call : calls_) {
      call = saveOfNewAlert(number_++);
    }
    next_ = 0;
  }

  /// Saves the next one; after the last, which are saved already, the first again. False when the
  /// daemon does not say that it has saved it. Any thread.
  bool saveNext(MessageSocket& client) {
    static const std::string kSaved = std::string(R"({"parameters":{}})").append(1, '\0');
    return ask(client, calls_[next_++ % calls_.size()]) == kSaved;
  }

 private:
  std::size_t number_ = kFirstNew;
  std::vector<std::string> calls_;
  std::atomic<std::size_t> next_ = 0;
};

}  // namespace velto::bench
