// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/FileManager.h"

#include <cerrno>
#include <dirent.h>
#include <memory>

namespace velto {
namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

class SystemFileManager : public FileManager {
 public:
  std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path,
                                                              ErrorSlot error) const override {
    // std::filesystem's iterator ends the process when there is no memory for it.
    const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(path.c_str()));
    std::vector<std::string> names;
    const dirent* entry = nullptr;
    while (directory != nullptr && (errno = 0, entry = ::readdir(directory.get())) != nullptr) {
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") names.emplace_back(name);
    }
    if (directory == nullptr || errno != 0) {
      const int code = errno;
      replaceError(error, makePOSIXError(code, "Cannot read the directory " + path));
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
