// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/ConnectionTable.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <list>
#include <memory>
#include <optional>
#include <sys/resource.h>
#include <sys/socket.h>
#include <vector>

#include <gtest/gtest.h>

#include "platform/foundation/FileDescriptor.h"

namespace velto {
namespace {

constexpr uid_t kRoot = 0;
constexpr uid_t kAnna = 1000;
constexpr uid_t kBert = 1001;

/// A connection with both of its ends.
class Connected {
 public:
  Connected(ConnectionTable& table, uid_t user) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    client_ = FileDescriptor(ends[0]);
    server_ = FileDescriptor(ends[1]);
    entry_.emplace(table, user, server_.get());
  }

  void charge(std::size_t bytes,
              ConnectionTable::Waits waits = ConnectionTable::Waits::kForTaking) {
    entry_->charge(bytes, waits);
  }

  bool isOpen() const {
    char byte = 0;
    return ::recv(client_.get(), &byte, 1, MSG_DONTWAIT) < 0;
  }

 private:
  FileDescriptor client_;
  FileDescriptor server_;
  std::optional<ConnectionTable::Entry> entry_;
};

using Connections = std::list<Connected>;

std::vector<bool> open(const Connections& connections) {
  std::vector<bool> result;
  for (const Connected& connection : connections) {
    result.push_back(connection.isOpen());
  }
  return result;
}

Connections connect(ConnectionTable& table, const std::vector<uid_t>& users) {
  Connections made;
  for (const uid_t user : users) {
    made.emplace_back(table, user);
  }
  return made;
}

TEST(ConnectionTable, letsOneUserHaveAllTheRoomThatNobodyElseWants) {
  ConnectionTable table(3);
  EXPECT_EQ(open(connect(table, {kAnna, kAnna, kAnna})), (std::vector{true, true, true}));
}

TEST(ConnectionTable, closesTheNewConnectionOfTheUserWhoHasMost) {
  ConnectionTable table(3);
  EXPECT_EQ(open(connect(table, {kAnna, kBert, kAnna, kAnna})),
            (std::vector{true, true, true, false}));
}

TEST(ConnectionTable, takesTheLastConnectionOfTheUserWhoHasMostForAnother) {
  ConnectionTable table(4);
  EXPECT_EQ(open(connect(table, {kAnna, kAnna, kAnna, kAnna, kRoot, kBert})),
            (std::vector{true, true, false, false, true, true}));
}

TEST(ConnectionTable, throwsNobodyOutForAnEqual) {
  ConnectionTable table(2);
  EXPECT_EQ(open(connect(table, {kRoot, kAnna, kBert})), (std::vector{true, true, false}));
  EXPECT_EQ(open(connect(table, {kRoot, kAnna, kAnna})), (std::vector{true, true, false}));
}

TEST(ConnectionTable, countsWhatIsOpenOnly) {
  ConnectionTable table(2);
  Connections connections = connect(table, {kAnna, kAnna, kAnna});
  connections.pop_front();
  connections.emplace_back(table, kAnna);
  EXPECT_EQ(open(connections), (std::vector{true, false, true}));
  connections.clear();
  EXPECT_EQ(open(connect(table, {kAnna, kAnna})), (std::vector{true, true}));
}

// --- What connections hold, and how long they wait ---

using Waits = ConnectionTable::Waits;
constexpr ConnectionLimits kLimits{.userBytes = 100,
                                   .rootBytes = 1000,
                                   .halfCall = std::chrono::seconds(10),
                                   .untakenReply = std::chrono::seconds(60)};

TEST(ConnectionTable, givesUpTheConnectionThatHoldsMostOfAUserWhoIsOverTheBudget) {
  ConnectionTable table(10, kLimits);
  Connections connections = connect(table, {kAnna, kAnna, kAnna, kBert});
  auto each = connections.begin();
  (each++)->charge(30);
  (each++)->charge(50);
  (each++)->charge(20);
  each->charge(90);
  EXPECT_EQ(open(connections), (std::vector{true, true, true, true}));
  connections.front().charge(31);
  EXPECT_EQ(open(connections), (std::vector{true, false, true, true}));
  // What it held is given back with it.
  connections.front().charge(79);
  EXPECT_EQ(open(connections), (std::vector{true, false, true, true}));
  connections.front().charge(101);
  EXPECT_EQ(open(connections), (std::vector{false, false, true, true}));
}

TEST(ConnectionTable, letsRootHoldMore) {
  ConnectionTable table(10, kLimits);
  Connections connections = connect(table, {kRoot, kRoot});
  connections.front().charge(1000);
  EXPECT_EQ(open(connections), (std::vector{true, true}));
  connections.back().charge(1);
  EXPECT_EQ(open(connections), (std::vector{false, true}));
}

TEST(ConnectionTable, givesBackWhatAConnectionHeldThatGoes) {
  ConnectionTable table(10, kLimits);
  Connections connections = connect(table, {kAnna, kAnna});
  connections.front().charge(100);
  connections.pop_front();
  connections.front().charge(100);
  EXPECT_EQ(open(connections), (std::vector{true}));
}

TEST(ConnectionTable, givesUpWhoeverWaitsTooLong) {
  ConnectionTable table(10, kLimits);
  Connections connections = connect(table, {kAnna, kAnna, kBert, kRoot});
  auto each = connections.begin();
  const auto begin = std::chrono::steady_clock::now();
  (each++)->charge(1, Waits::kForRestOfCall);
  (each++)->charge(1, Waits::kForTaking);
  (each++)->charge(1, Waits::kForRestOfCall);
  connections.front().charge(0, Waits::kForNothing);  // went on meanwhile
  const auto next = table.endOverdue(begin + std::chrono::seconds(9));
  ASSERT_TRUE(next);
  EXPECT_GT(*next, std::chrono::milliseconds(500));
  EXPECT_LT(*next, std::chrono::seconds(10));
  EXPECT_EQ(open(connections), (std::vector{true, true, true, true}));
  EXPECT_TRUE(table.endOverdue(std::chrono::steady_clock::now() + std::chrono::seconds(10)));
  EXPECT_EQ(open(connections), (std::vector{true, true, false, true}));
  EXPECT_FALSE(table.endOverdue(std::chrono::steady_clock::now() + std::chrono::seconds(60)));
  EXPECT_EQ(open(connections), (std::vector{true, false, false, true}));
}

TEST(ConnectionTable, looksAgainInTimeForThoseWhoBeginToWaitMeanwhile) {
  ConnectionTable table(10, kLimits);
  Connections connections = connect(table, {kAnna, kBert});
  connections.front().charge(1, Waits::kForTaking);
  const auto next = table.endOverdue(std::chrono::steady_clock::now());
  ASSERT_TRUE(next);
  EXPECT_LE(*next, kLimits.halfCall);
}

TEST(ConnectionTable, setsTheAlarmOnceUntilNobodyWaits) {
  ConnectionTable table(10, kLimits);
  int alarms = 0;
  table.setAlarm([&](std::chrono::milliseconds time) {
    ++alarms;
    EXPECT_EQ(time, std::chrono::seconds(10));
  });
  Connections connections = connect(table, {kAnna, kBert});
  EXPECT_EQ(alarms, 0);
  connections.front().charge(1, Waits::kForTaking);
  connections.back().charge(1, Waits::kForRestOfCall);
  EXPECT_EQ(alarms, 1);
  table.endOverdue(std::chrono::steady_clock::now() + std::chrono::hours(1));
  Connections more = connect(table, {kAnna});
  more.front().charge(1, Waits::kForRestOfCall);
  EXPECT_EQ(alarms, 2);
}

TEST(MakeRoomForConnections, raisesTheLimitOfOpenFilesAndKeepsSome) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit limit = before;
  limit.rlim_cur = 300;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  const std::size_t room = makeRoomForConnections();
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(limit.rlim_cur, std::min<rlim_t>(before.rlim_max, 65536));
  EXPECT_LT(room, limit.rlim_cur);
  EXPECT_GT(room, limit.rlim_cur / 3);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST(MakeRoomForConnections, leavesRoomForSomeHoweverLowTheLimitIs) {
  const auto makeRoomBelow = [](rlim_t most) {
    const rlimit limit{.rlim_cur = most, .rlim_max = most};
    ::setrlimit(RLIMIT_NOFILE, &limit);
    std::_Exit(static_cast<int>(makeRoomForConnections()));
  };
  // In a child, since a hard limit cannot be raised again.
  EXPECT_EXIT(makeRoomBelow(100), testing::ExitedWithCode(50), "");
}

}  // namespace
}  // namespace velto
