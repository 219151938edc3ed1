// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace velto {

/// Skips the running test, with the reason as its word; fails it where the environment variable CI
/// is set. The caller returns: `return skipOrFail("only root can ...")`.
void skipOrFail(std::string_view reason);

}  // namespace velto
