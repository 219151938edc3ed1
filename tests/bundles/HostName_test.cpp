// SPDX-License-Identifier: Apache-2.0
#include "bundles/Common/Code/HostName.h"

#include <gtest/gtest.h>

#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

constexpr std::string_view kHosts =
    "127.0.0.1 localhost localhost.localdomain\n"
    "# 192.0.2.1 wrong.example.org web\n"
    "192.0.2.1\tweb web.example.org\tweb.example.com # web2\r\n"
    "192.0.2.2 web2 web2_x.example.org\n"
    "192.0.2.3 db.example.org db";

TEST(MailHostName, IsTheMachinesMailNameWhereItHasOne) {
  EXPECT_EQ(mailHostName("mail.example.org\n", kHosts, "web"), "mail.example.org");
  EXPECT_EQ(mailHostName("  mail \r\nmore\n", kHosts, "web"), "mail");
  EXPECT_EQ(mailHostName("localhost\n", kHosts, "web"), "localhost");
}

TEST(MailHostName, AMailNameThatCannotBeUsedIsPassedOver) {
  for (const std::string_view name :
       {"", "\n", "\nmail.example.org", "two names", "a@b", "a_b", "x>", ".a", "a..b", "\xff"}) {
    EXPECT_EQ(mailHostName(name, kHosts, "web"), "web.example.org") << name;
  }
}

TEST(MailHostName, IsElseTheFullNameOfTheHost) {
  EXPECT_EQ(mailHostName("", kHosts, "db"), "db.example.org");
  EXPECT_EQ(mailHostName("", kHosts, "web.example.com"), "web.example.com");
}

TEST(MailHostName, IsElseTheShortNameOfTheHost) {
  for (const std::string_view name : {"web2", "unheard", "eb", "192", ""}) {
    EXPECT_EQ(mailHostName("", kHosts, name), name);
  }
  EXPECT_EQ(mailHostName("", "", "web"), "web");
}

TEST(MailHostName, IsReadBelowTheRoot) {
  const TemporaryDirectory root;
  root.write("etc/mailname", "mail.example.org\n");
  ScopedEnvironment environment;
  environment.set("VELTO_ROOT", root.path().string());
  EXPECT_EQ(mailHostName(), "mail.example.org");
}

}  // namespace
}  // namespace velto
