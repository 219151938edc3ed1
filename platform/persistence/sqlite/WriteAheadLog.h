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

/// Writes the log that an earlier process left once more, as it stands, and syncs it. When a sync
/// fails, the system may take pages for written that never reached the disk, and goes on showing
/// them to readers: a log that reads well may have holes on disk, and what is committed behind a
/// hole would be lost with the power. Written anew, its pages are due again.
bool rewriteLog(SQLiteConnection& writer, ErrorSlot error);

}  // namespace velto
