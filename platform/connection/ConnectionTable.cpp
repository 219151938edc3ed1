// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/ConnectionTable.h"

#include <algorithm>
#include <sys/resource.h>
#include <sys/socket.h>
#include <utility>

namespace velto {
namespace {

/// More connections than anybody has.
constexpr rlim_t kMostDescriptors = 65536;
/// For the store, for mail and push, and for clients that have not been counted yet.
constexpr rlim_t kReserve = 128;

}  // namespace

ConnectionTable::Entry::Entry(ConnectionTable& table, uid_t user, int socket, Owner* owner)
    : table_(table), user_(user), socket_(socket), owner_(owner) {
  const MutexLock lock(table_.mutex_);
  User& own = table_.users_[user_];
  place_ = own.connections.insert(own.connections.end(), this);
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

void ConnectionTable::Entry::charge(std::size_t bytes, Waits waits) {
  // Only this thread changes what it reads here; the table's threads take the connection away.
  if (bytes == 0 && waits == Waits::kForNothing && bytes_ == 0 && waits_ == Waits::kForNothing) {
    return;
  }
  const MutexLock lock(table_.mutex_);
  if (isListed_) {
    table_.await(*this, waits);
    table_.recharge(*this, bytes);
  }
}

void ConnectionTable::recharge(Entry& entry, std::size_t bytes) {
  User& user = users_.at(entry.user_);
  user.bytes += bytes - entry.bytes_;
  entry.bytes_ = bytes;
  while (user.bytes > budgetOf(entry.user_)) {
    const auto most = std::max_element(
        user.connections.begin(), user.connections.end(),
        [](const Entry* one, const Entry* other) { return one->bytes_ < other->bytes_; });
    const bool isLast = user.connections.size() == 1;
    giveUp(**most);
    if (isLast) return;  // and the user is gone with it
  }
}

/// Every move of a connection that waits gives it the whole time again.
void ConnectionTable::await(Entry& entry, Waits waits) {
  entry.waits_ = waits;
  if (waits == Waits::kForNothing) return;
  const auto patience = waits == Waits::kForTaking ? limits_.untakenReply : limits_.halfCall;
  entry.deadline_ = std::chrono::steady_clock::now() + patience;
  if (!isAlarmSet_ && alarm_) {
    isAlarmSet_ = true;
    alarm_(std::min(limits_.halfCall, limits_.untakenReply));
  }
}

void ConnectionTable::setAlarm(std::function<void(std::chrono::milliseconds)> alarm) {
  const MutexLock lock(mutex_);
  alarm_ = std::move(alarm);
}

std::optional<std::chrono::milliseconds> ConnectionTable::endOverdue(
    std::chrono::steady_clock::time_point now) {
  using Moment = std::chrono::steady_clock::time_point;
  const MutexLock lock(mutex_);
  Moment next = Moment::max();
  for (auto user = users_.begin(); user != users_.end();) {
    // The user goes with the last connection.
    const Moment nextOfUser = endOverdueOf((user++)->second, now);
    next = std::min(next, nextOfUser);
  }
  isAlarmSet_ = next != Moment::max();
  if (!isAlarmSet_) return std::nullopt;
  // Not for each connection anew, when many wait one shortly after the other, and soon enough for
  // those that begin to wait meanwhile, who find the alarm set.
  const auto shortest = std::min(limits_.halfCall, limits_.untakenReply);
  return std::clamp(std::chrono::ceil<std::chrono::milliseconds>(next - now), shortest / 10,
                    shortest);
}

std::chrono::steady_clock::time_point ConnectionTable::endOverdueOf(
    User& user, std::chrono::steady_clock::time_point now) {
  auto next = std::chrono::steady_clock::time_point::max();
  std::size_t left = user.connections.size();
  for (auto place = user.connections.begin(); left > 0; --left) {
    Entry& entry = **place++;
    if (entry.waits_ == Waits::kForNothing) continue;
    if (entry.deadline_ <= now) {
      giveUp(entry);
    } else {
      next = std::min(next, entry.deadline_);
    }
  }
  return next;
}

void ConnectionTable::giveUpOneFor(User& newcomer) {
  User* most = &newcomer;
  for (auto& [id, user] : users_) {
    if (user.connections.size() > most->connections.size()) {
      most = &user;
    }
  }
  giveUp(*most->connections.back());
}

/// Whoever serves it finds the client gone, and closes the socket.
void ConnectionTable::giveUp(Entry& entry) {
  ::shutdown(entry.socket_, SHUT_RDWR);
  if (entry.owner_ != nullptr) entry.owner_->giveUp();
  remove(entry);
}

void ConnectionTable::remove(Entry& entry) {
  const auto own = users_.find(entry.user_);
  own->second.bytes -= entry.bytes_;
  own->second.connections.erase(entry.place_);
  if (own->second.connections.empty()) {
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
