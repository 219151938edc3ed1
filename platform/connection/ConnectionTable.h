// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <sys/types.h>

#include "platform/foundation/Mutex.h"

namespace velto {

/// The connections of all users, so that no user takes all descriptors. Everybody is let in as long
/// as there is room. When there is none, the user with the most connections gives up the one made
/// last, which is the new one unless another user has more. Any thread.
class ConnectionTable {
 public:
  /// One connection's place, for as long as its socket is open.
  class Entry {
   public:
    /// Another connection may be shut down for this one, or this one at once.
    Entry(ConnectionTable& table, uid_t user, int socket);
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

   private:
    friend class ConnectionTable;

    ConnectionTable& table_;
    const uid_t user_;
    const int socket_;
    bool isListed_ = true;
    std::list<Entry*>::iterator place_;  ///< as long as it is listed
  };

  /// Room for so many connections.
  explicit ConnectionTable(std::size_t room) : room_(room) {}

 private:
  using Connections = std::list<Entry*>;  ///< of one user, in the order in which they were made

  void giveUpOneFor(Connections& newcomers) VELTO_REQUIRES(mutex_);
  void remove(Entry& entry) VELTO_REQUIRES(mutex_);

  const std::size_t room_;
  Mutex mutex_;
  std::map<uid_t, Connections> users_ VELTO_GUARDED_BY(mutex_);
  std::size_t count_ VELTO_GUARDED_BY(mutex_) = 0;
};

/// Raises this process's limit of open files as far as it may go, and returns how many connections
/// it leaves room for beside what the work itself needs.
std::size_t makeRoomForConnections();

}  // namespace velto
