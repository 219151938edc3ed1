// SPDX-License-Identifier: Apache-2.0
#include "platform/identity/EntitledGuests.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "platform/foundation/FileManager.h"
#include "platform/foundation/Paths.h"
#include "platform/foundation/RegularFile.h"
#include "platform/foundation/SingleLine.h"
#include "platform/foundation/TrustedFile.h"
#include "platform/identity/Entitlements.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumFileSize = std::size_t{1} << 20;
/// A link could lead to a file that its owner did not mean as a rule.
constexpr FileRequirement kRuleRequirement = {FileOwner::kRoot, OthersMay::kNeither, false};
constexpr FileRequirement kDirectoryRequirement = {FileOwner::kRoot, OthersMay::kRead};

struct GuestCode : CodeReference {
  explicit GuestCode(Guest known) : guest(std::move(known)) {}
  const Guest guest;
};

std::optional<EntitlementRule> readRule(const std::string& path, ErrorSlot error) {
  const FileDescriptor file = openTrustedFile(path, kRuleRequirement, error);
  const auto content = file.isOpen() ? contentsOfFile(file, kMaximumFileSize, error) : std::nullopt;
  const auto value =
      content ? PropertyListSerialization::propertyList(Data(std::string_view(*content)), error)
              : std::nullopt;
  return value ? EntitlementRule::fromPropertyList(*value, error) : std::nullopt;
}

void logIgnored(Log& log, const std::string& path, const std::string& why) {
  log.warning("Entitlements in " + path + " ignored: " + why);
}

void logIgnored(Log& log, const std::string& path, const Error& error) {
  const bool isTooLarge = error.domain == kPOSIXErrorDomain && error.code == EFBIG;
  logIgnored(log, path, isTooLarge ? "it is too large" : error.localizedDescription());
}

}  // namespace

EntitledGuests::EntitledGuests(std::vector<std::string> directories, const GuestTable& guests,
                               const FileManager& fileManager, const Clock& clock, Log& log,
                               IsBundle isBundle)
    : directories_(std::move(directories)),
      guests_(guests),
      fileManager_(fileManager),
      isBundle_(std::move(isBundle)),
      log_(log, clock),
      dailyLog_(log, clock, LimitedLog::kDay) {}

SecStatus EntitledGuests::copyGuestWithAttributes(const std::map<std::string, Data>& attributes,
                                                  std::uint32_t /*flags*/,
                                                  std::unique_ptr<CodeReference>& code) {
  const auto audit = attributes.find(std::string(kSecGuestAttributeAudit));
  std::uintptr_t address = 0;
  if (attributes.size() != 1 || audit == attributes.end() ||
      audit->second.size() != sizeof address) {
    return kSecNoSuchGuest;
  }
  std::memcpy(&address, audit->second.bytes().data(), sizeof address);
  auto guest = guests_.guestAt(address);
  if (!guest) {
    return kSecNoSuchGuest;
  }
  code = std::make_unique<GuestCode>(std::move(*guest));
  return kSecSuccess;
}

SecStatus EntitledGuests::copySigningInformation(
    const CodeReference& code, std::uint32_t flags,
    std::optional<PropertyList::Dictionary>& information) {
  const auto* known = dynamic_cast<const GuestCode*>(&code);
  if (known == nullptr) {
    return kSecNoSuchGuest;
  }
  information = PropertyList::Dictionary();
  if ((flags & kSecCSRequirementInformation) != 0) {
    if (auto entitlements = entitlementsOf(known->guest)) {
      information->emplace(kSecCodeInfoEntitlementsDict, std::move(*entitlements));
    }
  }
  return kSecSuccess;
}

/// The rules' files in a directory, by name; none where there is no such directory.
std::vector<std::string> EntitledGuests::ruleFiles(const std::string& directory) {
  std::optional<Error> error;
  if (!openTrustedDirectory(directory, kDirectoryRequirement, &error).isOpen()) {
    if (error->code != ENOENT) {
      logIgnored(log_, directory, *error);
    }
    return {};
  }
  auto names = fileManager_.contentsOfDirectory(directory, nullptr);
  std::vector<std::string> files;
  std::set<std::string> strays;
  for (const std::string& name : names.value_or(std::vector<std::string>())) {
    std::string path = (std::filesystem::path(directory) / name).string();
    if (name.ends_with(".plist")) {
      files.push_back(std::move(path));
    } else {
      strays.insert(std::move(path));
    }
  }
  tellOfStrays(directory, std::move(strays));
  std::sort(files.begin(), files.end());
  return files;
}

/// Whoever has put a file there wants to know once that it is no rule, and not with each caller.
void EntitledGuests::tellOfStrays(const std::string& directory, std::set<std::string> strays) {
  const MutexLock lock(mutex_);
  std::set<std::string>& known = knownStrays_[directory];
  for (const std::string& path : strays) {
    if (!known.contains(path)) logIgnored(log_, path, "its name does not end in .plist");
  }
  known = std::move(strays);
}

/// A rule that was meant to entitle somebody, and does not, is a mistake that nobody else would
/// tell.
void EntitledGuests::tellOfVainRights(const std::string& path, const EntitlementRule& rule) {
  const PropertyList* right = valueForKey(rule.entitlements(), kBundleEntitlement);
  if (right == nullptr) {
    const auto& others = rule.entitlements();
    log_.warning("The rule in " + path + " gives no right that there is: its Entitlements have " +
                 (others.empty() ? "nothing" : others.begin()->first) + " and not " +
                 std::string(kBundleEntitlement));
    return;
  }
  const PropertyList::Array one{*right};
  for (const PropertyList& name : right->array() == nullptr ? one : *right->array()) {
    if (name.string() == nullptr) {
      log_.warning("The rule in " + path + " names a bundle by what is no text");
    } else if (!isBundle_(*name.string())) {
      log_.warning("The rule in " + path +
                   " names a bundle that there is not: " + singleLine(*name.string()));
    }
  }
}

void EntitledGuests::tellOfNearest(const std::string& path, const std::vector<std::string>& unmet,
                                   const Guest& guest) {
  std::string names;
  for (const std::string& name : unmet) {
    names.append(names.empty() ? "" : " and ").append(name);
  }
  const std::string user = std::to_string(guest.token.effectiveUserIdentifier);
  dailyLog_.warningOf(path + " " + user, "No rule holds for process " +
                                             std::to_string(guest.token.processIdentifier) +
                                             " of user " + user + "; nearest comes " + path +
                                             ", but for its " + names);
}

std::optional<PropertyList::Dictionary> EntitledGuests::entitlementsOf(const Guest& guest) {
  std::string nearest;
  std::vector<std::string> unmetOfNearest;
  for (const std::string& directory : directories_) {
    for (const std::string& path : ruleFiles(directory)) {
      std::optional<Error> error;
      const auto rule = readRule(path, &error);
      const auto objection = rule ? rule->objectionFor(guest) : std::nullopt;
      if (!rule) {
        logIgnored(log_, path, *error);
      } else if (objection) {
        logIgnored(log_, path, *objection);
      } else {
        tellOfVainRights(path, *rule);
        auto unmet = rule->conditionsNotMet(guest);
        if (unmet.empty()) return rule->entitlements();
        const bool isNear = unmet.size() < rule->conditionCount();
        if (isNear && (nearest.empty() || unmet.size() < unmetOfNearest.size())) {
          nearest = path;
          unmetOfNearest = std::move(unmet);
        }
      }
    }
  }
  if (!nearest.empty()) tellOfNearest(nearest, unmetOfNearest, guest);
  return std::nullopt;
}

}  // namespace velto
