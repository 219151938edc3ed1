// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// Reads the old text form: { key = value; }, ( a, b ), "quoted" and unquoted strings, <0fbd77>,
/// with // and /* */ comments; also a strings file, which is a dictionary's content without the
/// braces. Every scalar is a string or data. An object lives for one reading; one thread at a time.
class PropertyListTextReader {
 public:
  /// `text` is UTF-8 and outlives the call. Empty text is an empty dictionary.
  static std::optional<PropertyList> read(std::string_view text, ErrorSlot error);

 private:
  using Result = std::optional<PropertyList>;

  PropertyListTextReader(std::string_view text, ErrorSlot error) : text_(text), error_(error) {}

  Result readFile();
  Result readStringsFile();
  Result readValue();
  Result readContainer();
  Result readArray();
  Result readDictionary();
  /// The entries up to a closing brace or the end of the text.
  std::optional<PropertyList::Dictionary> readEntries();
  bool readEntry(PropertyList::Dictionary& dictionary);
  Result readData();

  std::optional<std::string> readString();
  std::optional<std::string> readQuotedString();
  std::optional<std::string> readWord();
  /// What a backslash introduces; the position is behind it.
  bool readEscape(std::string& text);
  bool readUnicodeEscape(std::string& text);
  /// The digits at the position, at most `count`; nothing when there is none.
  std::optional<char16_t> readDigits(int base, std::size_t count);

  /// Passes over white space and comments; false for a comment without an end.
  bool skipSpace();
  bool skipBlockComment();
  bool atEnd() const { return position_ == text_.size(); }
  bool accept(std::string_view token);
  char peek() const { return atEnd() ? '\0' : text_[position_]; }
  std::nullopt_t fail(std::string_view what);

  const std::string_view text_;
  const ErrorSlot error_;
  std::size_t position_ = 0;
  int depth_ = 0;
};

}  // namespace velto
