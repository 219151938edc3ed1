// SPDX-License-Identifier: Apache-2.0
#include "tests/connection/AcceptHook.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <utility>

#include "platform/foundation/Mutex.h"

namespace velto {
namespace {

Mutex mutex;
std::function<void()> hook VELTO_GUARDED_BY(mutex);

void setHook(std::function<void()> replacement) {
  const MutexLock lock(mutex);
  hook = std::move(replacement);
}

void callHook() {
  const MutexLock lock(mutex);
  if (hook) hook();
}

}  // namespace

AcceptHook::AcceptHook(std::function<void()> whenAccepted) {
  setHook(std::move(whenAccepted));
}

AcceptHook::~AcceptHook() {
  setHook({});
}

}  // namespace velto

/// Stands before the system's own, which it calls.
extern "C" int accept4(int socket, sockaddr* address, socklen_t* length, int flags) {
  static const auto systemsOwn =
      reinterpret_cast<decltype(&::accept4)>(::dlsym(RTLD_NEXT, "accept4"));
  const int accepted = systemsOwn(socket, address, length, flags);
  if (accepted >= 0) velto::callHook();
  return accepted;
}
