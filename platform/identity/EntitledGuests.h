// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/foundation/LimitedLog.h"
#include "platform/foundation/Mutex.h"
#include "platform/identity/CodeSigning.h"
#include "platform/identity/GuestTable.h"

namespace velto {

class EntitlementRule;
class FileManager;

/// Entitles guests by rules that root has written. Each file "*.plist" in one of the directories
/// holds one rule (EntitlementRule). Root has to own the directories and the files. Nobody else may
/// be able to write a directory, or to read or write a file. What fails this is ignored, with a
/// line in the log that says why (once a minute at most), and so is a rule that cannot be checked.
/// A file of another name is told of once, as long as it is there. A directory that is missing has
/// no rules.
///
/// The files are read at each look-up. They are tried directory by directory in the given order,
/// and by name within a directory. The first rule that holds gives the guest its entitlements.
///
/// The log also tells what a rule that is used says in vain (a right or a bundle that there is
/// not), and, once a day, which rule comes nearest to a guest that none holds for.
///
/// A guest is looked up by the address of its audit token, eight bytes, and found as long as the
/// token is in the table. No other attribute finds one. Any thread.
class EntitledGuests : public CodeSigning {
 public:
  /// Whether there is a bundle of the name.
  using IsBundle = std::function<bool(const std::string& name)>;

  /// What is referred to outlives it.
  EntitledGuests(
      std::vector<std::string> directories, const GuestTable& guests,
      const FileManager& fileManager, const Clock& clock, Log& log,
      IsBundle isBundle = [](const std::string&) { return true; });

  SecStatus copyGuestWithAttributes(const std::map<std::string, Data>& attributes,
                                    std::uint32_t flags,
                                    std::unique_ptr<CodeReference>& code) override;
  SecStatus copySigningInformation(const CodeReference& code, std::uint32_t flags,
                                   std::optional<PropertyList::Dictionary>& information) override;

 private:
  std::optional<PropertyList::Dictionary> entitlementsOf(const Guest& guest);
  void tellOfVainRights(const std::string& path, const EntitlementRule& rule);
  void tellOfNearest(const std::string& path, const std::vector<std::string>& unmet,
                     const Guest& guest);
  std::vector<std::string> ruleFiles(const std::string& directory);
  void tellOfStrays(const std::string& directory, std::set<std::string> strays)
      VELTO_EXCLUDES(mutex_);

  const std::vector<std::string> directories_;
  const GuestTable& guests_;
  const FileManager& fileManager_;
  const IsBundle isBundle_;
  LimitedLog log_;
  LimitedLog dailyLog_;
  Mutex mutex_;
  /// The files in each directory that are no rules by their names, and have been told of.
  std::map<std::string, std::set<std::string>> knownStrays_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
