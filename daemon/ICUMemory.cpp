// SPDX-License-Identifier: Apache-2.0
#include "daemon/ICUMemory.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <malloc.h>
#include <memory_resource>
#include <new>

#include <unicode/uclean.h>

#include "platform/foundation/Mutex.h"

namespace velto {
namespace {

/// Dates in a language, with their zone, take a tenth of this; and others may come meanwhile.
constexpr std::size_t kReserve = std::size_t{4} * 1024 * 1024;
/// Larger ones, of which there are few, are not used again.
constexpr std::size_t kLargestPooled = std::size_t{64} * 1024;

/// For when the heap has nothing. What is given back is used again.
class Reserve {
 public:
  /// Null when the reserve is used up.
  void* allocate(std::size_t size) noexcept;
  void release(void* memory) noexcept;
  bool holds(const void* memory) const;
  /// Of what the reserve holds.
  static std::size_t sizeOf(const void* memory) { return headerOf(memory)->size; }

 private:
  struct alignas(std::max_align_t) Header {
    std::size_t size;
  };
  /// The pools align a block by its size alone.
  static std::size_t blockSize(std::size_t size) {
    return sizeof(Header) + (size + sizeof(Header) - 1) / sizeof(Header) * sizeof(Header);
  }
  static const Header* headerOf(const void* memory) {
    return static_cast<const Header*>(memory) - 1;
  }

  static std::array<std::byte, kReserve> room;  // untouched pages cost nothing
  Mutex mutex_;
  std::pmr::monotonic_buffer_resource all_{room.data(), room.size(),
                                           std::pmr::null_memory_resource()};
  std::pmr::unsynchronized_pool_resource pools_{
      {.max_blocks_per_chunk = 16, .largest_required_pool_block = kLargestPooled}, &all_};
};

alignas(std::max_align_t) std::array<std::byte, kReserve> Reserve::room;

void* Reserve::allocate(std::size_t size) noexcept {
  const MutexLock lock(mutex_);
  try {
    return new (pools_.allocate(blockSize(size))) Header{size} + 1;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void Reserve::release(void* memory) noexcept {
  const MutexLock lock(mutex_);
  Header* const header = static_cast<Header*>(memory) - 1;
  pools_.deallocate(header, blockSize(header->size));
}

bool Reserve::holds(const void* memory) const {
  const auto* const byte = static_cast<const std::byte*>(memory);
  return std::less_equal<>()(room.data(), byte) && std::less<>()(byte, room.data() + room.size());
}

Reserve& reserve() {
  static Reserve& made = *new Reserve;  // ICU goes on to the end of the process
  return made;
}

Heap usual;

void* allocate(const void* /*context*/, std::size_t size) {
  void* const memory = usual.allocate(size);
  return memory != nullptr ? memory : reserve().allocate(size);
}

void release(const void* /*context*/, void* memory) {
  if (reserve().holds(memory)) {
    reserve().release(memory);
  } else {
    usual.release(memory);
  }
}

/// What has come from the reserve stays there, if need be in another place.
void* reallocate(const void* context, void* memory, std::size_t size) {
  const bool isReserved = reserve().holds(memory);
  void* moved = isReserved ? nullptr : usual.reallocate(memory, size);
  if (moved != nullptr) return moved;
  moved = reserve().allocate(size);
  if (moved == nullptr || memory == nullptr) return moved;
  const std::size_t before = isReserved ? Reserve::sizeOf(memory) : ::malloc_usable_size(memory);
  std::memcpy(moved, memory, std::min(before, size));
  release(context, memory);
  return moved;
}

}  // namespace

const Heap kSystemHeap = {
    .allocate = [](std::size_t size) noexcept { return std::malloc(size); },
    .reallocate = [](void* memory,
                     std::size_t size) noexcept { return std::realloc(memory, size); },
    .release = [](void* memory) noexcept { std::free(memory); }};

void keepMemoryForICU(const Heap& heap) {
  usual = heap;
  reserve();
  UErrorCode status = U_ZERO_ERROR;
  ::u_setMemoryFunctions(nullptr, allocate, reallocate, release, &status);
  if (U_FAILURE(status)) throw std::bad_alloc();
}

}  // namespace velto
