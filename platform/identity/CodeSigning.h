// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Data.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// The attribute of a guest look-up that names the guest by its audit token.
inline constexpr std::string_view kSecGuestAttributeAudit = "audit";
/// The entry of the signing information that holds the guest's entitlements, a dictionary.
inline constexpr std::string_view kSecCodeInfoEntitlementsDict = "entitlements-dict";
/// Asks for the requirement information, which carries the entitlements.
inline constexpr std::uint32_t kSecCSRequirementInformation = 4;

using SecStatus = std::int32_t;
inline constexpr SecStatus kSecSuccess = 0;
/// No guest is known by the attributes given.
inline constexpr SecStatus kSecNoSuchGuest = -1;

/// A running program that the look-up knows, as an opaque reference.
class CodeReference {
 public:
  virtual ~CodeReference() = default;
};

/// Tells what a running program is entitled to. Any thread.
class CodeSigning {
 public:
  virtual ~CodeSigning() = default;

  /// Finds the guest that the attributes describe and sets `code`; otherwise a non-zero status,
  /// with `code` left as it is.
  virtual SecStatus copyGuestWithAttributes(const std::map<std::string, Data>& attributes,
                                            std::uint32_t flags,
                                            std::unique_ptr<CodeReference>& code) = 0;

  /// Sets `information` to what is known of the guest; otherwise a non-zero status.
  virtual SecStatus copySigningInformation(
      const CodeReference& code, std::uint32_t flags,
      std::optional<PropertyList::Dictionary>& information) = 0;
};

}  // namespace velto
