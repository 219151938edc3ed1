// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace velto {

/// Whether an encoded address names no more than one mailbox, and leaves those before and behind it
/// in a list as they are: RFC 5322, section 3.4, and narrower, since some mail programs take a
/// blank for a comma, and what follows a mailbox for the next one. Nothing else is asked of it. Any
/// thread.
bool namesOneMailbox(std::string_view address);

}  // namespace velto
