#include "alerts/native/NativeBundle.h"

#include <dlfcn.h>
#include <utility>

#include "alerts/native/NativeHost.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/TrustedFile.h"

namespace velto {
namespace {

/// The name of the bundle's shared object in its information dictionary, or null with a reason.
const std::string* executableName(const Bundle& bundle, std::string& reason) {
  const std::string* name = stringForKey(bundle.infoDictionary(), "CFBundleExecutable");
  if (name == nullptr) {
    reason = bundle.path() + " has no code";
    return nullptr;
  }
  if (!isFileName(*name)) {
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
  FileDescriptor code = openTrustedFile(bundle.path(), {"Contents", "Linux", *executable}, reason);
  if (!code.isOpen()) return false;
  void* library = loadCode(std::move(code), reason);
  const RegisterFunction entry = library == nullptr ? nullptr : findEntry(library, reason);
  if (entry == nullptr) return false;
  velto_registry registry{classes, std::string(name), {}};
  if (const int result = entry(&nativeHost(), &registry); result != 0) {
    reason = "its registration gave " + std::to_string(result);
    return false;
  }
  classes.add(registry.bundle, std::move(registry.classes));
  return true;
}

}  // namespace velto
