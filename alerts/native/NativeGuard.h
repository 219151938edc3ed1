// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <new>
#include <type_traits>

namespace velto {

/// Remembers for `exchangeHasRunOutOfMemory` that a function of the host ran out of memory on this
/// thread.
void noteThatMemoryRanOut() noexcept;

/// A function for the code of bundles, which fails without memory: -1, or nothing.
template <auto function>
struct Guarded;
template <typename Result, typename... Arguments, Result (*function)(Arguments...)>
struct Guarded<function> {
  static Result call(Arguments... arguments) noexcept {
    try {
      return function(arguments...);
    } catch (const std::bad_alloc&) {
      noteThatMemoryRanOut();
    }
    if constexpr (!std::is_void_v<Result>) return -1;
  }
};

}  // namespace velto
