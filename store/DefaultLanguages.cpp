#include "store/DefaultLanguages.h"

#include <algorithm>
#include <array>
#include <utility>

#include "alerts/Bundle.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Languages.h"
#include "platform/foundation/Paths.h"
#include "store/ADAlertStore.h"

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

std::string defaultLocalizationForEmailAddress(std::string_view address) {
  const std::string_view last = address.substr(address.rfind('.') + 1);
  const auto* found = std::find_if(kLanguagesByDomain.begin(), kLanguagesByDomain.end(),
                                   [last](const auto& row) { return row.first == last; });
  return found != kLanguagesByDomain.end() ? std::string(found->second)
                                           : ADAlertStore::preferredLocalizationIdentifier();
}

std::string ADAlertStore::preferredLocalizationIdentifier() {
  const auto preferences = preferredLanguages();
  const std::string directory = rootedPath(VLAlertsDirectory);
  const auto entries = FileManager::system().contentsOfDirectory(directory, nullptr);
  if (entries && !entries->empty()) {
    if (const auto bundle = Bundle::bundleWithPath(directory + "/" + entries->front())) {
      const auto best = preferredLocalizationsFromArray(bundle->localizations(), preferences);
      if (!best.empty()) {
        return best.front();
      }
    }
  }
  return canonicalLocaleIdentifier(preferences.front());
}

}  // namespace velto
