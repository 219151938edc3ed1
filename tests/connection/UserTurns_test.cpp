// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/UserTurns.h"

#include <deque>
#include <vector>

#include <gtest/gtest.h>

namespace velto {
namespace {

constexpr uid_t kAnn = 1000;
constexpr uid_t kBob = 1001;

class Source : public EventSource {
 public:
  explicit Source(uid_t user) : EventSource(FileDescriptor(), user) {}
  Event serve() noexcept override { return Event::kNone; }
};

/// Sources that are ready, and the turns that are under way.
class UserTurnsTest : public testing::Test {
 protected:
  ~UserTurnsTest() override { turns_.dismissAll(); }

  Source& source(uid_t user) {
    Source& made = sources_.emplace_back(user);
    turns_.join(made);
    return made;
  }
  std::vector<Source*> readySources(uid_t user, int count) {
    std::vector<Source*> made;
    for (int i = 0; i < count; ++i) {
      made.push_back(&source(user));
      turns_.lineUp(*made.back());
    }
    return made;
  }
  Turn& begin() {
    Turn& turn = under_.emplace_back(turns_.next());
    return turn;
  }
  /// Whose turns come, each ended before the next.
  std::vector<uid_t> order() {
    std::vector<uid_t> users;
    while (turns_.hasNext()) {
      const Turn turn = turns_.next();
      users.push_back(turn.user->user);
      turns_.end(turn);
    }
    return users;
  }

