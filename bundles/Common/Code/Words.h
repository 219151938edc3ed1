// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace velto {

/// The formatter's own words in one language. A label includes what separates it from its value.
struct Words {
  const char* language;
  std::string_view senderName;
  std::string_view bundleLabel;
  std::string_view typeLabel;
  std::string_view timeLabel;
};

/// The words of the language that suits `localization` best; English when none does.
const Words& wordsForLocalization(std::string_view localization);

}  // namespace velto
