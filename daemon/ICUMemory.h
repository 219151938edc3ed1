// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace velto {

/// Where memory comes from; as in <cstdlib>, any thread.
struct Heap {
  void* (*allocate)(std::size_t size) noexcept;
  void* (*reallocate)(void* memory, std::size_t size) noexcept;
  void (*release)(void* memory) noexcept;
};

/// malloc, realloc and free.
extern const Heap kSystemHeap;

/// Has ICU take its memory from `heap`, and from a reserve of a few MiB when that has none: version
/// 72 goes through a null pointer when it has no memory for the names of time zones. The reserve
/// costs no memory as long as it is not used. Once, before anything uses ICU; for the whole
/// process.
void keepMemoryForICU(const Heap& heap = kSystemHeap);

}  // namespace velto
