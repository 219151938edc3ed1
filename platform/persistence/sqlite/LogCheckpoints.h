// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace velto {

class SQLiteConnection;

/// When the write-ahead log of a writing connection is copied into the file, and when it is
/// emptied. Used by whoever has the connection.
///
/// A log that was copied whole is written again from its beginning, and keeps its size until it is
/// emptied. It grows beyond what a checkpoint waits for when somebody reads for long, or when one
/// transaction writes much.
class LogCheckpoints {
 public:
  /// What an earlier process has left in the log is to be emptied.
  explicit LogCheckpoints(SQLiteConnection& connection);

  /// After a commit: copies a log that has become long, as far as readers let it. False when that
  /// has failed; the next call tries again.
  bool copyLongLog();
  /// Whether the log takes more room than it may keep when nobody saves.
  bool wantsEmptying() const { return isLeft_ || mostPages_ >= largeLog_; }
  /// Copies all of the log and gives its room back. Waits for nobody: when somebody reads from it,
  /// or another program writes, it stays as it is. False when something else has failed.
  bool empty();

 private:
  SQLiteConnection& connection_;
  // In pages.
  const int longLog_;   ///< of so many it is copied
  const int largeLog_;  ///< of so many it is emptied
  int next_ = longLog_;
  int mostPages_ = 0;  ///< since it was emptied

  bool isLeft_;
};

}  // namespace velto
