// SPDX-License-Identifier: Apache-2.0
#pragma once

// The parameters of a call, which are the members of a structure.

#include <array>
#include <cstddef>

#include "platform/connection/Interface.h"
#include "protocol/JSONStructure.h"

namespace velto {

/// Fills the structure from the call's parameters. The path of what does not fit, if there is
/// something.
template <typename Structure, std::size_t N>
WrongPath decodeParameters(const Invocation& invocation, Structure& structure,
                           const std::array<JSONMember<Structure>, N>& members) {
  JSONSource source{JSONCursor(invocation.parameters), MemoryBudget(kCallBudget)};
  WrongPath wrong = decodeStructure(source, invocation.classes, structure, members);
  return wrong ? wrong->substr(1) : wrong;  // the parameters have no name of their own
}

}  // namespace velto
