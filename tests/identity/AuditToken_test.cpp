// SPDX-License-Identifier: Apache-2.0
#include "platform/identity/AuditToken.h"

#include <array>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/foundation/FileDescriptor.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

TEST(AuditToken, describesThePeer) {
  std::array<int, 2> pair{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
  const FileDescriptor one(pair[0]);
  const FileDescriptor other(pair[1]);
  const auto token = auditTokenOfPeer(one.get());
  ASSERT_TRUE(token);
  EXPECT_EQ(token->effectiveUserIdentifier, ::geteuid());
  EXPECT_EQ(token->effectiveGroupIdentifier, ::getegid());
  EXPECT_EQ(token->processIdentifier, ::getpid());
  EXPECT_EQ(token->processStartTime, startTimeInStat(readFile("/proc/self/stat")));
  EXPECT_GT(token->processStartTime, 0U);

  const auto next = auditTokenOfPeer(other.get());
  ASSERT_TRUE(next);
  EXPECT_EQ(next->serialNumber, token->serialNumber + 1);
}

TEST(AuditToken, isNotMadeForWhatIsNoSocket) {
  EXPECT_FALSE(auditTokenOfPeer(STDIN_FILENO));
  EXPECT_FALSE(auditTokenOfPeer(-1));
}

TEST(AuditToken, findsTheStartTimeBehindAnyName) {
  const std::string fields = " S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 424242 20 21\n";
  for (const auto* name : {"plain", "two words", "a) S 1 2 (b", ""}) {
    EXPECT_EQ(startTimeInStat("77 (" + std::string(name) + ")" + fields), 424242U) << name;
  }
  for (const auto* text : {"", "77", "77 (name", "77 (name)", "77 (name) S 1 2 3"}) {
    EXPECT_EQ(startTimeInStat(text), 0U) << text;
  }
}

}  // namespace
}  // namespace velto
