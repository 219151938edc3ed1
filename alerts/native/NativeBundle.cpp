// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeBundle.h"

#include <cstddef>
#include <dlfcn.h>
#include <filesystem>
#include <sys/stat.h>
#include <utility>

#include "alerts/AlertBundleErrors.h"
#include "alerts/native/NativeHost.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/TrustedFile.h"

namespace velto {
namespace {

/// Reports a failure and converts to a null pointer, so that it can be returned.
std::nullptr_t fail(ErrorSlot error, const std::string& why) {
  setIfEmpty(error, makeError(kBundleErrorDomain, kCodeNotLoadedErrorCode, why));
  return nullptr;
}

/// The name of the bundle's shared object in its information dictionary, or null with an error.
const std::string* executableName(const Bundle& bundle, ErrorSlot error) {
  const std::string* name = stringForKey(bundle.infoDictionary(), "CFBundleExecutable");
  if (name == nullptr) {
    return fail(error, bundle.path() + " has no code");
  }
  if (!isFileName(*name)) {
    return fail(error, bundle.path() + " names '" + *name + "' as its code, which is no file name");
  }
  return name;
}

/// Loads the very file that was checked. The descriptor stays open: the loader knows the code by
/// this name, and would take another file under the same number for the same code.
void* loadCode(FileDescriptor code, const std::string& name, ErrorSlot error) {
  const std::string path = "/proc/self/fd/" + std::to_string(code.get());
  void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* told = ::dlerror();
    std::string message = told == nullptr ? path + " cannot be loaded" : told;
    for (auto at = message.find(path); at != std::string::npos; at = message.find(path)) {
      message.replace(at, path.size(), name);
    }
    return fail(error, message);
  }
  code.release();
  return library;
}

using RegisterFunction = int (*)(const velto_host*, velto_registry*);

/// The bundle's entry point, or null with an error.
RegisterFunction findEntry(void* library, ErrorSlot error) {
  const auto* version =
      static_cast<const std::uint32_t*>(::dlsym(library, "velto_alert_bundle_interface"));
  void* entry = ::dlsym(library, "velto_alert_bundle_register");
  if (version == nullptr || entry == nullptr) {
    return fail(error, version == nullptr ? "it lacks the symbol velto_alert_bundle_interface"
                                          : "it lacks the symbol velto_alert_bundle_register");
  }
  if (*version != VELTO_ALERT_BUNDLE_INTERFACE) {
    return fail(error, "it is made for version " + std::to_string(*version) +
                           " of the interface, and this is version " +
                           std::to_string(VELTO_ALERT_BUNDLE_INTERFACE));
  }
  return reinterpret_cast<RegisterFunction>(entry);
}

/// The file of the bundle's code, or none with an error.
FileDescriptor openCode(const Bundle& bundle, ErrorSlot error) {
  const std::string* executable = executableName(bundle, error);
  if (executable == nullptr) return {};
  const std::filesystem::path path(bundle.path());
  return openTrustedFileBelow(path.parent_path(),
                              {path.filename(), "Contents", "Linux", *executable}, error);
}

/// An open file keeps its inode from being anybody else's.
FileIdentity identityOf(const FileDescriptor& file) {
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return {};
  return {.device = status.st_dev,
          .inode = status.st_ino,
          .size = status.st_size,
          .modifiedSeconds = status.st_mtim.tv_sec,
          .modifiedNanoseconds = status.st_mtim.tv_nsec};
}

/// The entry point of the bundle's code, which is loaded then, or null with an error.
RegisterFunction loadEntry(FileDescriptor code, const std::string& name, ErrorSlot error) {
  void* library = loadCode(std::move(code), name, error);
  return library == nullptr ? nullptr : findEntry(library, error);
}

}  // namespace

std::optional<Error> loadNativeBundle(const Bundle& bundle, std::string_view name,
                                      NativeClasses& classes) {
  std::optional<Error> error;
  FileDescriptor code = openCode(bundle, &error);
  if (!code.isOpen()) return error;
  const FileIdentity identity = identityOf(code);
  if (const auto known = classes.ofBundle(name); known && known->code == identity) {
    return std::nullopt;
  }
  const RegisterFunction registerClasses =
      loadEntry(std::move(code),
                bundle.path() + "/Contents/Linux/" + *executableName(bundle, &error), &error);
  if (registerClasses == nullptr) return error;
  velto_registry registry{classes, std::string(name), {}, classes.bundleNamed(std::string(name))};
  registry.classes.code = identity;
  const int result = callNative([&] { return registerClasses(&nativeHost(), &registry); });
  if (result != 0) {
    fail(&error, "its registration gave " + std::to_string(result));
    return error;
  }
  classes.add(registry.bundle, std::move(registry.classes));
  return std::nullopt;
}

}  // namespace velto
