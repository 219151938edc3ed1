// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "alerts/AlertBundleRegistry.h"
#include "alerts/VLAlert.h"
#include "store/ADAlertStore.h"
#include "store/DefaultLanguages.h"
#include "store/StoreContainer.h"

namespace velto::bench {

/// A directory for the stores of a run, which goes with all that is in it when this object does. It
/// is on the disk of VELTO_BENCH_DIRECTORY, or else of the system's temporary directory.
class BenchDirectory {
 public:
  BenchDirectory();
  ~BenchDirectory();
  BenchDirectory(const BenchDirectory&) = delete;
  BenchDirectory& operator=(const BenchDirectory&) = delete;

  const std::string& path() const { return path_; }
  /// A new empty directory in it.
  std::string make(const std::string& name) const;

 private:
  std::string path_;
};

/// What the stores of a run work with: the machine's own clock, log and languages, and an empty
/// directory of alert bundles.
class StoreParts {
 public:
  explicit StoreParts(const BenchDirectory& directory);
  StoreServices services();

 private:
  const std::string alertsDirectory_;
  AlertBundleRegistry bundles_;
  DefaultLanguages languages_;
};

/// Writes a file, with the folders that lead to it.
void writeFile(const std::string& path, const std::string& content);

/// The alert of this number: of 20 types and 10 bundles, sent half a minute after the one before
/// it; some have been read and resolved, within seconds. Three attributes.
VLAlert sampleAlert(std::size_t number);

/// The number of the first alert to save beside those in the store, which were sent before it.
inline constexpr std::size_t kFirstNew = std::size_t{1} << 24;

/// The same as it is when it comes in: neither read nor resolved.
VLAlert newAlert(std::size_t number);

/// When it was sent, in seconds since the reference date.
double sampleSentDate(std::size_t number);

/// Of a type that only the first alerts have.
inline constexpr const char* kListedType = "Listed";

/// A store of this many alerts, of which the first `listed` are of the listed type.
void fill(StoreContainer& container, std::size_t alerts, std::size_t listed);

}  // namespace velto::bench
