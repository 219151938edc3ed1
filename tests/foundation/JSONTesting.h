// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace velto {

/// What the value's appendJSON makes of it.
template <typename T>
std::string asText(const T& value) {
  std::string text;
  appendJSON(text, value);
  return text;
}

}  // namespace velto
