// SPDX-License-Identifier: Apache-2.0
// One log of events for all followers, and a place in it for each.
//
//   1. Whoever commits makes each event's text, once, and appends it to the log. That is all that
//      a hundred followers cost a save: nobody is woken by it, but the pacer once.
//   2. The pacer's thread looks through the followers, a tenth of a second after the last time, or
//      at once after a quiet time. It moves those on that the new events are nothing to, lets the
//      others begin a message, and rouses those that sleep.
//   3. A message has all events up to its beginning. The connection asks for it part by part, as
//      the client takes it. Then the follower sleeps, or has been let to begin the next one.
//   4. The log ends before the first event that somebody has still to be told. When it is too long
//      the oldest events go, and whoever wanted one of them has lost it. From then on nothing is
//      kept for that follower, until it has been told so: what it reads anew then tells all.
//
// The lock is held for moments, but for the making of events.

#include "daemon/ChangeFeed.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/foundation/JSONText.h"
#include "platform/foundation/ProgramMistake.h"

namespace velto {
namespace {

bool fits(const std::optional<std::string>& wanted, const std::optional<std::string>& has) {
  return !wanted || wanted == has;
}

}  // namespace

/// Guarded by the feed's lock, as the log is that it works on.
class ChangeFeed::Follower : public ReplyStream {
 public:
  Follower(ChangeFeed& feed, FollowedChanges wanted) : feed_(feed), wanted_(std::move(wanted)) {
    const MutexLock lock(feed_.mutex_);
    feed_.followers_.insert(this);
    ++feed_.followerCount_;
  }
  ~Follower() override {
    const MutexLock lock(feed_.mutex_);
    --feed_.followerCount_;
    feed_.followers_.erase(this);
  }

  Part append(std::string& text) override {
    const MutexLock lock(feed_.mutex_);
    return append(feed_.log_, text);
  }
  void setListener(Listener& listener) override { listener_ = &listener; }

  bool wants(const ChangeEvent& event) const {
    return wanted_.areAll() || (event.isOfAlert && fits(wanted_.bundle, event.bundle) &&
                                fits(wanted_.type, event.type));
  }
  /// The events up to this one are nothing to it any more.
  std::uint64_t position() const { return isLost_ ? UINT64_MAX : position_; }
  void drop(const ChangeEvent& event);
  void lose() { isLost_ = true; }
  bool hasLost() const { return isLost_; }
  void pace(const EventLog& log);

 private:
  Part append(const EventLog& log, std::string& text);
  bool hasNews(const EventLog& log);
  Part begin(const EventLog& log, std::string& text);
  void appendLost(const EventLog& log, std::string& text);
  const ChangeEvent* next(const EventLog& log) const;

