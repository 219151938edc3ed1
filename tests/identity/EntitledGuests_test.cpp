// SPDX-License-Identifier: Apache-2.0
#include "platform/identity/EntitledGuests.h"

#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileManager.h"
#include "platform/foundation/Paths.h"
#include "tests/identity/Peer.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"
#include "tests/support/SkipOrFail.h"

namespace velto {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Dictionary = PropertyList::Dictionary;

class EntitledGuestsTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      return skipOrFail("only root can write rules");
    }
    for (const char* folder : {"etc", "usr"}) {
      std::filesystem::create_directory(directory_.path() / folder);
      chmod((directory_.path() / folder).c_str(), 0755);
    }
  }

  std::string path(const std::string& name) const { return directory_.path() / name; }
  void write(const std::string& name, const std::string& text, mode_t mode = 0600) const {
    EXPECT_EQ(chmod(directory_.write(name, text).c_str(), mode), 0);
  }
  /// A rule for the user that grants the right to a bundle.
  static std::string rule(const std::string& user, const std::string& value) {
    return "{ User = " + user + "; Entitlements = { \"com.ulmora.velto.alert-bundles\" = " + value +
           "; }; }";
  }

  Data attribute(const void* address) const {
    std::vector<std::uint8_t> bytes(sizeof address);
    std::memcpy(bytes.data(), &address, sizeof address);
    return Data(std::move(bytes));
  }
  SecStatus lookUp(const std::map<std::string, Data>& attributes) {
    return guests_.copyGuestWithAttributes(attributes, 0, code_);
  }

  /// The bundle that the peer has the right to, or "none".
  std::string rightOf(const Peer& peer) {
    const GuestTable::Entry entry(table_, peer.token(), peer.socket());
    EXPECT_EQ(lookUp({{"audit", attribute(&peer.token())}}), kSecSuccess);
    std::optional<Dictionary> information;
    EXPECT_EQ(guests_.copySigningInformation(*code_, 4, information), kSecSuccess);
    const PropertyList* entitlements = valueForKey(*information, kSecCodeInfoEntitlementsDict);
    const std::string* right = entitlements == nullptr
                                   ? nullptr
                                   : stringForKey(*entitlements->dictionary(), kBundleEntitlement);
    return right == nullptr ? "none" : *right;
  }

  const TemporaryDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  GuestTable table_;
  EntitledGuests guests_{{path("etc"), path("usr"), path("missing")},
                         table_,
                         FileManager::system(),
                         clock_,
                         log_,
                         [](const std::string& name) { return name != "A, B"; }};
  std::unique_ptr<CodeReference> code_;
};

TEST_F(EntitledGuestsTest, TheFirstRuleThatHoldsIsTheGuests) {
  const Peer peer(12345);
  EXPECT_EQ(rightOf(peer), "none");
  write("usr/1.plist", rule("12345", "package"));
  EXPECT_EQ(rightOf(peer), "package");
  write("etc/9.plist", rule("12345", "last"));
  EXPECT_EQ(rightOf(peer), "last") << "the administrator's come first";
  write("etc/5.plist", rule("12345", "first"));
  write("etc/1.plist", rule("54321", "other"));
  write("etc/0.text", rule("12345", "no rule"));
  EXPECT_EQ(rightOf(peer), "first");
  EXPECT_EQ(rightOf(Peer(54321)), "other");
  EXPECT_EQ(rightOf(Peer(11111)), "none");
  EXPECT_THAT(log_.lines(), ElementsAre("Entitlements in " + path("etc/0.text") +
                                        " ignored: its name does not end in .plist"));
}

