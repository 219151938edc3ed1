// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/foundation/Error.h"

namespace velto {

class SQLiteConnection;

/// Puts the file of a writing connection into WAL mode; false with the error where it cannot be.
bool useWriteAheadLog(SQLiteConnection& writer, ErrorSlot error);

/// Whether the log of a connection's file holds nothing. Looks at the file, which is enough before
/// this process has written anything.
bool isLogEmpty(const SQLiteConnection& writer);

/// How many of the log's last transactions may not have been synced. After a failed sync none is
/// added.
constexpr int kMostUnsyncedCommits = 2;

/// Makes sure that what an earlier process has left in the log is on disk: syncs it, and before
/// that writes its last transactions once more, as they stand. When a sync fails, the system may
/// take pages for written that never reached the disk, and goes on showing them to readers: a log
/// that reads well may have a hole on disk, and what is committed behind it would be lost with the
/// power. Written anew, its pages are due again. Only transactions that were not synced can have
/// such a hole.
bool secureLog(SQLiteConnection& writer, ErrorSlot error);

}  // namespace velto
