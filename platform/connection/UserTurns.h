// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <sys/types.h>

#include <boost/intrusive/list.hpp>

#include "platform/connection/EventSource.h"

namespace velto {

/// How much of the daemon one user may occupy.
struct TurnLimits {
  /// Sources that are served at the same time. Not many more than half of the processors, so that
  /// the others find one free.
  std::size_t served = servedByDefault();
  /// Those of them that turn out to take long do not count, up to so many.
  std::size_t longTurns = 16;
  /// Calls at the same time that wait for a child process or a gateway.
  std::size_t placesOfUser = 16;
  std::size_t placesOfRoot = 64;

 private:
  static std::size_t servedByDefault();
};

/// What the sources of one user do. Between turns a source stands in one of the queues, or in none
/// while it waits for an event.
struct TurnsOfUser : public boost::intrusive::list_base_hook<> {
  using Queue = boost::intrusive::list<EventSource, boost::intrusive::constant_time_size<false>>;

  explicit TurnsOfUser(uid_t id) : user(id) {}

  const uid_t user;
  std::size_t sources = 0;
  Queue ready;                ///< for a turn
  Queue parked;               ///< until they have a place
  std::size_t places = 0;     ///< taken, or kept for a source that is ready
  std::size_t served = 0;     ///< turns of this round
  std::size_t longTurns = 0;  ///< turns of earlier rounds
  unsigned round = 0;
  bool hasEnded = false;  ///< a turn, since the last look for long ones
};

/// A source that a thread serves.
struct Turn {
  EventSource* source = nullptr;
  TurnsOfUser* user = nullptr;
  unsigned round = 0;
};

/// Whose turn it is. Turns go around users, and the turns of a user around its sources, first come
/// first served; nothing that a user does keeps another from the next turn. Of one user's sources
/// only some are served at a time (TurnLimits), and of its calls that wait only some are begun: the
/// next ones are parked, and cost no thread.
///
/// Nothing but `join` needs memory. Not synchronised: the run loop's lock guards it.
class UserTurns {
 public:
  explicit UserTurns(const TurnLimits& limits) : limits_(limits) {}
  UserTurns(const UserTurns&) = delete;
  UserTurns& operator=(const UserTurns&) = delete;
  ~UserTurns() { dismissAll(); }

  /// A source is new. Throws std::bad_alloc.
  void join(EventSource& source);
  /// It goes, with the place that was kept for it.
  void leave(EventSource& source) noexcept;
  /// Nobody has another turn, and nobody leaves.
  void dismissAll();

  /// It has something to do.
  void lineUp(EventSource& source);
  /// It waits for a place.
  void park(EventSource& source);
  /// It is to end: as soon as it has something to do it comes before the others of its user, and it
  /// does not wait for a place any more.
  void rouse(EventSource& source);

  bool hasNext() const { return !around_.empty(); }
  /// The next turn, of which there is one.
  Turn next();
  /// The thread that has the turn begins it, and leaves it where it is. Needs no lock.
  static void begin(Turn& turn) { turn.source->turn_ = &turn; }
  /// The source may be gone already.
  void end(const Turn& turn);

  /// Whether the source, within its turn, has a place now. The turn does not count as served then,
  /// until the place is given back.
  bool takePlace(EventSource& source);
  void giveBackPlace(EventSource& source);

  /// Whether a source is ready, and its user has all the turns that it may have.
  bool isAnyoneHeldUp() const { return isAnyoneHeldUp_; }
  /// Where no turn of a user has ended since the last look, those it has take long, and it may have
  /// others.
  void lookForLongTurns();

 private:
  void lineUp(TurnsOfUser& user);
  void countOut(const Turn& turn);
  void grantPlace(TurnsOfUser& user);
  void forgetIfGone(const TurnsOfUser& user);
  std::size_t placesOf(const TurnsOfUser& user) const {
    return user.user == 0 ? limits_.placesOfRoot : limits_.placesOfUser;
  }

  const TurnLimits limits_;
  std::map<uid_t, TurnsOfUser> users_;
  /// Those that have a source ready and may have a turn, in the order of their next turns.
  boost::intrusive::list<TurnsOfUser, boost::intrusive::constant_time_size<false>> around_;
  bool isAnyoneHeldUp_ = false;
};

}  // namespace velto
