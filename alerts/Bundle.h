// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

class FileManager;

/// A bundle on disk: a directory with a readable Contents/Info.plist that holds a dictionary, in
/// any property-list format. Read once, when it is opened. A value; any thread may use its own
/// copy.
class Bundle {
 public:
  /// The bundle at `path`; nothing, with an error that names the file and says why, when it cannot
  /// be opened as one.
  static std::optional<Bundle> bundleWithPath(std::string path, ErrorSlot error);

  const std::string& path() const { return path_; }
  const PropertyList::Dictionary& infoDictionary() const { return infoDictionary_; }
  /// The languages that it carries: the names of its Contents/Resources/*.lproj folders less the
  /// extension, sorted.
  std::vector<std::string> localizations(const FileManager& fileManager) const;

 private:
  Bundle(std::string path, PropertyList::Dictionary infoDictionary);

  std::string path_;
  PropertyList::Dictionary infoDictionary_;
};

}  // namespace velto
