// SPDX-License-Identifier: Apache-2.0
#include "tests/support/FailingAllocations.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace velto {
namespace {

constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::max();

std::atomic<std::int64_t> allocationsUntilFailure = kNone;
thread_local bool isExempt = false;

void* allocate(std::size_t size) noexcept {
  const bool counts = !isExempt && allocationsUntilFailure.load(std::memory_order_relaxed) != kNone;
  const bool fails = counts && --allocationsUntilFailure == 0;
  return fails ? nullptr : std::malloc(size == 0 ? 1 : size);
}

}  // namespace

FailingAllocation::FailingAllocation(std::int64_t number) {
  isExempt = true;
  allocationsUntilFailure = number;
}

FailingAllocation::~FailingAllocation() {
  allocationsUntilFailure = kNone;
  isExempt = false;
}

bool FailingAllocation::hasFailed() const {
  return allocationsUntilFailure <= 0;
}

}  // namespace velto

void* operator new(std::size_t size) {
  void* const memory = velto::allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return velto::allocate(size);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
