// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/FileManager.h"

#include <filesystem>
#include <system_error>

namespace velto {
namespace {

class SystemFileManager : public FileManager {
 public:
  std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path,
                                                              ErrorSlot error) const override {
    std::vector<std::string> names;
    std::error_code code;
    std::filesystem::directory_iterator entry(path, code);
    for (; !code && entry != std::filesystem::directory_iterator(); entry.increment(code)) {
      names.push_back(entry->path().filename().string());
    }
    if (code) {
      replaceError(error, makePOSIXError(code.value(), "Cannot read the directory " + path));
      return std::nullopt;
    }
    return names;
  }
};

}  // namespace

const FileManager& FileManager::system() {
  static const SystemFileManager manager;
  return manager;
}

}  // namespace velto
