// SPDX-License-Identifier: Apache-2.0
#include "delivery/Mailbox.h"

#include <algorithm>
#include <utility>

namespace velto {
namespace {

/// Reads an address a character at a time: quoted strings, comments, the address of a host in
/// brackets, and what stands outside them.
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
    return isBracketed_ ? takeBracketed(character) : takeOutside(character);
  }

  bool isComplete() const {
    return !isEscaped_ && !isQuoted_ && depth_ == 0 && !isBracketed_ && !isInAngles_;
  }

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

  bool takeBracketed(char character) {
    isBracketed_ = character != ']';
    return std::string_view("[\\@,;<>()\" \t").find(character) == std::string_view::npos;
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
    hasWord_ = true;
    return !isWordOver_ && takeOfWord(character);
  }

  bool takeOfWord(char character) {
    switch (character) {
      case '<':
        return !hasAt_ && !std::exchange(isInAngles_, true);
      case '>':
        isWordOver_ = true;
        return std::exchange(isInAngles_, false);
      case '@':
        return !std::exchange(hasAt_, true);
      case '"':
        isQuoted_ = true;
        return !hasAt_;
      case '[':
        isBracketed_ = true;
        return hasAt_;
      default:
        return std::string_view(",:;)\\]").find(character) == std::string_view::npos;
    }
  }

  bool isEscaped_ = false;
  bool isQuoted_ = false;
  bool isBracketed_ = false;
  bool isInAngles_ = false;
  int depth_ = 0;  ///< of comments
  bool hasAt_ = false;
  bool hasWord_ = false;
  bool isWordOver_ = false;
};

}  // namespace

bool namesOneMailbox(std::string_view address) {
  MailboxScanner scanner;
  return std::all_of(address.begin(), address.end(),
                     [&](char character) { return scanner.take(character); }) &&
         scanner.isComplete();
}

}  // namespace velto