TEST_F(EntitledGuestsTest, AFileOfAnotherNameIsToldOfOnceAsLongAsItIsThere) {
  const Peer peer(12345);
  write("etc/README", "what the rules are for");
  const auto tellAgain = [&](int days) {
    for (int minute = 0; minute < 10; ++minute) {
      clock_.set(days * 86400 + minute * 60);
      EXPECT_EQ(rightOf(peer), "none");
    }
  };
  tellAgain(1);
  tellAgain(2);
  EXPECT_THAT(log_.lines(), testing::SizeIs(1));
  std::filesystem::remove(path("etc/README"));
  tellAgain(3);
  write("etc/README", "again");
  tellAgain(4);
  EXPECT_THAT(log_.lines(), testing::SizeIs(2));
}

TEST_F(EntitledGuestsTest, RulesOfAnyFormatAreRead) {
  write("etc/1.plist",
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>User</key><integer>12345"
        "</integer><key>Entitlements</key><dict><key>com.ulmora.velto.alert-bundles</"
        "key><string>xml</string></dict></dict>"
        "</plist>");
  EXPECT_EQ(rightOf(Peer(12345)), "xml");
}

TEST_F(EntitledGuestsTest, WhatOthersCanReadOrWriteCountsForNothing) {
  const Peer peer(12345);
  for (const mode_t mode : {0640U, 0604U, 0620U, 0602U, 0666U}) {
    write("etc/1.plist", rule("12345", "x"), mode);
    clock_.set(mode * 60);
    EXPECT_EQ(rightOf(peer), "none") << std::oct << mode;
    EXPECT_EQ(rightOf(peer), "none") << "told once a minute";
  }
  EXPECT_THAT(log_.lines().front(), HasSubstr("Entitlements in " + path("etc/1.plist") +
                                              " ignored: others than root can read or write it"));
  EXPECT_THAT(log_.lines(), SizeIs(5));
  write("etc/1.plist", rule("12345", "x"), 0600);
  ASSERT_EQ(chown(path("etc/1.plist").c_str(), 12345, 0), 0);
  EXPECT_EQ(rightOf(peer), "none");
  EXPECT_THAT(log_.lines().back(), HasSubstr("it does not belong to root"));
}

TEST_F(EntitledGuestsTest, ADirectoryThatOthersCanWriteCountsForNothing) {
  write("etc/1.plist", rule("12345", "x"));
  write("usr/1.plist", rule("12345", "package"));
  chmod(path("etc").c_str(), 0775);
  EXPECT_EQ(rightOf(Peer(12345)), "package");
  EXPECT_THAT(log_.lines(), ElementsAre("Entitlements in " + path("etc") +
                                        " ignored: others than root can write it"));
}

TEST_F(EntitledGuestsTest, WhatIsNoRuleIsLoggedAndPassedOver) {
  write("etc/1.plist", "{ broken");
  write("etc/2.plist", "{ Entitlements = {}; }");
  write("etc/3.plist", "");
  std::filesystem::create_directory(path("etc/4.plist"));
  chmod(path("etc/4.plist").c_str(), 0700);
  std::filesystem::create_symlink("/etc/passwd", path("etc/5.plist"));
  write("etc/6.plist", rule("12345", "x"));
  EXPECT_EQ(rightOf(Peer(12345)), "x");
  EXPECT_EQ(log_.lines().size(), 5U);
  EXPECT_THAT(log_.lines()[1], HasSubstr("it has none of User, Unit and Label"));
  EXPECT_THAT(log_.lines()[3], HasSubstr("Is a directory"));
}

TEST_F(EntitledGuestsTest, ARuleThatCannotBeCheckedIsToldInTheLog) {
  const Peer peer(12345);
  write("etc/1.plist", "{ User = 12345; Usr = 1; Entitlements = { right = x; }; }");
  EXPECT_EQ(rightOf(peer), "none");
  EXPECT_THAT(log_.lines(), ElementsAre("Entitlements in " + path("etc/1.plist") +
                                        " ignored: it has a condition that is not known, Usr"));
}

