// SPDX-License-Identifier: Apache-2.0
#include "tools/text/SizeText.h"

#include <array>
#include <cstddef>

#include <fmt/format.h>

namespace velto {

std::string sizeText(std::int64_t bytes) {
  constexpr std::array kUnits = {"B", "KiB", "MiB", "GiB", "TiB"};
  constexpr double kStep = 1024;
  auto size = static_cast<double>(bytes);
  std::size_t unit = 0;
  while (size >= kStep && unit + 1 < kUnits.size()) {
    size /= kStep;
    ++unit;
  }
  return unit == 0 ? fmt::format("{} {}", bytes, kUnits[unit])
                   : fmt::format("{:.1f} {}", size, kUnits[unit]);
}

}  // namespace velto
