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
std::atomic<bool> failsToTheEnd = false;
thread_local bool isExempt = false;

bool nextFails() noexcept {
  if (isExempt || allocationsUntilFailure.load(std::memory_order_relaxed) == kNone) return false;
  const std::int64_t left = --allocationsUntilFailure;
  return left == 0 || (left < 0 && failsToTheEnd);
}

void* allocate(std::size_t size) noexcept {
  return nextFails() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* failableMalloc(std::size_t size) noexcept {
  return allocate(size);
}

void* failableRealloc(void* memory, std::size_t size) noexcept {
  return nextFails() ? nullptr : std::realloc(memory, size);
}

FailingAllocation::FailingAllocation(std::int64_t number, Lasts lasts) {
  isExempt = true;
  failsToTheEnd = lasts == Lasts::kToTheEnd;
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
