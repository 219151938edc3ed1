// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "bench/SampleStore.h"

struct sqlite3;
struct sqlite3_stmt;

namespace velto::bench {

/// A store of many sample alerts, seven of ten unresolved, whose bundles know their types and have
/// no recovery actions. The daemon's code makes the file, and bare SQLite fills it, in seconds.
class MillionStore {
 public:
  MillionStore(const BenchDirectory& directory, std::size_t alerts);

  std::size_t alerts() const { return alerts_; }
  const std::string& path() const { return path_; }
  /// The store as the daemon has it, opened anew.
  std::unique_ptr<StoreContainer> open() const;
  /// The same in a copy of the file, which is in the directory of this name.
  std::string copy(const std::string& name) const;
  std::unique_ptr<StoreContainer> openIn(const std::string& directory) const;

 private:
  void writeBundles() const;
  void fill() const;

  const BenchDirectory& directory_;
  const std::size_t alerts_;
  const std::string path_;
  std::unique_ptr<StoreParts> parts_;
};

/// Bare SQLite on a file of such a store, with one statement each.
class BareMillion {
 public:
  explicit BareMillion(const std::string& directory);
  ~BareMillion();
  BareMillion(const BareMillion&) = delete;
  BareMillion& operator=(const BareMillion&) = delete;

  void execute(const std::string& sql);
  void insert(const VLAlert& alert);
  /// Steps through what a SELECT finds and copies all columns; gives how many rows there were.
  std::size_t read(const std::string& sql, std::size_t limit = SIZE_MAX);

 private:
  sqlite3_stmt* prepared(const std::string& sql);

  sqlite3* database_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
};

double milliseconds(const std::function<void()>& work);

/// What some work took: its time, and by how much the process grew at most meanwhile.
struct Cost {
  double milliseconds;
  std::size_t peakKiB;
};
Cost costOf(const std::function<void()>& work);

}  // namespace velto::bench
