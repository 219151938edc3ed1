// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Error.h"

namespace velto {

/// What keeps an address out of a header although it names somebody, as a phrase: whoever may write
/// one recipient would write header lines, or other recipients. Nothing when it may stand there.
std::optional<std::string> objectionToAddress(const std::string& address);

/// The header lines of a message: the addresses, and the subject and the sender where they are not
/// empty. Nothing, with an error that names it, when an address or the sender, its encoded display
/// name aside, is not a single line of ASCII. The addresses have no objection. Any thread.
std::optional<std::string> mailHeader(const std::vector<std::string>& addresses,
                                      const std::optional<std::string>& subject,
                                      const std::optional<std::string>& fromAddress,
                                      ErrorSlot error);

}  // namespace velto
