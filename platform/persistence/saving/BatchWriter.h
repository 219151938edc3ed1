// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "platform/persistence/saving/EndedSaves.h"
#include "platform/persistence/saving/RowWriter.h"
#include "platform/persistence/saving/SaveBatch.h"
#include "platform/persistence/saving/UnsyncedCommits.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/persistence/sqlite/WriterTrust.h"

namespace velto {

/// Makes saves transactions of the writing connection. Used by whoever has that.
class BatchWriter {
 public:
  BatchWriter(SQLiteConnection& connection, WriterTrust& trust, UnsyncedCommits& unsynced,
              EndedSaves& ended)
      : connection_(connection),
        trust_(trust),
        unsynced_(unsynced),
        ended_(ended),
        rows_(connection) {}

  /// Writes all saves, each whole or not at all, commits once, and notes that they have ended. A
  /// save that has failed has its error then. When there is no memory for them together, they are
  /// tried one by one, and one that there is none for fails alone.
  void write(std::span<Save> saves) noexcept;
  /// Writes them, but leaves the sync for later where that can be, and the noting in any case.
  /// False, and nothing has been written, when there is no memory for that.
  bool writeUnsynced(SaveBatch& batch) noexcept;

 private:
  void writeOneByOne(std::span<Save> saves) noexcept;
  void writeTogether(std::span<Save> saves, SaveBatch* unsynced);
  bool applyAll(std::span<Save> saves);
  bool applyEach(std::span<Save> saves);
  bool apply(Save& save);
  bool end(std::span<const Save> saves, SaveBatch* unsynced);
  bool commitUnsynced(SaveBatch& batch);

  SQLiteConnection& connection_;
  WriterTrust& trust_;
  UnsyncedCommits& unsynced_;
  EndedSaves& ended_;
  RowWriter rows_;
};

}  // namespace velto
