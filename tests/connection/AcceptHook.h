// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace velto {

/// Calls `whenAccepted` on the accepting thread for each client that this process accepts, before
/// the program sees it. One at a time; stands as long as any client may come.
class AcceptHook {
 public:
  explicit AcceptHook(std::function<void()> whenAccepted);
  ~AcceptHook();
  AcceptHook(const AcceptHook&) = delete;
  AcceptHook& operator=(const AcceptHook&) = delete;
};

}  // namespace velto
