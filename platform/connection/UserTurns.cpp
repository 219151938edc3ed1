// SPDX-License-Identifier: Apache-2.0
// Threads are what users compete for, and processors. So there are two limits, since a thread that
// runs costs the others something else than a thread that waits:
//
//   served   turns that compute. The limit is small: whoever asks a thousand things at once has two
//            threads at work, and not a thousand that keep the others from the processors.
//   places   calls that wait for a child process or a gateway. They do not count as served while
//            they do, or a few slow mails would keep all else of their user waiting.
//
// What neither limit knows is a turn that computes or waits for the disk for long: two of those
// would hold up their user. They are found by looking now and then whether a user who is held up
// has had any turn that ended. If not, all its turns are taken out of the count: a new round
// begins, and a turn of an earlier round is told by its number when it ends. There is a limit for
// those, too.
//
// A place is in one of three hands: of the call that waits (WaitingPlace gives it back), of a
// parked source that has been granted it and not been served since (hasPlace_; `leave` gives it
// back), or nobody's. A place that becomes free goes to the first that is parked, before anybody
// can take it.

#include "platform/connection/UserTurns.h"

#include <algorithm>
#include <thread>

namespace velto {

std::size_t TurnLimits::servedByDefault() {
  return std::max<std::size_t>(2, (std::thread::hardware_concurrency() + 1) / 2);
}

void UserTurns::join(EventSource& source) {
  source.turns_ = &users_.try_emplace(source.user_, source.user_).first->second;
  ++source.turns_->sources;
}

void UserTurns::leave(EventSource& source) noexcept {
  TurnsOfUser& user = *source.turns_;
  if (source.hasPlace_) {
    --user.places;
    grantPlace(user);
  }
  --user.sources;
  forgetIfGone(user);
}

void UserTurns::dismissAll() {
  around_.clear();
  users_.clear();
}

void UserTurns::forgetIfGone(const TurnsOfUser& user) {
  if (user.sources == 0 && user.served == 0 && user.longTurns == 0) users_.erase(user.user);
}

void UserTurns::lineUp(EventSource& source) {
  TurnsOfUser::Queue& ready = source.turns_->ready;
  ready.insert(source.isRoused_ ? ready.begin() : ready.end(), source);
  lineUp(*source.turns_);
}

void UserTurns::lineUp(TurnsOfUser& user) {
  if (user.ready.empty() || user.is_linked()) return;
  if (user.served < limits_.served) {
    around_.push_back(user);
  } else {
    isAnyoneHeldUp_ = true;
  }
}

void UserTurns::park(EventSource& source) {
  TurnsOfUser& user = *source.turns_;
  if (source.isRoused_) return lineUp(source);
  source.isParked_ = true;
  user.parked.push_back(source);
  grantPlace(user);  // when one has become free since it was asked for
}

void UserTurns::rouse(EventSource& source) {
  source.isRoused_ = true;
  // The list's own hook: it stands in one queue at most.
  if (!source.is_linked()) return;
  TurnsOfUser::Queue& queue = source.isParked_ ? source.turns_->parked : source.turns_->ready;
  queue.erase(queue.iterator_to(source));
  source.isParked_ = false;
  lineUp(source);
}

Turn UserTurns::next() {
  TurnsOfUser& user = around_.front();
  around_.pop_front();
  EventSource& source = user.ready.front();
  user.ready.pop_front();
  ++user.served;
  lineUp(user);
  return {.source = &source, .user = &user, .round = user.round};
}

void UserTurns::end(const Turn& turn) {
  turn.user->hasEnded = true;
  countOut(turn);
  forgetIfGone(*turn.user);
}

void UserTurns::countOut(const Turn& turn) {
  --(turn.round == turn.user->round ? turn.user->served : turn.user->longTurns);
  lineUp(*turn.user);
}

bool UserTurns::takePlace(EventSource& source) {
  TurnsOfUser& user = *source.turns_;
  if (!source.hasPlace_) {
    if (user.places >= placesOf(user)) return false;
    ++user.places;
  }
  source.hasPlace_ = false;
  countOut(*source.turn_);
  return true;
}

void UserTurns::giveBackPlace(EventSource& source) {
  TurnsOfUser& user = *source.turns_;
  ++user.served;
  source.turn_->round = user.round;
  --user.places;
  grantPlace(user);
}

void UserTurns::grantPlace(TurnsOfUser& user) {
  if (user.parked.empty() || user.places >= placesOf(user)) return;
  EventSource& source = user.parked.front();
  user.parked.pop_front();
  source.isParked_ = false;
  source.hasPlace_ = true;
  ++user.places;
  lineUp(source);
}

void UserTurns::lookForLongTurns() {
  isAnyoneHeldUp_ = false;
  for (auto& [id, user] : users_) {
    const bool isHeldUp = !user.ready.empty() && !user.is_linked();
    if (isHeldUp && !user.hasEnded && user.longTurns + user.served <= limits_.longTurns) {
      user.longTurns += user.served;
      user.served = 0;
      ++user.round;
    }
    user.hasEnded = false;
    lineUp(user);
  }
}

}  // namespace velto
