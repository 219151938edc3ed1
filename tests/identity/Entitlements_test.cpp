// SPDX-License-Identifier: Apache-2.0
#include "platform/identity/Entitlements.h"

#include <cstdlib>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <systemd/sd-login.h>

#include "tests/foundation/ScopedEnvironment.h"
#include "tests/identity/Peer.h"

namespace velto {
namespace {

using Dictionary = PropertyList::Dictionary;

const Dictionary kGranted = {{"right", "yes"}};

/// Whether a rule of these conditions can be made and holds.
bool holds(Dictionary conditions, const Guest& guest) {
  conditions.emplace("Entitlements", kGranted);
  std::optional<Error> error;
  const auto rule = EntitlementRule::fromPropertyList(conditions, &error);
  EXPECT_TRUE(rule) << error->localizedDescription();
  return rule && rule->holdsFor(guest);
}

std::string refusal(const PropertyList& value) {
  std::optional<Error> error;
  EXPECT_FALSE(EntitlementRule::fromPropertyList(value, &error));
  EXPECT_TRUE(error && error->domain == kEntitlementErrorDomain);
  return error ? error->localizedDescription() : "";
}

FileDescriptor processDescriptor(pid_t process) {
  return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
}

std::string ownExecutable() {
  return std::filesystem::read_symlink("/proc/self/exe");
}

TEST(EntitlementRule, NeedsEntitlementsAndALastingCondition) {
  EXPECT_EQ(refusal("text"), "it holds no dictionary");
  EXPECT_EQ(refusal(Dictionary{{"User", 5}}), "it has no dictionary Entitlements");
  EXPECT_EQ(refusal(Dictionary{{"User", 5}, {"Entitlements", "all"}}),
            "it has no dictionary Entitlements");
  const std::string unsafe = "it has none of User, Unit and Label";
  EXPECT_EQ(refusal(Dictionary{{"Entitlements", kGranted}}), unsafe);
  EXPECT_EQ(refusal(Dictionary{{"Executable", "/bin/sh"}, {"Entitlements", kGranted}}), unsafe);
  EXPECT_EQ(refusal(Dictionary{{"Groop", "staff"}, {"Entitlements", kGranted}}),
            unsafe + ", and it has a condition that is not known, Groop");
}

TEST(EntitlementRule, GivesItsEntitlements) {
  const auto rule = EntitlementRule::fromPropertyList(
      Dictionary{{"User", 5}, {"Entitlements", kGranted}}, nullptr);
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->entitlements(), kGranted);
}

TEST(EntitlementRule, AUserIsANameOrANumber) {
  Guest guest;
  guest.token.effectiveUserIdentifier = 0;
  EXPECT_TRUE(holds({{"User", "root"}}, guest));
  EXPECT_TRUE(holds({{"User", 0}}, guest));
  EXPECT_TRUE(holds({{"User", "0"}}, guest));
  guest.token.effectiveUserIdentifier = 12345;
  EXPECT_TRUE(holds({{"User", 12345}}, guest));
  EXPECT_FALSE(holds({{"User", 12345.0}}, guest)) << "another type";
  EXPECT_FALSE(holds({{"User", true}}, guest));
  EXPECT_FALSE(holds({{"User", "root"}}, guest));
  EXPECT_FALSE(holds({{"User", "nobody-of-this-name"}}, guest));
  EXPECT_FALSE(holds({{"User", ""}}, guest));
  EXPECT_FALSE(holds({{"User", 12345 + (std::int64_t{1} << 32)}}, guest));
}

TEST(EntitlementRule, EveryConditionMustHold) {
  const Peer peer;
  const auto user = static_cast<std::int64_t>(geteuid());
  EXPECT_TRUE(holds({{"User", user}, {"Executable", ownExecutable()}}, peer.guest()));
  EXPECT_FALSE(holds({{"User", user}, {"Executable", "/bin/sh"}}, peer.guest()));
  EXPECT_FALSE(holds({{"User", user + 1}, {"Executable", ownExecutable()}}, peer.guest()));
  EXPECT_FALSE(holds({{"User", user}, {"Executable", "/nonexistent"}}, peer.guest()));
  EXPECT_FALSE(holds({{"User", user}, {"Executable", PropertyList::Array{}}}, peer.guest()));
  EXPECT_FALSE(holds({{"User", user}, {"Group", "staff"}}, peer.guest())) << "not known";
}

TEST(EntitlementRule, AProcessThatHasEndedRunsNothing) {
  Peer peer;
  const Guest guest = peer.guest();
  peer.end();
  const auto user = static_cast<std::int64_t>(geteuid());
  EXPECT_FALSE(holds({{"User", user}, {"Executable", ownExecutable()}}, guest));
  EXPECT_FALSE(holds({{"User", user}, {"Unit", "x.service"}}, guest));
}

TEST(EntitlementRule, AProcessIdUsedAgainIsSomebodyElse) {
  const Peer peer;
  Guest guest;  // without the kernel's own reference to the process
  guest.token = peer.token();
  const Dictionary conditions = {{"User", static_cast<std::int64_t>(geteuid())},
                                 {"Executable", ownExecutable()}};
  EXPECT_TRUE(holds(conditions, guest));
  ++guest.token.processStartTime;
  EXPECT_FALSE(holds(conditions, guest)) << "it started at another time";
  guest.token.processStartTime = 0;
  EXPECT_FALSE(holds(conditions, guest)) << "nobody knows when it started";
}

TEST(EntitlementRule, ALabelIsComparedAsItIs) {
  Guest guest;
  const Dictionary conditions = {{"Label", "system_u:postfix"}};
  EXPECT_FALSE(holds(conditions, guest)) << "there is none";
  guest.label = "system_u:postfix";
  EXPECT_TRUE(holds(conditions, guest));
  guest.label = "system_u:postfix2";
  EXPECT_FALSE(holds(conditions, guest));
}

TEST(EntitlementRule, AnExecutableIsLookedUpInThePrivateSystem) {
  const TemporaryDirectory root;
  std::filesystem::create_symlink(ownExecutable(), root.path() / "app");
  const Peer peer;
  const Dictionary conditions = {{"User", static_cast<std::int64_t>(geteuid())},
                                 {"Executable", "/app"}};
  EXPECT_FALSE(holds(conditions, peer.guest()));
  ScopedEnvironment environment;
  environment.set("VELTO_ROOT", root.path().string());
  EXPECT_TRUE(holds(conditions, peer.guest()));
}

TEST(EntitlementRule, SaysWhatCannotBeChecked) {
  const auto objection = [](Dictionary conditions, const Guest& guest) {
    conditions.emplace("Entitlements", kGranted);
    return EntitlementRule::fromPropertyList(conditions, nullptr)->objectionFor(guest);
  };
  Guest guest;
  EXPECT_EQ(objection({{"User", 5}}, guest), std::nullopt);
  EXPECT_EQ(objection({{"User", 5}, {"Group", 5}}, guest),
            "it has a condition that is not known, Group");
  EXPECT_THAT(objection({{"Unit", "x.service"}}, guest),
              testing::Optional(testing::HasSubstr("its Unit cannot be checked")));
  guest.process = processDescriptor(getpid());
  EXPECT_EQ(objection({{"Unit", "x.service"}}, guest), std::nullopt);
}

TEST(EntitlementRule, AProcessOfWhichNoIdIsSeenIsInNoUnit) {
  Guest guest;
  guest.process = processDescriptor(getpid());
  char* own = nullptr;
  if (sd_pid_get_unit(0, &own) < 0) {
    own = strdup("init.scope");
  }
  EXPECT_FALSE(holds({{"Unit", own}}, guest)) << "not in that of the daemon";
  free(own);
}

TEST(EntitlementRule, AUnitNeedsTheKernelsReferenceToTheProcess) {
  Guest guest;
  guest.token.processIdentifier = getpid();
  guest.token.processStartTime = startTimeOfProcess(getpid());
  EXPECT_FALSE(holds({{"Unit", "init.scope"}}, guest));
  EXPECT_FALSE(holds({{"Unit", "no-such.service"}}, Peer().guest()));
}

}  // namespace
}  // namespace velto
