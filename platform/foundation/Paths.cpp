// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Paths.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace velto {

std::string rootedPath(std::string_view path) {
  const char* root = std::getenv("VELTO_ROOT");
  std::string result = root == nullptr ? "" : root;
  while (!result.empty() && result.back() == '/') {
    result.pop_back();
  }
  return result.append(path);
}

bool isPrivateSystem() {
  const char* root = std::getenv("VELTO_ROOT");
  return root != nullptr && *root != '\0';
}

std::string resourceDirectory() {
  constexpr std::string_view kResources = "share/velto/alerts";
  std::error_code error;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  const auto first = executable.parent_path().parent_path();
  auto folder = first;
  while (!std::filesystem::is_directory(folder / kResources, error)) {
    if (!folder.has_relative_path()) return (first / kResources).string();
    folder = folder.parent_path();
  }
  return (folder / kResources).string();
}

}  // namespace velto
