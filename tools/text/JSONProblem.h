// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// What is wrong with a text that readJSON does not read, and at which character, counted from 1:
/// "',' or '}' expected at character 12". Any thread.
std::string jsonProblem(std::string_view text);

}  // namespace velto
