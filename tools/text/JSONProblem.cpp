// SPDX-License-Identifier: Apache-2.0
#include "tools/text/JSONProblem.h"

#include <algorithm>
#include <array>

#include "platform/json/JSONSyntax.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

/// What JSON expects, but for what is written in quotes.
constexpr std::array kWords = {trLater("a value"),
                               trLater("a name in quotes"),
                               trLater("a digit"),
                               trLater("a smaller number"),
                               trLater("a character or its escape"),
                               trLater("less nesting"),
                               trLater("the end"),
                               trLater("',' or '}'"),
                               trLater("',' or ']'")};

std::string inReadersWords(std::string_view expected) {
  const auto* word = std::find(kWords.begin(), kWords.end(), expected);
  return word == kWords.end() ? std::string(expected) : tr(*word);
}

}  // namespace

std::string jsonProblem(std::string_view text) {
  const auto mistake = jsonMistake(text);
  return mistake ? say("{} expected at character {}", inReadersWords(mistake->expected),
                       mistake->offset + 1)
                 : tr("nested too deeply");
}

}  // namespace velto