TEST_F(EntitledGuestsTest, OnlyTheAddressOfALiveTokenNamesAGuest) {
  const Peer peer(12345);
  const GuestTable::Entry entry(table_, peer.token(), peer.socket());
  EXPECT_EQ(lookUp({{"audit", attribute(&peer.token())}}), kSecSuccess);
  code_.reset();
  const AuditToken copy = peer.token();
  EXPECT_NE(lookUp({{"audit", attribute(&copy)}}), kSecSuccess);
  const std::string_view bytes(reinterpret_cast<const char*>(&copy), sizeof copy);
  EXPECT_NE(lookUp({{"audit", Data(bytes)}}), kSecSuccess) << "the token itself is no name";
  EXPECT_NE(lookUp({{"audit", Data()}}), kSecSuccess);
  EXPECT_NE(lookUp({}), kSecSuccess);
  EXPECT_NE(lookUp({{"pid", attribute(&peer.token())}}), kSecSuccess);
  EXPECT_NE(lookUp({{"audit", attribute(&peer.token())}, {"pid", Data()}}), kSecSuccess);
  EXPECT_EQ(code_, nullptr);
}

TEST_F(EntitledGuestsTest, EntitlementsAreGivenToWhoAsksForThem) {
  const Peer peer(12345);
  write("etc/1.plist", rule("12345", "x"));
  const GuestTable::Entry entry(table_, peer.token(), peer.socket());
  ASSERT_EQ(lookUp({{"audit", attribute(&peer.token())}}), kSecSuccess);
  std::optional<Dictionary> information;
  EXPECT_EQ(guests_.copySigningInformation(*code_, 0, information), kSecSuccess);
  EXPECT_EQ(information, Dictionary());
  const CodeReference foreign{};
  EXPECT_NE(guests_.copySigningInformation(foreign, 4, information), kSecSuccess);
}

TEST_F(EntitledGuestsTest, ARuleThatGivesNothingThatThereIsSaysSo) {
  write("etc/1.plist",
        "{ User = 12345; Entitlements = { \"com.ulmora.velto.alert-bundels\" = A; }; }");
  write("etc/2.plist", "{ User = 12345; Entitlements = {}; }");
  EXPECT_EQ(rightOf(Peer(12345)), "none");
  write("etc/1.plist", rule("54321", "(\"A, B\", A, <ff>)"));
  EXPECT_EQ(rightOf(Peer(1)), "none");
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(
          HasSubstr("1.plist gives no right that there is: its Entitlements have "
                    "com.ulmora.velto.alert-bundels and not com.ulmora.velto.alert-bundles"),
          HasSubstr("1.plist names a bundle that there is not: A, B"),
          HasSubstr("1.plist names a bundle by what is no text"),
          HasSubstr("2.plist gives no right that there is: its Entitlements have nothing")));
}

TEST_F(EntitledGuestsTest, AUserThatThereIsNotIsNamed) {
  write("etc/1.plist", rule("nosuchuser", "A"));
  EXPECT_EQ(rightOf(Peer(12345)), "none");
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("ignored: there is no user nosuchuser")));
}

TEST_F(EntitledGuestsTest, TheNearestRuleIsNamedOnceADay) {
  write("etc/1.plist",
        "{ User = 1; Executable = \"/nowhere\"; Entitlements = "
        "{ \"com.ulmora.velto.alert-bundles\" = A; }; }");
  write("etc/2.plist",
        "{ User = 12345; Executable = \"/nowhere\"; Entitlements = "
        "{ \"com.ulmora.velto.alert-bundles\" = A; }; }");
  for (int time = 0; time < 3; ++time) {
    EXPECT_EQ(rightOf(Peer(12345)), "none");
    EXPECT_EQ(rightOf(Peer(54321)), "none") << "nothing is near";
    clock_.set(clock_.now().secondsSinceReference() + 3600);
  }
  EXPECT_THAT(log_.lines(), ElementsAre(AllOf(HasSubstr("of user 12345; nearest comes "),
                                              HasSubstr("2.plist, but for its Executable"))));
}

}  // namespace
}  // namespace velto
