// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/StoreFileErrors.h"

#include <cerrno>
#include <sys/stat.h>
#include <system_error>

#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"

namespace velto {
namespace {

/// The first of the directories on the way to the path that is not there, or nothing.
std::string missingDirectory(const std::string& path) {
  for (auto end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    std::string directory = path.substr(0, end);
    if (!exists(directory)) return directory;
  }
  return {};
}

}  // namespace

bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

Error unusable(const std::string& path, int errorNumber) {
  return makeError(kPersistenceErrorDomain, SQLITE_CANTOPEN,
                   path + ": " + std::generic_category().message(errorNumber));
}

Error cannotMake(const std::string& path, int errorNumber) {
  const std::string missing = errorNumber == ENOENT ? missingDirectory(path) : "";
  const std::string why = missing.empty() ? std::generic_category().message(errorNumber)
                                          : missing + " does not exist; create it";
  return makeError(kPersistenceErrorDomain, SQLITE_CANTOPEN, path + " cannot be made: " + why);
}

void nameInstead(ErrorSlot error, const std::string& passing, const std::string& path) {
  if (error == nullptr || !error->has_value()) return;
  std::string description = (*error)->localizedDescription();
  const auto at = description.find(passing);
  if (at == std::string::npos) return;
  description.replace(at, passing.size(), path);
  *error = makeError((*error)->domain, (*error)->code, description);
}

}  // namespace velto
