// SPDX-License-Identifier: Apache-2.0
#include "tools/text/Nearest.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <utility>

#include "tools/text/Joined.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

constexpr std::size_t kMostSuggestions = 3;
/// Nobody has mistyped a name of that length, and the distance takes its square of steps.
constexpr std::size_t kLongestName = 256;

char lower(char character) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

/// How many letters must be put in, left out, replaced or swapped with the next, whatever their
/// case.
std::size_t distance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> before(right.size() + 1);
  std::vector<std::size_t> above(right.size() + 1);
  std::vector<std::size_t> row(right.size() + 1);
  for (std::size_t j = 0; j <= right.size(); ++j) {
    above[j] = j;
  }
  for (std::size_t i = 1; i <= left.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t cost = lower(left[i - 1]) == lower(right[j - 1]) ? 0 : 1;
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + cost});
      if (i > 1 && j > 1 && lower(left[i - 1]) == lower(right[j - 2]) &&
          lower(left[i - 2]) == lower(right[j - 1])) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    std::swap(before, above);
    std::swap(above, row);
  }
  return above[right.size()];
}

}  // namespace

std::vector<std::string> nearestNames(std::string_view written,
                                      const std::vector<std::string>& names) {
  std::vector<std::pair<std::size_t, std::string>> found;
  for (const std::string& name : names) {
    if (written.empty() || std::max(name.size(), written.size()) > kLongestName) continue;
    const std::size_t far = name.starts_with(written) ? 0 : distance(written, name);
    if (far <= 1 + std::max(written.size(), name.size()) / 4) found.emplace_back(far, name);
  }
  std::sort(found.begin(), found.end());
  found.resize(std::min(found.size(), kMostSuggestions));
  std::vector<std::string> nearest;
  for (auto& [far, name] : found) {
    // Of names that are not equally near the nearest is what was meant.
    if (far == found.front().first) nearest.push_back(std::move(name));
  }
  return nearest;
}

std::string suggestion(std::string_view written, const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : nearestNames(written, names)) {
    appendItem(list, ", ", printable(name));
  }
  return list.empty() ? "" : say("did you mean {}?", list);
}

}  // namespace velto
