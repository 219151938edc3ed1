// SPDX-License-Identifier: Apache-2.0
#include "bundles/Common/Code/Words.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "platform/foundation/Languages.h"

namespace velto {
namespace {

// English comes first: it is the fallback.
constexpr std::array<Words, 6> kWords = {{
    {"en", "Alerts", "Bundle: ", "Type: ", "Time: "},
    {"fr", "Alertes", "Module\u00a0: ", "Type\u00a0: ", "Date\u00a0: "},
    {"de", "Warnungen", "Modul: ", "Art: ", "Zeit: "},
    {"zh", "警报", "模块：", "类型：", "时间："},
    {"ja", "アラート", "モジュール：", "種類：", "日時："},
    {"no", "Varsler", "Modul: ", "Type: ", "Tid: "},
}};

}  // namespace

const Words& wordsForLocalization(std::string_view localization) {
  std::vector<std::string> languages(kWords.size());
  std::transform(kWords.begin(), kWords.end(), languages.begin(),
                 [](const Words& words) { return words.language; });
  const auto best = preferredLocalizationsFromArray(languages, {std::string(localization)});
  return *std::find_if(kWords.begin(), kWords.end(),
                       [&best](const Words& words) { return words.language == best.front(); });
}

}  // namespace velto
