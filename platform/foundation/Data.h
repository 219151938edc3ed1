// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

/// An opaque sequence of bytes. Kept apart from std::string by type, because a string is UTF-8 text
/// everywhere in this system and bytes are not. A value; any thread may use its own copy.
class Data {
 public:
  Data() = default;
  explicit Data(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}
  explicit Data(std::string_view bytes) : bytes_(bytes.begin(), bytes.end()) {}

  /// Takes these bytes in place of its own, in the memory it has.
  void assign(std::string_view bytes) { bytes_.assign(bytes.begin(), bytes.end()); }

  const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }
  bool empty() const { return bytes_.empty(); }

  /// The same bytes as characters, for interfaces that take text. Valid as long as this value.
  std::string_view view() const {
    return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()};
  }

  auto operator<=>(const Data&) const = default;

 private:
  std::vector<std::uint8_t> bytes_;
};

}  // namespace velto
