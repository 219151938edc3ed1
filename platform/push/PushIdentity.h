// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Error.h"

namespace velto {

/// A PEM file, as it was when it was read.
struct PushIdentityFile {
  std::string path;  ///< absolute
  std::string content;

  bool operator==(const PushIdentityFile&) const = default;
};

/// Where the push service is and how to show it who we are. Files that were replaced make another
/// identity, even under their old names. A value; any thread may use its own copy.
struct PushIdentity {
  std::string endpoint;  ///< https, without a query; a device's token follows behind a slash
  std::optional<PushIdentityFile> certificate;
  std::optional<PushIdentityFile> privateKey;  ///< absent when it is in the certificate's file
  std::optional<PushIdentityFile> certificateAuthority;  ///< absent for the machine's authorities

  bool operator==(const PushIdentity&) const = default;

  /// The endpoint as it may be shown: without the user and password that it may hold.
  std::string shownEndpoint() const;

  /// Reads a property list, but not the files that it names. Its paths are looked up as
  /// rootedPath() does. Nothing, with what is wrong as the error's description, when it cannot be
  /// used.
  static std::optional<PushIdentity> fromPropertyList(std::string_view bytes, ErrorSlot error);

  /// Reads the property list at `path`, and the files. Nobody but root or the daemon's own user may
  /// read or write it, or the private key. Nothing, with an error of the domain
  /// "UlmoraPushServiceProvider" that names the file, when one of them cannot be used.
  static std::shared_ptr<const PushIdentity> read(const std::string& path, ErrorSlot error);
};

}  // namespace velto
