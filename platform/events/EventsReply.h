#pragma once

#include <optional>
#include <string_view>

#include "platform/foundation/Error.h"

namespace velto {

/// What the events service's answer to a call means, a message without its NUL: nothing for
/// success, or the error it tells, or that it is no answer. Any thread.
std::optional<Error> errorInEventsReply(std::string_view message);

}  // namespace velto
