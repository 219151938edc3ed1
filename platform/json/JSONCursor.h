// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/json/JSONNumber.h"

namespace velto {

/// Reads the values of a JSON text one after the other, straight from the text. It stands in front
/// of a value, which is read, passed over, or entered; what is asked for must be what is there.
/// Takes memory for a string with escapes only. One thread at a time.
///
///     while (auto name = cursor.nextMember()) { ... read or skip the value ... }
class JSONCursor {
 public:
  enum class Kind : std::uint8_t { kNull, kBool, kNumber, kString, kArray, kObject };

  /// The text must be JSON (isJSON) and outlive the cursor. A position is that of a value.
  explicit JSONCursor(std::string_view text, std::size_t position = 0)
      : text_(text), at_(position) {
    skipSpace();
  }
  JSONCursor(const JSONCursor&) = delete;  // its string may be long
  JSONCursor& operator=(const JSONCursor&) = delete;

  Kind kind() const;
  std::string_view text() const { return text_; }
  /// How much of the text lies before the value.
  std::size_t position() const { return at_; }

  void skip();
  bool readBool();
  JSONNumber readNumber();
  /// Whether integer or real.
  double readDouble();
  /// Valid until the cursor moves on.
  std::string_view readString();
  std::string takeString();

  /// Goes into an array or object: the next of its elements comes first then.
  void enter();
  /// Goes in front of the next element; false, behind the array, when there is none.
  bool nextElement();
  /// Goes in front of the value of the next member, and gives the member's name, valid until the
  /// cursor moves on. Nothing, behind the object, when there is none.
  std::optional<std::string_view> nextMember();
  /// Goes behind the array or object that was entered last, wherever in it the cursor stands.
  void leave();

 private:
  void skipSpace();
  /// Behind the string that begins here.
  std::size_t stringEnd() const;

  std::string_view text_;
  std::size_t at_;
  std::string unescaped_;  ///< the last string that had escapes
};

}  // namespace velto