  ChangeFeed& feed_;
  const FollowedChanges wanted_;
  Listener* listener_ = nullptr;
  std::uint64_t position_ = 0;  ///< has been told, or passed over, up to this event
  std::uint64_t last_ = 0;      ///< of the message under way
  bool isLost_ = false;
  bool hasBegun_ = false;
  bool mayBegin_ = false;  ///< another message
  bool isWithinMessage_ = false;
  bool isFirst_ = false;  ///< the next event of the message
  bool isAsleep_ = false;
};

/// The event that is its next one up to the end of the message, or null.
const ChangeEvent* ChangeFeed::Follower::next(const EventLog& log) const {
  return log.find(position_, last_, [this](const ChangeEvent& event) { return wants(event); });
}

/// Passes over what it does not want.
bool ChangeFeed::Follower::hasNews(const EventLog& log) {
  last_ = log.sequence;
  if (isLost_) return true;
  const ChangeEvent* event = next(log);
  position_ = event == nullptr ? last_ : event->sequence - 1;
  return event != nullptr;
}

void ChangeFeed::Follower::pace(const EventLog& log) {
  mayBegin_ = true;
  if (isAsleep_ && hasNews(log)) {
    isAsleep_ = false;
    listener_->rouse();
  }
}

void ChangeFeed::Follower::drop(const ChangeEvent& event) {
  if (isLost_ || event.sequence <= position_) return;
  isLost_ = wants(event);
  position_ = event.sequence;
}

ReplyStream::Part ChangeFeed::Follower::append(const EventLog& log, std::string& text) {
  if (!isWithinMessage_ && begin(log, text) == Part::kNone) return Part::kNone;
  const std::size_t end = text.size() + kPartSize;
  const ChangeEvent* event = isLost_ ? nullptr : next(log);
  while (event != nullptr && text.size() < end) {
    if (!std::exchange(isFirst_, false)) text += ',';
    appendEvent(text, event->sequence, event->text);
    position_ = event->sequence;
    event = next(log);
  }
  if (event != nullptr) return Part::kMore;
  if (isLost_) appendLost(log, text);
  position_ = std::max(position_, last_);
  text += R"(],"sequence":)";
  appendJSON(text, position_);
  text += '}';
  isWithinMessage_ = false;
  return Part::kWhole;
}

/// The first message has no events, and says from where on all will be told.
ReplyStream::Part ChangeFeed::Follower::begin(const EventLog& log, std::string& text) {
  if (hasBegun_) {
    isAsleep_ = !hasNews(log) || !mayBegin_;
    if (isAsleep_) return Part::kNone;
    mayBegin_ = false;
  } else {
    hasBegun_ = true;
    isLost_ = false;
    position_ = last_ = log.sequence;
  }
  isWithinMessage_ = true;
  isFirst_ = true;
  text += R"({"events":[)";
  return Part::kMore;
}

/// Stands for all events that have come.
void ChangeFeed::Follower::appendLost(const EventLog& log, std::string& text) {
  isLost_ = false;
  position_ = log.sequence;
  if (!isFirst_) text += ',';
  appendEvent(text, position_, R"({"kind":"lost"})");
}

ChangeFeed::~ChangeFeed() {
  if (isFollowed()) programMistake("a feed of changes goes before its followers");
}

std::unique_ptr<ReplyStream> ChangeFeed::follow(FollowedChanges wanted) {
  return std::make_unique<Follower>(*this, std::move(wanted));
}

void ChangeFeed::add(std::uint64_t count, std::span<const ChangedRow> rows) noexcept {
  const MutexLock lock(mutex_);
  const std::uint64_t last = log_.sequence + count;
  if (!followers_.empty()) {
    try {
      // Who came after the commit had begun, when nobody else followed, has not been told all.
      if (rows.size() != count) loseAll();
      for (const ChangedRow& row : rows) {
        addRow(row);
      }
    } catch (const std::bad_alloc&) {
      loseAll();
    }
    setPace(std::chrono::steady_clock::now());
  }
  log_.sequence = last;
}

void ChangeFeed::addRow(const ChangedRow& row) {
  auto event = ChangeEvent::of(row, ++log_.sequence);
  if (!isWanted(event)) return;
  event.text = ChangeEvent::textOf(row);
  log_.push(std::move(event));
  if (log_.size() > kMostKept) trim();
  while (log_.size() > kMostKept) {
    dropOldest();
  }
}

bool ChangeFeed::isWanted(const ChangeEvent& event) const {
  return std::any_of(followers_.begin(), followers_.end(), [&](const Follower* follower) {
    return !follower->hasLost() && follower->wants(event);
  });
}

void ChangeFeed::loseAll() {
  for (Follower* follower : followers_) {
    follower->lose();
  }
}

/// Forgets what everybody has been told.
void ChangeFeed::trim() {
  std::uint64_t least = UINT64_MAX;
  for (const Follower* follower : followers_) {
    least = std::min(least, follower->position());
  }
  while (!log_.isEmpty() && log_.front().sequence <= least) {
    log_.popFront();
  }
}

void ChangeFeed::dropOldest() {
  for (Follower* follower : followers_) {
    follower->drop(log_.front());
  }
  log_.popFront();
  trim();
}

void ChangeFeed::setAlarm(std::function<void(std::chrono::milliseconds)> alarm) {
  const MutexLock lock(mutex_);
  alarm_ = std::move(alarm);
}

/// At once after a quiet time.
void ChangeFeed::setPace(Moment now) {
  if (isPaceSet_ || !alarm_) return;
  isPaceSet_ = true;
  const auto rest = std::chrono::ceil<std::chrono::milliseconds>(lastPace_ + kPause - now);
  alarm_(std::clamp(rest, std::chrono::milliseconds(1), kPause));
}

void ChangeFeed::pace(Moment now) {
  const MutexLock lock(mutex_);
  isPaceSet_ = false;
  lastPace_ = now;
  for (Follower* follower : followers_) {
    follower->pace(log_);
  }
  trim();
}

}  // namespace velto
