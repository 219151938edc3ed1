// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "platform/foundation/Error.h"
#include "platform/foundation/FileDescriptor.h"

namespace velto {

inline constexpr std::string_view kListenerErrorDomain = "Listener";

/// A Unix stream socket that listens and does not block.
struct ListeningSocket {
  FileDescriptor socket;
  /// Held as long as the socket is served, so that of several processes one serves it; none for a
  /// socket that the service manager made.
  FileDescriptor lock;

  /// The socket that the service manager has handed over: the one named "varlink", or the only one.
  /// Nothing without an error when none was; nothing with an error when none is fit. The variables
  /// that tell of it leave the environment. Called once, before there are threads.
  static std::optional<ListeningSocket> fromServiceManager(ErrorSlot error);

  /// A new socket at `path`, which everybody may connect to. Makes the directory that it lies in;
  /// replaces a socket that nobody serves. Nothing, with an error that names the path, when
  /// somebody does, or when it cannot be made. Any thread.
  static std::optional<ListeningSocket> atPath(const std::string& path, ErrorSlot error);
};

}  // namespace velto