  std::deque<Source> sources_;
  std::deque<Turn> under_;
  UserTurns turns_{{.served = 2, .longTurns = 2, .placesOfUser = 1, .placesOfRoot = 3}};
};

TEST_F(UserTurnsTest, goAroundUsersAndNotAroundSources) {
  readySources(kAnn, 4);
  readySources(kBob, 2);
  EXPECT_EQ(order(), (std::vector{kAnn, kBob, kAnn, kBob, kAnn, kAnn}));
}

TEST_F(UserTurnsTest, comeFirstToWhoeverOfAUserCameFirst) {
  for (Source* each : readySources(kAnn, 3)) {
    const Turn turn = turns_.next();
    EXPECT_EQ(turn.source, each);
    turns_.end(turn);
  }
}

TEST_F(UserTurnsTest, comeBeforeAllOthersOfTheUserToWhoIsToEnd) {
  const auto ready = readySources(kAnn, 3);
  turns_.rouse(*ready[1]);
  EXPECT_EQ(begin().source, ready[1]);
  Source& waiting = source(kAnn);
  turns_.rouse(waiting);
  turns_.lineUp(waiting);
  EXPECT_EQ(begin().source, &waiting);
}

TEST_F(UserTurnsTest, leaveOutWhoHasAllThatOneUserMayHave) {
  readySources(kAnn, 3);
  begin();
  const Turn second = begin();
  EXPECT_FALSE(turns_.hasNext());
  EXPECT_TRUE(turns_.isAnyoneHeldUp());
  readySources(kBob, 1);
  EXPECT_EQ(order(), std::vector{kBob});
  turns_.end(second);
  EXPECT_EQ(order(), std::vector{kAnn});
}

TEST_F(UserTurnsTest, thatTakeLongHoldUpTheirUserUntilThatIsSeen) {
  readySources(kAnn, 3);
  const Turn slow = begin();
  const Turn slower = begin();
  turns_.lookForLongTurns();
  ASSERT_TRUE(turns_.hasNext());
  const Turn third = turns_.next();
  // They are told from the later one, whichever ends first.
  turns_.end(slow);
  turns_.end(third);
  turns_.end(slower);
  EXPECT_FALSE(turns_.isAnyoneHeldUp());
  readySources(kAnn, 3);
  begin();
  begin();
  EXPECT_FALSE(turns_.hasNext());
}

TEST_F(UserTurnsTest, thatEndAreNotLong) {
  readySources(kAnn, 4);
  begin();
  turns_.end(begin());
  begin();
  turns_.lookForLongTurns();
  EXPECT_FALSE(turns_.hasNext());
  turns_.lookForLongTurns();
  EXPECT_TRUE(turns_.hasNext()) << "none has ended since the last look";
}

TEST_F(UserTurnsTest, thatTakeLongAreOnlySoMany) {
  readySources(kAnn, 6);
  begin();
  begin();
  turns_.lookForLongTurns();
  begin();
  begin();
  turns_.lookForLongTurns();
  EXPECT_FALSE(turns_.hasNext());
}

class PlacesTest : public UserTurnsTest {
 protected:
  /// A new source of the user within its turn.
  Source& served(uid_t user) {
    Source& made = *readySources(user, 1).front();
    beginTurn(made);
    return made;
  }
  void beginTurn(Source& expected) {
    Turn& turn = begin();
    ASSERT_EQ(turn.source, &expected);
    UserTurns::begin(turn);
  }
  Source& parked(uid_t user) {
    Source& made = served(user);
    EXPECT_FALSE(turns_.takePlace(made));
    turns_.end(under_.back());
    turns_.park(made);
    return made;
  }
};

TEST_F(PlacesTest, areAsManyAsAUserMayHave) {
  EXPECT_TRUE(turns_.takePlace(served(kAnn)));
  EXPECT_FALSE(turns_.takePlace(served(kAnn)));
  EXPECT_TRUE(turns_.takePlace(served(kBob)));
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(turns_.takePlace(served(0)));
  }
  EXPECT_FALSE(turns_.takePlace(served(0)));
}

TEST_F(PlacesTest, takeATurnOutOfTheCount) {
  Source& waiting = served(0);
  ASSERT_TRUE(turns_.takePlace(waiting));
  readySources(0, 3);
  begin();
  begin();
  EXPECT_FALSE(turns_.hasNext());
  turns_.giveBackPlace(waiting);
  turns_.end(under_[1]);
  EXPECT_FALSE(turns_.hasNext()) << "one too many ended";
  turns_.end(under_[0]);
  EXPECT_TRUE(turns_.hasNext());
}

TEST_F(PlacesTest, goToTheFirstThatIsParkedBeforeAnybodyElse) {
  Source& waiting = served(kAnn);
  ASSERT_TRUE(turns_.takePlace(waiting));
  Source& first = parked(kAnn);
  Source& second = parked(kAnn);
  Source& quick = served(kAnn);
  turns_.giveBackPlace(waiting);
  EXPECT_FALSE(turns_.takePlace(quick));
  turns_.end(under_.back());
  beginTurn(first);
  EXPECT_TRUE(turns_.takePlace(first));
  turns_.giveBackPlace(first);
  turns_.end(under_.back());
  beginTurn(second);
  EXPECT_TRUE(turns_.takePlace(second));
}

TEST_F(PlacesTest, keptForASourceThatGoesComeToTheNext) {
  Source& waiting = served(kAnn);
  ASSERT_TRUE(turns_.takePlace(waiting));
  Source& first = parked(kAnn);
  Source& second = parked(kAnn);
  turns_.giveBackPlace(waiting);
  beginTurn(first);
  turns_.end(under_.back());
  turns_.leave(first);  // without having made its call
  beginTurn(second);
  EXPECT_TRUE(turns_.takePlace(second));
}

TEST_F(PlacesTest, areNotWaitedForByASourceThatIsRoused) {
  ASSERT_TRUE(turns_.takePlace(served(kAnn)));
  Source& first = parked(kAnn);
  EXPECT_FALSE(turns_.hasNext());
  turns_.rouse(first);
  beginTurn(first);
  EXPECT_FALSE(turns_.takePlace(first));
  turns_.end(under_.back());
  turns_.park(first);
  EXPECT_TRUE(turns_.hasNext()) << "nor later";
}

TEST_F(PlacesTest, freedBeforeTheSourceIsParkedAreNotMissed) {
  Source& waiting = served(kAnn);
  ASSERT_TRUE(turns_.takePlace(waiting));
  Source& late = served(kAnn);
  EXPECT_FALSE(turns_.takePlace(late));
  turns_.giveBackPlace(waiting);
  turns_.end(under_.back());
  turns_.park(late);
  beginTurn(late);
  EXPECT_TRUE(turns_.takePlace(late));
}

}  // namespace
}  // namespace velto
