// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace velto {

/// Bytes for people: "512 B", "1.5 MiB". Any thread.
std::string sizeText(std::int64_t bytes);

}  // namespace velto
