#pragma once

#include <string>
#include <vector>

#include "platform/identity/CodeSigning.h"
#include "platform/identity/GuestTable.h"

namespace velto {

class FileManager;
class Log;

/// Entitles guests by the rules in files that root has written: "*.plist" in each of the
/// directories, one rule each (EntitlementRule). A file, or directory, that anybody but root can
/// read or write, or write, counts for nothing, with a line in the log. The files are read at each
/// look-up; the first rule that holds, by directory and then by name, is the guest's. Any thread.
///
/// A guest is named by the address of its audit token, eight bytes, which must be alive in the
/// table. Nothing else names one.
class EntitledGuests : public CodeSigning {
 public:
  /// What is referred to outlives it.
  EntitledGuests(std::vector<std::string> directories, const GuestTable& guests,
                 const FileManager& fileManager, Log& log);

  SecStatus copyGuestWithAttributes(const std::map<std::string, Data>& attributes,
                                    std::uint32_t flags,
                                    std::unique_ptr<CodeReference>& code) override;
  SecStatus copySigningInformation(const CodeReference& code, std::uint32_t flags,
                                   std::optional<PropertyList::Dictionary>& information) override;

 private:
  std::optional<PropertyList::Dictionary> entitlementsOf(const Guest& guest) const;

  const std::vector<std::string> directories_;
  const GuestTable& guests_;
  const FileManager& fileManager_;
  Log& log_;
};

}  // namespace velto
