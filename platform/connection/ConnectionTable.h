// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <sys/types.h>

#include "platform/foundation/Mutex.h"

namespace velto {

/// What the connections of one user may cost, and how long one may wait for its client.
struct ConnectionLimits {
  /// Bytes of half calls and of replies that have not been taken, of all connections of a user.
  std::size_t userBytes = std::size_t{32} * 1024 * 1024;
  std::size_t rootBytes = std::size_t{256} * 1024 * 1024;
  /// For the rest of a call that does not go on.
  std::chrono::milliseconds halfCall = std::chrono::seconds(30);
  /// For a client that takes nothing of a reply.
  std::chrono::milliseconds untakenReply = std::chrono::minutes(5);
};

/// The connections of all users, so that no user takes all descriptors or the memory of the others.
/// Everybody is let in as long as there is room. When there is none, the user with the most
/// connections gives up the one made last, which is the new one unless another user has more. A
/// user whose connections hold more bytes than the limits allow gives up the one that holds most.
/// One whose client keeps it waiting for too long is given up, too. Any thread.
class ConnectionTable {
 public:
  /// What a connection waits for.
  enum class Waits { kForNothing, kForRestOfCall, kForTaking };

  /// Who has a connection, and is to close it when it is given up.
  class Owner {
   public:
    virtual ~Owner() = default;
    /// The socket has been shut down. Called on any thread, under the table's lock.
    virtual void giveUp() noexcept = 0;
  };

  /// One connection's place, for as long as its socket is open.
  class Entry {
   public:
    /// Another connection may be shut down for this one, or this one at once. `owner` may be null.
    Entry(ConnectionTable& table, uid_t user, int socket, Owner* owner = nullptr);
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    /// The connection has moved on, and holds so many bytes now. Takes a lock only where there is
    /// something to charge or to wait for, or has been. One thread at a time.
    void charge(std::size_t bytes, Waits waits);
    /// What the connection waited for has come, and it holds what it held. The same thread.
    void endWait() { charge(bytes_, Waits::kForNothing); }

   private:
    friend class ConnectionTable;

    ConnectionTable& table_;
    const uid_t user_;
    const int socket_;
    Owner* const owner_;
    bool isListed_ = true;
    std::list<Entry*>::iterator place_;  ///< as long as it is listed
    std::size_t bytes_ = 0;
    Waits waits_ = Waits::kForNothing;
    std::chrono::steady_clock::time_point deadline_;  ///< as long as it waits
  };

  /// Room for so many connections.
  explicit ConnectionTable(std::size_t room, const ConnectionLimits& limits = {})
      : room_(room), limits_(limits) {}

  /// Is called, on any thread and under the table's lock, when the first connection begins to wait.
  void setAlarm(std::function<void(std::chrono::milliseconds)> alarm);
  /// Gives up the connections that have waited too long. Returns when to look again, at the latest;
  /// nothing when none waits.
  std::optional<std::chrono::milliseconds> endOverdue(std::chrono::steady_clock::time_point now);

 private:
  struct User {
    std::list<Entry*> connections;  ///< in the order in which they were made
    std::size_t bytes = 0;
  };

  void giveUpOneFor(User& newcomer) VELTO_REQUIRES(mutex_);
  std::chrono::steady_clock::time_point endOverdueOf(User& user,
                                                     std::chrono::steady_clock::time_point now)
      VELTO_REQUIRES(mutex_);
  void giveUp(Entry& entry) VELTO_REQUIRES(mutex_);
  void remove(Entry& entry) VELTO_REQUIRES(mutex_);
  void recharge(Entry& entry, std::size_t bytes) VELTO_REQUIRES(mutex_);
  void await(Entry& entry, Waits waits) VELTO_REQUIRES(mutex_);
  std::size_t budgetOf(uid_t user) const {
    return user == 0 ? limits_.rootBytes : limits_.userBytes;
  }

  const std::size_t room_;
  const ConnectionLimits limits_;
  Mutex mutex_;
  std::function<void(std::chrono::milliseconds)> alarm_ VELTO_GUARDED_BY(mutex_);
  bool isAlarmSet_ VELTO_GUARDED_BY(mutex_) = false;
  std::map<uid_t, User> users_ VELTO_GUARDED_BY(mutex_);
  std::size_t count_ VELTO_GUARDED_BY(mutex_) = 0;
};

/// Raises this process's limit of open files as far as it may go, and returns how many connections
/// it leaves room for beside what the work itself needs.
std::size_t makeRoomForConnections();

}  // namespace velto
