// SPDX-License-Identifier: Apache-2.0
#include "tools/text/Bar.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velto {

std::string bar(double share, std::size_t width, bool hasBlocks) {
  constexpr std::array kParts = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  const double columns = std::clamp(share, 0.0, 1.0) * static_cast<double>(width);
  if (!hasBlocks) {
    // What is there at all is seen.
    const auto whole = static_cast<std::size_t>(std::lround(columns));
    return std::string(share > 0 ? std::max<std::size_t>(whole, 1) : 0, '#');
  }
  auto eighths = static_cast<std::size_t>(std::lround(columns * 8));
  if (share > 0) eighths = std::max<std::size_t>(eighths, 1);
  std::string text;
  for (std::size_t column = 0; column < eighths / 8; ++column) {
    text += "█";
  }
  return text + kParts[eighths % 8];
}

}  // namespace velto
