// SPDX-License-Identifier: Apache-2.0
// Whatever a file of rules holds, it entitles nobody whom none of its lasting conditions means.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/identity/Entitlements.h"
#include "platform/propertylist/PropertyListSerialization.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const velto::Data bytes(std::string_view(reinterpret_cast<const char*>(data), size));
  const auto value = velto::PropertyListSerialization::propertyList(bytes, nullptr);
  const auto rule =
      value ? velto::EntitlementRule::fromPropertyList(*value, nullptr) : std::nullopt;
  if (!rule) return 0;
  // A guest of no user that can be named, no process and no label.
  velto::Guest guest;
  guest.token.effectiveUserIdentifier = 4294967295U;
  rule->objectionFor(guest);
  const auto* conditions = value->dictionary();
  const auto* user = velto::valueForKey(*conditions, "User");
  const bool namesNumber =
      user != nullptr && (user->integer() != nullptr || user->string() != nullptr);
  if (rule->holdsFor(guest) && !namesNumber) __builtin_trap();
  return 0;
}
