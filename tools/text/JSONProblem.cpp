// SPDX-License-Identifier: Apache-2.0
#include "tools/text/JSONProblem.h"

#include "platform/json/JSONSyntax.h"
#include "tools/text/Message.h"

namespace velto {

std::string jsonProblem(std::string_view text) {
  const auto mistake = jsonMistake(text);
  return mistake ? say("{} expected at character {}", mistake->expected, mistake->offset + 1)
                 : tr("nested too deeply");
}

}  // namespace velto
