#include "platform/foundation/ProgramMistake.h"

#include <cstdio>
#include <cstdlib>

namespace velto {

void programMistake(std::string_view where, std::string_view what) {
  std::fprintf(stderr, "%.*s: %.*s\n", static_cast<int>(where.size()), where.data(),
               static_cast<int>(what.size()), what.data());
  std::abort();
}

}  // namespace velto
