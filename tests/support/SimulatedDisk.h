// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/InterceptedFiles.h"

namespace velto {

/// What a disk holds for certain and what it may hold, call by call.
///
/// A write is certain when its file has been synced after it; before that, a power failure may drop
/// it, tear it into sectors, or let it come after later ones.
///
/// That a file is made, renamed or deleted is certain when the directory has been synced after it;
/// before that, a power failure may undo it, whatever becomes of the changes around it. The sync of
/// a file does nothing for its name. SQLite syncs the directory of a new log, too, but goes on when
/// that fails, so this disk takes no notice of it.
///
/// When a sync fails, what it was to make certain may never come to the disk, though everybody
/// still sees it.
class SimulatedDisk {
 public:
  enum class Failure {
    kLosesNothing,     ///< as when only the process is killed
    kLosesAll,         ///< whatever was not certain
    kLosesTearsMixes,  ///< by chance
  };

  /// Holds the files of the directory, for certain. It is the only one.
  explicit SimulatedDisk(const std::filesystem::path& directory);

  void apply(const FileCall& call);
  /// The same for a sync, of a file or of the directory, that fails.
  void applyFailedSync(const FileCall& sync);

  /// Whether the file is there and all it holds is certain; its name may not be.
  bool isCertain(const std::string& path) const;

  /// Writes what is there after a power failure at this moment into an empty directory.
  void fail(Failure failure, std::mt19937& chance, const std::filesystem::path& directory) const;

 private:
  struct File {
    std::string certain;
    std::vector<FileCall> pending;
  };
  using Names = std::map<std::string, std::shared_ptr<File>>;
  /// Names and what they stand for now, null for nothing: on the disk all at once, or not.
  using NameChange = std::vector<Names::value_type>;

  File& file(const std::string& path);
  void changeNames(NameChange change);
  void syncDirectory();
  static void apply(const NameChange& change, Names& names);
  static std::string content(const File& file, Failure failure, std::mt19937& chance);

  Names names_;  ///< as everybody sees them
  Names certainNames_;
  std::vector<NameChange> nameChanges_;  ///< that are not certain, in their order
};

}  // namespace velto
