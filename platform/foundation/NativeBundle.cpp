#include "platform/foundation/NativeBundle.h"

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/NativeHost.h"

namespace velto {
namespace {

/// What is wrong with a file's owner or mode, or nothing.
std::optional<std::string> distrust(const struct stat& status) {
  if (status.st_uid != 0 && status.st_uid != ::geteuid()) {
    return "belongs to user " + std::to_string(status.st_uid);
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return "can be written by others than its owner";
  }
  return std::nullopt;
}

/// Opens the entry `name` of `directory`, whose own path is `path`, if it can be trusted.
FileDescriptor openTrusted(int directory, const std::string& name, int flags,
                           const std::string& path, std::string& reason) {
  FileDescriptor file(
      ::openat(directory, name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
  struct stat status;
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
    reason = path + ": " + std::generic_category().message(errno);
    return {};
  }
  if ((flags & O_DIRECTORY) == 0 && !S_ISREG(status.st_mode)) {
    reason = path + " is not a regular file";
    return {};
  }
  if (const auto objection = distrust(status)) {
    reason = path + " " + *objection;
    return {};
  }
  return file;
}

/// Opens the bundle's shared object. Every step starts at the directory just checked, so that
/// nothing can be exchanged in between.
FileDescriptor openCode(const Bundle& bundle, const std::string& executable, std::string& reason) {
  std::string path = bundle.path();
  FileDescriptor directory = openTrusted(AT_FDCWD, path, O_DIRECTORY, path, reason);
  for (const std::string folder : {"Contents", "Linux"}) {
    if (!directory.isOpen()) return {};
    path += "/" + folder;
    directory = openTrusted(directory.get(), folder, O_DIRECTORY | O_NOFOLLOW, path, reason);
  }
  if (!directory.isOpen()) return {};
  path += "/" + executable;
  return openTrusted(directory.get(), executable, O_NOFOLLOW, path, reason);
}

/// The name of the bundle's shared object in its information dictionary, or null with a reason.
const std::string* executableName(const Bundle& bundle, std::string& reason) {
  const std::string* name = stringForKey(bundle.infoDictionary(), "CFBundleExecutable");
  if (name == nullptr) {
    reason = bundle.path() + " has no code";
    return nullptr;
  }
  if (name->empty() || *name == "." || *name == ".." ||
      name->find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
    reason = bundle.path() + " names '" + *name + "' as its code, which is no file name";
    return nullptr;
  }
  return name;
}

/// Loads the very file that was checked. The descriptor stays open: the loader knows the code by
/// this name, and would take another file under the same number for the same code.
void* loadCode(FileDescriptor code, std::string& reason) {
  const std::string path = "/proc/self/fd/" + std::to_string(code.get());
  void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* message = ::dlerror();
    reason = message == nullptr ? "cannot be loaded" : message;
    return nullptr;
  }
  code.release();
  return library;
}

using RegisterFunction = int (*)(const velto_host*, velto_registry*);

/// The bundle's entry point, or null with a reason.
RegisterFunction findEntry(void* library, std::string& reason) {
  const auto* version =
      static_cast<const std::uint32_t*>(::dlsym(library, "velto_alert_bundle_interface"));
  void* entry = ::dlsym(library, "velto_alert_bundle_register");
  if (version == nullptr || entry == nullptr) {
    reason = version == nullptr ? "it lacks the symbol velto_alert_bundle_interface"
                                : "it lacks the symbol velto_alert_bundle_register";
    return nullptr;
  }
  if (*version != VELTO_ALERT_BUNDLE_INTERFACE) {
    reason = "it is made for version " + std::to_string(*version) +
             " of the interface, and this is version " +
             std::to_string(VELTO_ALERT_BUNDLE_INTERFACE);
    return nullptr;
  }
  return reinterpret_cast<RegisterFunction>(entry);
}

}  // namespace

bool loadNativeBundle(const Bundle& bundle, std::string_view name, NativeClasses& classes,
                      std::string& reason) {
  const std::string* executable = executableName(bundle, reason);
  if (executable == nullptr) return false;
  FileDescriptor code = openCode(bundle, *executable, reason);
  if (!code.isOpen()) return false;
  void* library = loadCode(std::move(code), reason);
  const RegisterFunction entry = library == nullptr ? nullptr : findEntry(library, reason);
  if (entry == nullptr) return false;
  velto_registry registry{classes, std::string(name), {}};
  if (const int result = entry(&nativeHost(), &registry); result != 0) {
    reason = "its registration gave " + std::to_string(result);
    return false;
  }
  classes.add(std::move(registry.formatters));
  return true;
}

}  // namespace velto
