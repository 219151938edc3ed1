// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/PropertyList.h"

namespace velto {

/// The key of an error's description for people.
inline constexpr std::string_view NSLocalizedDescriptionKey = "NSLocalizedDescription";

/// Why an operation failed. A value; any thread may use its own copy.
struct Error {
  std::string domain;
  std::int64_t code = 0;
  PropertyList::Dictionary userInfo;

  /// The description in the user information, or "<domain> error <code>" when there is none.
  std::string localizedDescription() const;

  bool operator==(const Error&) const = default;
};

/// An error whose user information holds only the description.
Error makeError(std::string_view domain, std::int64_t code, std::string_view description);

/// What fails with this had no memory. It takes none itself, so its domain is a short one and there
/// is no description.
Error outOfMemory() noexcept;

/// The domain of an error that the operating system gave; the code is the errno.
inline constexpr std::string_view kPOSIXErrorDomain = "POSIX";

/// Such an error, described as "<what>: <the system's message>".
Error makePOSIXError(int code, const std::string& what);

/// Where an operation puts its error; null when the caller does not ask for one.
using ErrorSlot = std::optional<Error>*;

/// Puts an operation's own error into the slot if there is one and it is still empty, so that an
/// earlier error, of an underlying fetch for instance, wins.
void setIfEmpty(ErrorSlot slot, Error error);

/// Puts an error of the layer below into the slot, whatever it held.
void replaceError(ErrorSlot slot, Error error);

/// Takes what came of an operation that does not make its caller wait: nothing when it succeeded,
/// or why it failed. Called exactly once, before the operation returns or later, and on any thread
/// unless the operation says which.
using ErrorReply = std::function<void(std::optional<Error>)>;

}  // namespace velto
