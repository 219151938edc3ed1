// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace velto {

/// Makes allocations of this process fail, on whichever thread but the one that asks for it, by
/// replacing the program's operator new; for test programs that link velto_test_allocations. One at
/// a time.
class FailingAllocation {
 public:
  enum class Lasts {
    kOnce,     ///< the next allocation succeeds again
    kToTheEnd  ///< of this object
  };

  /// The `number`th allocation from now on, beginning with 1, throws std::bad_alloc.
  explicit FailingAllocation(std::int64_t number, Lasts lasts = Lasts::kOnce);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether there have been so many.
  bool hasFailed() const;
};

/// malloc and realloc whose calls are counted, and fail, with those of operator new; for libraries
/// in C that can be handed an allocator. What they give is freed by free.
void* failableMalloc(std::size_t size) noexcept;
void* failableRealloc(void* memory, std::size_t size) noexcept;

}  // namespace velto
