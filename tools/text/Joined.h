// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// Appends an item to a list in a text, behind a separator unless it is the first.
inline void appendItem(std::string& list, std::string_view separator, std::string_view item) {
  if (!list.empty()) list.append(separator);
  list.append(item);
}

}  // namespace velto
