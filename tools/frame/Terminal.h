// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>

namespace velto {

/// What standard output can show. A value.
struct Terminal {
  bool isTerminal = false;
  std::optional<std::size_t> width = {};  ///< in columns; absent when it is no terminal
  bool hasColours = false;
  bool hasUTF8 = false;  ///< the locale's characters are UTF-8

  /// As the environment says: COLUMNS, NO_COLOR, TERM and the locale.
  static Terminal ofProcess();

  const char* ellipsis() const { return hasUTF8 ? "…" : "..."; }
};

}  // namespace velto
