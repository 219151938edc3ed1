// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/ProgramMistake.h"

#include <cstdio>
#include <cstdlib>

namespace velto {

void programMistake(std::string_view what) {
  std::fprintf(stderr, "mistake of the program: %.*s\n", static_cast<int>(what.size()),
               what.data());
  std::abort();
}

}  // namespace velto
