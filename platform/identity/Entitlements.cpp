// SPDX-License-Identifier: Apache-2.0
#include "platform/identity/Entitlements.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <pwd.h>
#include <string_view>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include <systemd/sd-login.h>

#include "platform/foundation/Paths.h"

namespace velto {
namespace {

constexpr std::string_view kEntitlements = "Entitlements";
constexpr std::string_view kUser = "User";
constexpr std::string_view kUnit = "Unit";

std::optional<uid_t> userNamed(const std::string& name) {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
  return found == nullptr ? std::nullopt : std::optional(found->pw_uid);
}

/// The old text form has no numbers.
bool isNumber(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isUser(const PropertyList& user, const Guest& guest) {
  if (user.integer() != nullptr) {
    return *user.integer() == std::int64_t{guest.token.effectiveUserIdentifier};
  }
  const std::string* text = user.string();
  if (text == nullptr || text->empty()) {
    return false;
  }
  return isNumber(*text) ? *text == std::to_string(guest.token.effectiveUserIdentifier)
                         : userNamed(*text) == guest.token.effectiveUserIdentifier;
}

/// A number is a user, also one that has no name.
bool isKnownUser(const PropertyList& user) {
  const std::string* text = user.string();
  return user.integer() != nullptr ||
         (text != nullptr && (isNumber(*text) || userNamed(*text).has_value()));
}

std::string nameOf(const PropertyList& user) {
  return user.string() == nullptr ? "of that kind" : *user.string();
}

/// The unit is found by the process's id, which is the process's as long as it lives. A process of
/// which this system sees no id has 0 for one, which would mean ourselves.
bool isInUnit(const PropertyList& unit, const Guest& guest) {
  char* name = nullptr;
  if (unit.string() == nullptr || guest.token.processIdentifier <= 0 || !isAlive(guest.process) ||
      sd_pid_get_unit(guest.token.processIdentifier, &name) < 0) {
    return false;
  }
  const std::unique_ptr<char, decltype(&std::free)> owned(name, &std::free);
  return *unit.string() == name && isAlive(guest.process);
}

bool hasLabel(const PropertyList& label, const Guest& guest) {
  return label.string() != nullptr && guest.label == *label.string();
}

/// Whether the token's process id is still that process's.
bool isSameProcess(const Guest& guest) {
  return guest.process.isOpen() ? isAlive(guest.process)
                                : guest.token.processStartTime != 0 &&
                                      guest.token.processStartTime ==
                                          startTimeOfProcess(guest.token.processIdentifier);
}

/// Compared as files: a name may mean another file to the process, which can have its own view of
/// the tree.
bool runsExecutable(const PropertyList& executable, const Guest& guest) {
  const std::string link = "/proc/" + std::to_string(guest.token.processIdentifier) + "/exe";
  struct stat running {};
  struct stat named {};
  return executable.string() != nullptr && ::stat(link.c_str(), &running) == 0 &&
         ::stat(rootedPath(*executable.string()).c_str(), &named) == 0 &&
         running.st_dev == named.st_dev && running.st_ino == named.st_ino && isSameProcess(guest);
}

struct Condition {
  std::string_view name;
  bool (*holds)(const PropertyList& value, const Guest& guest);
  bool isLasting;  ///< a process cannot take it on after it has connected
};

constexpr std::array<Condition, 4> kConditions = {{
    {kUser, isUser, true},
    {kUnit, isInUnit, true},
    {"Label", hasLabel, true},
    {"Executable", runsExecutable, false},
}};

const Condition* conditionNamed(std::string_view name) {
  const auto* found = std::find_if(kConditions.begin(), kConditions.end(),
                                   [name](const Condition& each) { return each.name == name; });
  return found == kConditions.end() ? nullptr : found;
}

/// A phrase about the conditions that are none, or nothing.
std::string strangeConditions(const PropertyList::Dictionary& conditions) {
  for (const auto& [name, value] : conditions) {
    if (conditionNamed(name) == nullptr) return "it has a condition that is not known, " + name;
  }
  return {};
}

}  // namespace

std::optional<EntitlementRule> EntitlementRule::fromPropertyList(const PropertyList& value,
                                                                 ErrorSlot error) {
  const auto fail = [error](std::string_view why) {
    setIfEmpty(error, makeError(kEntitlementErrorDomain, kEntitlementErrorCode, why));
    return std::nullopt;
  };
  if (value.dictionary() == nullptr) {
    return fail("it holds no dictionary");
  }
  PropertyList::Dictionary conditions = *value.dictionary();
  auto entitlements = conditions.extract(std::string(kEntitlements));
  if (entitlements.empty() || entitlements.mapped().dictionary() == nullptr) {
    return fail("it has no dictionary Entitlements");
  }
  const bool isSafe = std::any_of(conditions.begin(), conditions.end(), [](const auto& entry) {
    const Condition* condition = conditionNamed(entry.first);
    return condition != nullptr && condition->isLasting;
  });
  if (!isSafe) {
    const auto strange = strangeConditions(conditions);
    return fail("it has none of User, Unit and Label" +
                (strange.empty() ? "" : ", and " + strange));
  }
  return EntitlementRule(std::move(conditions), std::move(*entitlements.mapped().dictionary()));
}

EntitlementRule::EntitlementRule(PropertyList::Dictionary conditions,
                                 PropertyList::Dictionary entitlements)
    : conditions_(std::move(conditions)), entitlements_(std::move(entitlements)) {}

std::optional<std::string> EntitlementRule::objectionFor(const Guest& guest) const {
  if (auto strange = strangeConditions(conditions_); !strange.empty()) {
    return strange;
  }
  const auto user = conditions_.find(std::string(kUser));
  if (user != conditions_.end() && !isKnownUser(user->second)) {
    return "there is no user " + nameOf(user->second);
  }
  if (conditions_.contains(std::string(kUnit)) && !guest.process.isOpen()) {
    return "its Unit cannot be checked without the kernel's reference to the caller "
           "(SO_PEERPIDFD, since Linux 6.5)";
  }
  return std::nullopt;
}

bool EntitlementRule::holdsFor(const Guest& guest) const {
  return conditionsNotMet(guest).empty();
}

std::vector<std::string> EntitlementRule::conditionsNotMet(const Guest& guest) const {
  std::vector<std::string> names;
  for (const auto& [name, value] : conditions_) {
    const Condition* condition = conditionNamed(name);
    if (condition == nullptr || !condition->holds(value, guest)) names.push_back(name);
  }
  return names;
}

}  // namespace velto
