#include "platform/identity/EntitledGuests.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/foundation/FileManager.h"
#include "platform/foundation/Log.h"
#include "platform/identity/Entitlements.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumFileSize = std::size_t{1} << 20;
constexpr mode_t kOthersMayRead = 0077;
constexpr mode_t kOthersMayWrite = 0022;

struct GuestCode : CodeReference {
  explicit GuestCode(Guest known) : guest(std::move(known)) {}
  const Guest guest;
};

/// Opens what root owns and others have none of the rights in `denied` to.
FileDescriptor openRoots(const std::string& path, int flags, mode_t denied, std::string& reason) {
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
    reason = std::generic_category().message(errno);
    return {};
  }
  if (status.st_uid != 0 || (status.st_mode & denied) != 0) {
    reason = status.st_uid != 0          ? "it does not belong to root"
             : denied == kOthersMayWrite ? "others than root can write it"
                                         : "others than root can read or write it";
    return {};
  }
  return file;
}

std::optional<std::string> contentOf(const FileDescriptor& file, std::string& reason) {
  std::string content;
  std::array<char, 4096> buffer;
  ssize_t count = 0;
  while ((count = ::read(file.get(), buffer.data(), buffer.size())) > 0 &&
         content.size() <= kMaximumFileSize) {
    content.append(buffer.data(), static_cast<std::size_t>(count));
  }
  if (count < 0 || content.size() > kMaximumFileSize) {
    reason = count < 0 ? std::generic_category().message(errno) : "it is too large";
    return std::nullopt;
  }
  return content;
}

std::optional<EntitlementRule> readRule(const std::string& path, std::string& reason) {
  const FileDescriptor file = openRoots(path, O_NOFOLLOW, kOthersMayRead, reason);
  const auto content = file.isOpen() ? contentOf(file, reason) : std::nullopt;
  if (!content) {
    return std::nullopt;
  }
  std::optional<Error> error;
  const auto value =
      PropertyListSerialization::propertyList(Data(std::string_view(*content)), &error);
  if (!value) {
    reason = error->localizedDescription();
    return std::nullopt;
  }
  return EntitlementRule::fromPropertyList(*value, reason);
}

void logIgnored(Log& log, const std::string& path, const std::string& reason) {
  log.warning("Entitlements in " + path + " ignored: " + reason);
}

/// The rules' files in a directory, by name; none where there is no such directory.
std::vector<std::string> ruleFiles(const std::string& directory, const FileManager& fileManager,
                                   Log& log) {
  std::string reason;
  const FileDescriptor opened = openRoots(directory, O_DIRECTORY, kOthersMayWrite, reason);
  if (!opened.isOpen()) {
    if (reason != std::generic_category().message(ENOENT)) {
      logIgnored(log, directory, reason);
    }
    return {};
  }
  auto names = fileManager.contentsOfDirectory(directory, nullptr);
  std::vector<std::string> files;
  for (const std::string& name : names.value_or(std::vector<std::string>())) {
    if (name.ends_with(".plist")) {
      files.push_back((std::filesystem::path(directory) / name).string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

EntitledGuests::EntitledGuests(std::vector<std::string> directories, const GuestTable& guests,
                               const FileManager& fileManager, Log& log)
    : directories_(std::move(directories)), guests_(guests), fileManager_(fileManager), log_(log) {}

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

std::optional<PropertyList::Dictionary> EntitledGuests::entitlementsOf(const Guest& guest) const {
  for (const std::string& directory : directories_) {
    for (const std::string& path : ruleFiles(directory, fileManager_, log_)) {
      std::string reason;
      const auto rule = readRule(path, reason);
      if (!rule) {
        logIgnored(log_, path, reason);
      } else if (rule->holdsFor(guest)) {
        return rule->entitlements();
      }
    }
  }
  return std::nullopt;
}

}  // namespace velto
