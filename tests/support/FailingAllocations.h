// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace velto {

/// Makes one allocation of this process fail, on whichever thread but the one that asks for it, by
/// replacing the program's operator new; for test programs that link velto_test_allocations. One at
/// a time.
class FailingAllocation {
 public:
  /// The `number`th allocation from now on, beginning with 1, throws std::bad_alloc.
  explicit FailingAllocation(std::int64_t number);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether there have been so many.
  bool hasFailed() const;
};

}  // namespace velto
