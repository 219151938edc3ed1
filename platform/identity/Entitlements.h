#pragma once

#include <optional>
#include <string>

#include "platform/foundation/PropertyList.h"
#include "platform/identity/GuestTable.h"

namespace velto {

/// One rule of an administrator: who is meant, and what they are entitled to.
///
///     { User = postfix; Unit = "postfix.service"; Label = "..."; Executable = "/usr/sbin/x";
///       Entitlements = { ... }; }
///
/// User (a name or a number), Unit (of systemd) and Label (of the security module) are facts that a
/// process cannot take on after it has connected; at least one of them has to be there. Executable
/// only narrows further, since a process can start another program. Every condition that stands
/// there must hold; one that is not known, or cannot be checked, does not hold.
class EntitlementRule {
 public:
  /// Nothing, with the reason, for what is no such rule.
  static std::optional<EntitlementRule> fromPropertyList(const PropertyList& value,
                                                         std::string& reason);

  bool holdsFor(const Guest& guest) const;
  const PropertyList::Dictionary& entitlements() const { return entitlements_; }

 private:
  EntitlementRule(PropertyList::Dictionary conditions, PropertyList::Dictionary entitlements);

  const PropertyList::Dictionary conditions_;
  const PropertyList::Dictionary entitlements_;
};

}  // namespace velto
