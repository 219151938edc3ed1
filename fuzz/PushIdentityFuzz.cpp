// SPDX-License-Identifier: Apache-2.0
// Whatever the identity file holds is an https endpoint with absolute paths, or an error that says
// why it is not.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/push/PushIdentity.h"

namespace {

bool isAbsolute(const std::optional<velto::PushIdentityFile>& file) {
  return !file || file->path.starts_with('/');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<velto::Error> error;
  const auto identity =
      velto::PushIdentity::fromPropertyList({reinterpret_cast<const char*>(data), size}, &error);
  if (identity.has_value() == error.has_value()) __builtin_trap();
  if (!identity) return 0;
  if (!identity->endpoint.starts_with("https://") ||
      identity->shownEndpoint().find('@') != std::string::npos ||
      !isAbsolute(identity->certificate) || !isAbsolute(identity->privateKey) ||
      !isAbsolute(identity->certificateAuthority)) {
    __builtin_trap();
  }
  return 0;
}
