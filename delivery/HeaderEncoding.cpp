// SPDX-License-Identifier: Apache-2.0
#include "delivery/HeaderEncoding.h"

#include "platform/foundation/Hexadecimal.h"

namespace velto {
namespace {

constexpr std::string_view kPlainCharacters =
    "!*+-/=_0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kPassThroughPunctuation = "!*+-/";

bool isLetterOrDigit(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9');
}

void appendEncoded(std::string& word, char character) {
  if (isLetterOrDigit(character) ||
      kPassThroughPunctuation.find(character) != std::string_view::npos) {
    word.push_back(character);
  } else if (character == ' ' || character == '\n') {
    word.push_back('_');
  } else {
    appendHexadecimal(word += '=', static_cast<std::uint8_t>(character), HexadecimalCase::kUpper);
  }
}

}  // namespace

std::string encodedHeaderText(std::string_view text) {
  if (text.find_first_not_of(kPlainCharacters) == std::string_view::npos) {
    return std::string(text);
  }
  std::string word = "=?UTF-8?Q?";
  for (const char character : text) {
    appendEncoded(word, character);
  }
  return word += "?=";
}

std::string encodedAddress(std::string_view address) {
  const std::size_t bracket = address.rfind('<');
  if (bracket == std::string_view::npos) {
    return std::string(address);
  }
  return encodedHeaderText(address.substr(0, bracket)).append(address.substr(bracket));
}

}  // namespace velto
