// SPDX-License-Identifier: Apache-2.0
#include "tests/support/SkipOrFail.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace velto {

void skipOrFail(std::string_view reason) {
  if (std::getenv("CI") != nullptr) {
    FAIL() << reason;
  }
  GTEST_SKIP() << reason;
}

}  // namespace velto
