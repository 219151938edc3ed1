// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"
#include "platform/identity/GuestTable.h"

namespace velto {

/// The domain of the errors about rules, and its one code: what differs is in the description.
inline constexpr std::string_view kEntitlementErrorDomain = "Entitlements";
inline constexpr int kEntitlementErrorCode = 1;

/// One rule of an administrator: who is meant, and what they are entitled to.
///
///     { User = postfix; Unit = "postfix.service"; Label = "..."; Executable = "/usr/sbin/x";
///       Entitlements = { ... }; }
///
/// User (a name or a number), Unit (of systemd) and Label (of the security module) are facts that a
/// process cannot take on after it has connected; a rule needs at least one of them. Executable
/// only narrows a rule, since a process can start another program; it is looked up below
/// VELTO_ROOT. All conditions of a rule must hold. A condition of another name does not hold, and
/// neither does one that cannot be checked. A value; any thread may use its own copy.
class EntitlementRule {
 public:
  /// Nothing, with an error that says why in a phrase, for what is not a rule.
  static std::optional<EntitlementRule> fromPropertyList(const PropertyList& value,
                                                         ErrorSlot error);

  bool holdsFor(const Guest& guest) const;
  /// The names of those conditions that do not hold, and of how many there are.
  std::vector<std::string> conditionsNotMet(const Guest& guest) const;
  std::size_t conditionCount() const { return conditions_.size(); }
  /// Why the rule can hold for no such guest at all, in a phrase: a condition is not known, or this
  /// kernel gives nothing to check it by. Nothing when it could hold.
  std::optional<std::string> objectionFor(const Guest& guest) const;
  const PropertyList::Dictionary& entitlements() const { return entitlements_; }

 private:
  EntitlementRule(PropertyList::Dictionary conditions, PropertyList::Dictionary entitlements);

  const PropertyList::Dictionary conditions_;
  const PropertyList::Dictionary entitlements_;
};

}  // namespace velto
