// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace velto {

/// A bar whose length stands to `width` columns as `share`, from 0 to 1, stands to 1; in eighths of
/// a column with block characters, or in whole ones. Any thread.
std::string bar(double share, std::size_t width, bool hasBlocks);

}  // namespace velto
