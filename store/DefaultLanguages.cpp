#include "store/DefaultLanguages.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/foundation/Bundle.h"
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

/// The first entry in the order in which the file system gives them.
std::optional<std::string> firstEntry(const std::string& directory) {
  std::error_code error;
  const std::filesystem::directory_iterator entries(directory, error);
  if (error || entries == std::filesystem::directory_iterator()) {
    return std::nullopt;
  }
  return entries->path().string();
}

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
  if (const auto entry = firstEntry(rootedPath(VLAlertsDirectory))) {
    if (const auto bundle = Bundle::bundleWithPath(*entry)) {
      const auto best = preferredLocalizationsFromArray(bundle->localizations(), preferences);
      if (!best.empty()) {
        return best.front();
      }
    }
  }
  return canonicalLocaleIdentifier(preferences.front());
}

}  // namespace velto
