// SPDX-License-Identifier: Apache-2.0
#include "delivery/Mailbox.h"

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(Mailbox, AnAddressNamesOneMailbox) {
  for (const char* address :
       {"a@x.org", "<a@x.org>", "=?UTF-8?Q?Ann_?=<a@x.org>", "\"a,b\"@x.org", "\"a\\\"b, c\"@x.org",
        "a@x.org (Ann, of (all) people)", "(Ann\\)) a@x.org", " a@x.org ", "a@[IPv6:2001:db8::1]",
        "root", "", "Bob<b@x.org>", "<a@x.org> (Ann)", "<a@[192.0.2.1]>", "a(of @ all)@x.org"}) {
    EXPECT_TRUE(namesOneMailbox(address)) << address;
  }
}

TEST(Mailbox, AnAddressThatNamesMoreIsFound) {
  for (const char* address : {"a@x.org,b@x.org",
                              "a@x.org, b@x.org",
                              "a@x.org;b@x.org",
                              "all: a@x.org, b@x.org;",
                              "a@x.org b@x.org",
                              "a@x.org\tb@x.org",
                              "<a@x.org>, <b@x.org>",
                              "<a@x.org> b@x.org",
                              "\"a\"@x.org,b@x.org",
                              "\"a, b@x.org",
                              "a@x.org (b@x.org",
                              "a@x.org) b@x.org",
                              "a(c) (d), b@x.org",
                              "a@x.org\\",
                              "\"a\\",
                              "a\\,b@x.org",
                              "<a@b>c@d",
                              "=?UTF-8?Q?x_?=<a@b>y@z",
                              "a@b\"x\"@c",
                              "a@b@c",
                              "a@b\"x\"",
                              "<a@b>c",
                              "<a@b><c@d>",
                              "a@b<c@d>",
                              "<a@b",
                              "a@b>",
                              "<@a:b@c>",
                              "a:b@c",
                              "a@b:c",
                              "a@[192.0.2.1",
                              "a@[b@c]",
                              "a@[b]c@d",
                              "[a]b@c"}) {
    EXPECT_FALSE(namesOneMailbox(address)) << address;
  }
}

}  // namespace
}  // namespace velto
