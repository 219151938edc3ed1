// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/ConnectionTable.h"

#include <algorithm>
#include <array>
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
