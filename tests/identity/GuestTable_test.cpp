// SPDX-License-Identifier: Apache-2.0
#include "platform/identity/GuestTable.h"

#include <memory>
#include <optional>

#include <gtest/gtest.h>

#include "tests/identity/Peer.h"
#include "tests/support/SkipOrFail.h"

namespace velto {
namespace {

std::uintptr_t addressOf(const AuditToken& token) {
  return reinterpret_cast<std::uintptr_t>(&token);
}

TEST(GuestTable, KnowsATokenAsLongAsItsEntryLives) {
  const Peer peer;
  GuestTable table;
  EXPECT_FALSE(table.guestAt(addressOf(peer.token())));
  {
    const GuestTable::Entry entry(table, peer.token(), peer.socket());
    const auto guest = table.guestAt(addressOf(peer.token()));
    ASSERT_TRUE(guest);
    EXPECT_EQ(guest->token.processIdentifier, peer.token().processIdentifier);
    EXPECT_FALSE(table.guestAt(addressOf(peer.token()) + 1));
    EXPECT_FALSE(table.guestAt(0));
  }
  EXPECT_FALSE(table.guestAt(addressOf(peer.token())));
}

TEST(GuestTable, OnlyTheAddressCounts) {
  const Peer peer;
  GuestTable table;
  const GuestTable::Entry entry(table, peer.token(), peer.socket());
  const AuditToken copy = peer.token();
  EXPECT_FALSE(table.guestAt(addressOf(copy))) << "equal bytes elsewhere are no token alive";
}

TEST(GuestTable, AGuestsProcessIsTheOneThatConnected) {
  Peer peer;
  const Guest guest = peer.guest();
  if (!guest.process.isOpen()) {
    return skipOrFail("this kernel does not tell a socket's process");
  }
  EXPECT_TRUE(isAlive(guest.process));
  peer.end();
  EXPECT_FALSE(isAlive(guest.process));
  EXPECT_FALSE(isAlive(FileDescriptor()));
}

}  // namespace
}  // namespace velto
