// SPDX-License-Identifier: Apache-2.0
#include "platform/json/JSONSource.h"

#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

/// The longest name that an answer repeats as a whole.
constexpr std::size_t kLongestName = 256;

}  // namespace

std::string pathWithin(std::string_view member, std::string_view path) {
  std::string_view beginning = member.substr(0, kLongestName);
  beginning = beginning.substr(0, invalidUTF8Offset(beginning).value_or(beginning.size()));
  std::string whole(".");
  whole.append(beginning).append(beginning.size() < member.size() ? "…" : "").append(path);
  return whole;
}

std::string pathWithin(std::size_t element, std::string_view path) {
  std::string whole("[");
  whole.append(std::to_string(element)).append("]").append(path);
  return whole;
}

}  // namespace velto
