// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/ConnectionTable.h"

#include <algorithm>
#include <sys/resource.h>
#include <sys/socket.h>

namespace velto {
namespace {

/// More connections than anybody has.
constexpr rlim_t kMostDescriptors = 65536;
/// For the store, for mail and push, and for clients that have not been counted yet.
constexpr rlim_t kReserve = 128;

}  // namespace

ConnectionTable::Entry::Entry(ConnectionTable& table, uid_t user, int socket)
    : table_(table), user_(user), socket_(socket) {
  const MutexLock lock(table_.mutex_);
  auto& own = table_.users_[user_];
  place_ = own.insert(own.end(), this);
  if (++table_.count_ > table_.room_) {
    table_.giveUpOneFor(own);
  }
}

ConnectionTable::Entry::~Entry() {
  const MutexLock lock(table_.mutex_);
  if (isListed_) {
    table_.remove(*this);
  }
}

/// `newcomers` are the connections of the user who has just come.
void ConnectionTable::giveUpOneFor(Connections& newcomers) {
  Connections* most = &newcomers;
  for (auto& [user, own] : users_) {
    if (own.size() > most->size()) {
      most = &own;
    }
  }
  Entry& last = *most->back();
  // Whoever serves it finds the client gone, and closes the socket.
  ::shutdown(last.socket_, SHUT_RDWR);
  remove(last);
}

void ConnectionTable::remove(Entry& entry) {
  const auto own = users_.find(entry.user_);
  own->second.erase(entry.place_);
  if (own->second.empty()) {
    users_.erase(own);
  }
  entry.isListed_ = false;
  --count_;
}

std::size_t makeRoomForConnections() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, kMostDescriptors));
  ::setrlimit(RLIMIT_NOFILE, &limit);
  ::getrlimit(RLIMIT_NOFILE, &limit);
  return limit.rlim_cur > 2 * kReserve ? limit.rlim_cur - kReserve : limit.rlim_cur / 2;
}

}  // namespace velto
