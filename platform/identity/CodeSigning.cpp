#include "platform/identity/CodeSigning.h"

namespace velto {

SecStatus NoGuests::copyGuestWithAttributes(const std::map<std::string, Data>& /*attributes*/,
                                            std::uint32_t /*flags*/,
                                            std::unique_ptr<CodeReference>& /*code*/) {
  return kSecNoSuchGuest;
}

SecStatus NoGuests::copySigningInformation(
    const CodeReference& /*code*/, std::uint32_t /*flags*/,
    std::optional<PropertyList::Dictionary>& /*information*/) {
  return kSecNoSuchGuest;
}

}  // namespace velto
