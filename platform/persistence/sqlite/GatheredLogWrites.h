// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace velto {

class FilesOfLog;

/// SQLite's way to its files, with one difference: what a connection adds to its write-ahead log is
/// gathered in memory and written in one piece at the latest when it is synced, not in two writes
/// for each page. Nobody may read a frame of the log before its commit, and with synchronous=FULL a
/// commit syncs the log before it says so in the log's index, so no other connection can miss what
/// is still here. The gathering connection reads its own log through it.
///
/// A write that fails, on a full disk for instance, is then the failure of the sync or the read
/// that needed it, with SQLite's code for the write.
///
/// The sync of a commit can be left to another thread, while the connection goes on: what is
/// committed is written, and seen by all, but may be lost with the power until `sync` has returned.
///
/// Made for one connection, before that is opened, and dropped after it has been closed. Stands on
/// what is SQLite's default at the time. One thread, but for `sync`.
class GatheredLogWrites {
 public:
  GatheredLogWrites();
  ~GatheredLogWrites();
  GatheredLogWrites(const GatheredLogWrites&) = delete;
  GatheredLogWrites& operator=(const GatheredLogWrites&) = delete;

  /// The name to open the connection with.
  const std::string& name() const { return name_; }

  /// Leaves the next sync to `sync`, unless the log begins anew with it.
  void leaveNextSync();
  /// No sync is left from now on. Whether one was.
  bool hasLeftSync();
  /// Syncs the log, which the connection has open. On any thread, also while the connection writes.
  /// SQLite's result code: once a sync of the log has failed, whoever asked for it, all later ones
  /// do, since the system tells only one of them what it has lost.
  int sync();

 private:
  const std::string name_;
  const std::unique_ptr<FilesOfLog> files_;
};

}  // namespace velto
