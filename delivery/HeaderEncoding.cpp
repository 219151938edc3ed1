// SPDX-License-Identifier: Apache-2.0
#include "delivery/HeaderEncoding.h"

#include <algorithm>

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

/// Reads an address a character at a time: quoted strings, comments, and what stands outside them.
class MailboxScanner {
 public:
  /// False for a character that begins another mailbox, or ends what nobody has begun.
  bool take(char character) {
    if (isEscaped_) {
      isEscaped_ = false;
      return true;
    }
    if (isQuoted_ || depth_ > 0) {
      takeInside(character);
      return true;
    }
    return takeOutside(character);
  }

  bool isComplete() const { return !isEscaped_ && !isQuoted_ && depth_ == 0; }

 private:
  void takeInside(char character) {
    isEscaped_ = character == '\\';
    if (isQuoted_) {
      isQuoted_ = character != '"';
    } else if (character == '(') {
      ++depth_;
    } else if (character == ')') {
      --depth_;
    }
  }

  bool takeOutside(char character) {
    if (character == '(') {
      ++depth_;
      return true;
    }
    if (character == ' ' || character == '\t') {
      isWordOver_ = hasWord_;
      return true;
    }
    isQuoted_ = character == '"';
    hasWord_ = true;
    return !isWordOver_ && std::string_view(",;)\\").find(character) == std::string_view::npos;
  }

  bool isEscaped_ = false;
  bool isQuoted_ = false;
  int depth_ = 0;  ///< of comments
  bool hasWord_ = false;
  bool isWordOver_ = false;
};

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

bool namesOneMailbox(std::string_view address) {
  MailboxScanner scanner;
  return std::all_of(address.begin(), address.end(),
                     [&](char character) { return scanner.take(character); }) &&
         scanner.isComplete();
}

}  // namespace velto
