// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace velto {

/// Something about a bundle that its author should know.
struct Finding {
  enum class Kind {
    kError,    ///< a reader will notice, or the daemon will refuse
    kWarning,  ///< probably not what was meant
  };

  Kind kind = Kind::kError;
  std::string file;
  std::size_t line = 0;  ///< from 1 on; 0 where it is of the whole file
  std::string text;      ///< in a phrase
};
using Findings = std::vector<Finding>;

}  // namespace velto
