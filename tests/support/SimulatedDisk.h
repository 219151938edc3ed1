#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/support/InterceptedFiles.h"

namespace velto {

/// What a disk holds for certain and what it may hold, call by call. A write is certain when its
/// file has been synced after it; before that, a power failure may drop it, tear it into sectors,
/// or let it come after later ones. A new file's name is certain with its first sync. When a sync
/// fails, what it was to make certain may never come to the disk, though everybody still reads it.
class SimulatedDisk {
 public:
  enum class Failure {
    kLosesNothing,     ///< as when only the process is killed
    kLosesAll,         ///< whatever was not certain
    kLosesTearsMixes,  ///< by chance
  };

  /// Holds the files of the directory, for certain.
  explicit SimulatedDisk(const std::filesystem::path& directory);

  void apply(const FileCall& call);
  void applyFailedSync(const std::string& path);

  bool isCertain(const std::string& path) const;

  /// Writes what is there after a power failure at this moment into an empty directory.
  void fail(Failure failure, std::mt19937& chance, const std::filesystem::path& directory) const;

 private:
  struct File {
    std::string certain;
    std::vector<FileCall> pending;
    bool hasCertainName = false;
    std::optional<std::string> former;  ///< an earlier file whose deletion is not certain
  };

  static std::optional<std::string> content(const File& file, Failure failure,
                                            std::mt19937& chance);

  std::map<std::string, File> files_;
};

}  // namespace velto
