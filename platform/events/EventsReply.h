// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "platform/foundation/Error.h"

namespace velto {

/// Reads the events service's reply to a call, the text of one message without its NUL. Returns
/// nothing when the service did what it was asked; otherwise an error of the domain
/// kEventsErrorDomain: kEventsRefusedErrorCode with the name and the parameters of the service's
/// own error, or kEventsNoReplyErrorCode when the text is not a reply. An error that is null is
/// none. Any thread.
std::optional<Error> errorInEventsReply(std::string_view message);

}  // namespace velto
