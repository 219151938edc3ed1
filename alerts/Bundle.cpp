// SPDX-License-Identifier: Apache-2.0
#include "alerts/Bundle.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "alerts/AlertBundleErrors.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/RegularFile.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumInfoSize = std::size_t{1} << 20;
constexpr std::string_view kLocalizationSuffix = ".lproj";

}  // namespace

std::optional<Bundle> Bundle::bundleWithPath(std::string path, ErrorSlot error) {
  const std::string file = path + "/Contents/Info.plist";
  const auto bytes = contentsOfRegularFile(file, kMaximumInfoSize, error);
  if (!bytes) {
    return std::nullopt;
  }
  std::optional<Error> problem;
  auto info = PropertyListSerialization::propertyList(Data(std::string_view(*bytes)), &problem);
  if (!info || info->dictionary() == nullptr) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kBundleNotOpenedErrorCode,
                                "Cannot use " + file + ": " +
                                    (problem ? problem->localizedDescription()
                                             : "it holds no dictionary")));
    return std::nullopt;
  }
  return Bundle(std::move(path), std::move(*info->dictionary()));
}

Bundle::Bundle(std::string path, PropertyList::Dictionary infoDictionary)
    : path_(std::move(path)), infoDictionary_(std::move(infoDictionary)) {}

std::vector<std::string> Bundle::localizations(const FileManager& fileManager) const {
  const std::string resources = path_ + "/Contents/Resources";
  std::vector<std::string> names;
  for (std::string& entry : fileManager.contentsOfDirectory(resources, nullptr).value_or(names)) {
    std::error_code ignored;
    if (entry.size() > kLocalizationSuffix.size() && entry.ends_with(kLocalizationSuffix) &&
        std::filesystem::is_directory(std::filesystem::path(resources) / entry, ignored)) {
      entry.resize(entry.size() - kLocalizationSuffix.size());
      names.push_back(std::move(entry));
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace velto
