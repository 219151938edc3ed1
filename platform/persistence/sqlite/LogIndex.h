// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace velto {

class SQLiteConnection;

/// Up to where a write-ahead log counts: the header of the log's index, which the connections to a
/// file share in memory, with its copy (https://www.sqlite.org/walformat.html).
using LogIndexHeader = std::array<std::byte, 96>;

/// The header now, within a transaction of the connection that writes, so that nobody changes it.
/// Nothing but zeros where it cannot be had.
LogIndexHeader logIndexHeader(const SQLiteConnection& connection);

/// The number of the last frame that counts, from 1, or 0; nothing where it cannot be had.
std::optional<std::uint32_t> lastFrameOfLog(const SQLiteConnection& connection);

/// Takes back the last commits of a connection: no reader that begins later sees them. `before` is
/// the header as the first of them found it, and `commits` says how many they are. They stay when
/// another program has committed since, or holds the lock.
void takeBackCommits(SQLiteConnection& connection, const LogIndexHeader& before, unsigned commits);

}  // namespace velto
