// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the programs of this folder end with when the service is not as they expect.

#include <cstdlib>
#include <iostream>
#include <optional>

#include <velto/Error.h>

inline void check(bool isRight, const char* what, int line) {
  if (isRight) return;
  std::cerr << "line " << line << ": " << what << '\n';
  std::exit(1);
}
#define CHECK(condition) check((condition), #condition, __LINE__)

template <typename Result>
void succeed(const velto::alerts::Outcome<Result>& outcome, int line) {
  check(outcome.error == std::nullopt, outcome.error ? outcome.error->description.c_str() : "",
        line);
}
#define SUCCEED(outcome) succeed(outcome, __LINE__)
