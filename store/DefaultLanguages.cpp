// SPDX-License-Identifier: Apache-2.0
#include "store/DefaultLanguages.h"

#include <algorithm>
#include <array>
#include <utility>

#include "alerts/Bundle.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Languages.h"

namespace velto {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 12> kLanguagesByDomain = {{
    {"cn", "zh"},
    {"de", "de"},
    {"fr", "fr"},
    {"gf", "fr"},
    {"jp", "ja"},
    {"net", "en"},
    {"no", "no"},
    {"nz", "en"},
    {"org", "en"},
    {"pf", "fr"},
    {"tf", "fr"},
    {"uk", "en"},
}};

}  // namespace

DefaultLanguages::DefaultLanguages(std::string directory, const FileManager& fileManager,
                                   Preferences preferences)
    : directory_(std::move(directory)),
      fileManager_(fileManager),
      preferences_(std::move(preferences)) {}

std::string DefaultLanguages::defaultLocalizationForEmailAddress(std::string_view address) const {
  const std::string_view last = address.substr(address.rfind('.') + 1);
  const auto* found = std::find_if(kLanguagesByDomain.begin(), kLanguagesByDomain.end(),
                                   [last](const auto& row) { return row.first == last; });
  return found != kLanguagesByDomain.end() ? std::string(found->second)
                                           : preferredLocalizationIdentifier();
}

std::string DefaultLanguages::preferredLocalizationIdentifier() const {
  const auto preferences = preferences_();
  const auto entries = fileManager_.contentsOfDirectory(directory_, nullptr);
  if (entries && !entries->empty()) {
    if (const auto bundle = Bundle::bundleWithPath(directory_ + "/" + entries->front(), nullptr)) {
      const auto best =
          preferredLocalizationsFromArray(bundle->localizations(fileManager_), preferences);
      if (!best.empty()) {
        return best.front();
      }
    }
  }
  return canonicalLocaleIdentifier(preferences.front());
}

}  // namespace velto
