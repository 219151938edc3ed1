// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace velto {

// Eight bytes of a text looked at in one go.

/// A word with this value in each byte.
constexpr std::uint64_t inEachByte(std::uint8_t value) {
  return ~std::uint64_t{0} / 0xff * value;
}

/// All bytes of a text of one to eight bytes, some of them twice.
inline std::uint64_t wordOf(std::string_view bytes) {
  if (bytes.size() >= 4) {
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    std::memcpy(&first, bytes.data(), sizeof first);
    std::memcpy(&last, bytes.data() + bytes.size() - sizeof last, sizeof last);
    return std::uint64_t{first} << 32 | last;
  }
  const auto byte = [&](std::size_t index) {
    return std::uint64_t{static_cast<unsigned char>(bytes[index])};
  };
  const std::uint64_t all = byte(0) << 16 | byte(bytes.size() / 2) << 8 | byte(bytes.size() - 1);
  return all << 40 | all << 16 | byte(0) << 8 | byte(0);
}

/// Whether `test` is true of one of the words that hold the text's bytes, each once or more often.
template <typename Test>
bool hasWord(std::string_view bytes, const Test& test) {
  constexpr std::size_t kSize = sizeof(std::uint64_t);
  if (bytes.size() < kSize) return !bytes.empty() && test(wordOf(bytes));
  std::uint64_t word = 0;
  for (std::size_t next = 0; next < bytes.size(); next += kSize) {
    std::memcpy(&word, bytes.data() + std::min(next, bytes.size() - kSize), kSize);
    if (test(word)) return true;
  }
  return false;
}

}  // namespace velto
