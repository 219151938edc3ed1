// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListTextReader.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include <unicode/utf16.h>

#include "platform/foundation/UTF8.h"
#include "platform/propertylist/PropertyListError.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "platform/propertylist/PropertyListTextCharacters.h"
#include "platform/propertylist/PropertyListUnicode.h"

namespace velto {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

}  // namespace

std::optional<PropertyList> PropertyListTextReader::read(std::string_view text, ErrorSlot error) {
  return PropertyListTextReader(text, error).readFile();
}

PropertyListTextReader::Result PropertyListTextReader::readFile() {
  if (!skipSpace()) return std::nullopt;
  if (atEnd()) return PropertyList(PropertyList::Dictionary());
  const std::size_t start = position_;
  Result value = readValue();
  if (!value || !skipSpace()) return std::nullopt;
  if (atEnd()) return value;
  if (value->string() == nullptr) return fail("more text after the value");
  position_ = start;
  return readStringsFile();
}

PropertyListTextReader::Result PropertyListTextReader::readStringsFile() {
  std::optional<PropertyList::Dictionary> entries = readEntries();
  if (!entries) return std::nullopt;
  return atEnd() ? Result(PropertyList(std::move(*entries))) : fail("a '}' without its '{'");
}

PropertyListTextReader::Result PropertyListTextReader::readValue() {
  switch (peek()) {
    case '{':
    case '(':
      return readContainer();
    case '<':
      return readData();
    default:
      break;
  }
  std::optional<std::string> string = readString();
  return string ? Result(PropertyList(std::move(*string))) : std::nullopt;
}

PropertyListTextReader::Result PropertyListTextReader::readContainer() {
  if (depth_ == PropertyListSerialization::kMaximumDepth) return fail("nested too deep");
  ++depth_;
  Result result = accept("{") ? readDictionary() : readArray();
  --depth_;
  return result;
}

PropertyListTextReader::Result PropertyListTextReader::readArray() {
  PropertyList::Array array;
  do {
    ++position_;  // the opening parenthesis or a comma
    if (!skipSpace()) return std::nullopt;
    if (peek() == ')') break;
    Result element = readValue();
    if (!element || !skipSpace()) return std::nullopt;
    array.push_back(std::move(*element));
  } while (peek() == ',');
  return accept(")") ? Result(PropertyList(std::move(array))) : fail("',' or ')' expected");
}

PropertyListTextReader::Result PropertyListTextReader::readDictionary() {
  std::optional<PropertyList::Dictionary> entries = readEntries();
  if (!entries) return std::nullopt;
  return accept("}") ? Result(PropertyList(std::move(*entries))) : fail("'}' expected");
}

std::optional<PropertyList::Dictionary> PropertyListTextReader::readEntries() {
  PropertyList::Dictionary dictionary;
  while (skipSpace()) {
    if (atEnd() || peek() == '}') return dictionary;
    if (!readEntry(dictionary)) break;
  }
  return std::nullopt;
}

bool PropertyListTextReader::readEntry(PropertyList::Dictionary& dictionary) {
  std::optional<std::string> key = readString();
  if (!key || !skipSpace()) return false;
  Result value = PropertyList(*key);  // "key;" stands for "key = key;"
  if (accept("=")) {
    if (!skipSpace()) return false;
    value = readValue();
    if (!value || !skipSpace()) return false;
  }
  if (!accept(";")) {
    fail("';' expected");
    return false;
  }
  dictionary.insert_or_assign(std::move(*key), std::move(*value));
  return true;
}

PropertyListTextReader::Result PropertyListTextReader::readData() {
  std::vector<std::uint8_t> bytes;
  ++position_;
  while (true) {
    if (!skipSpace()) return std::nullopt;
    if (accept(">")) return PropertyList(Data(std::move(bytes)));
    const std::optional<char16_t> high = readDigits(16, 1);
    const std::optional<char16_t> low = readDigits(16, 1);
    if (!high || !low) return fail("a pair of hexadecimal digits or '>' expected");
    bytes.push_back(static_cast<std::uint8_t>(*high << 4 | *low));
  }
}

std::optional<std::string> PropertyListTextReader::readString() {
  return peek() == '"' || peek() == '\'' ? readQuotedString() : readWord();
}

std::optional<std::string> PropertyListTextReader::readWord() {
  const auto start = text_.begin() + static_cast<std::ptrdiff_t>(position_);
  const auto end = std::find_if_not(start, text_.end(), isUnquotedCharacter);
  if (start == end) return fail(atEnd() ? "the text ends early" : "unexpected character");
  position_ += static_cast<std::size_t>(end - start);
  return std::string(start, end);
}

std::optional<std::string> PropertyListTextReader::readQuotedString() {
  const std::size_t start = position_;
  const char quote = text_[position_++];
  std::string string;
  while (!atEnd()) {
    const char character = text_[position_++];
    if (character == quote) return string;
    if (character != '\\') {
      string.push_back(character);
    } else if (!readEscape(string)) {
      return std::nullopt;
    }
  }
  position_ = start;
  return fail("a string without its closing quote");
}

bool PropertyListTextReader::readEscape(std::string& text) {
  const char letter = peek();
  if (letter == 'U') return readUnicodeEscape(text);
  if (const std::optional<char16_t> code = readDigits(8, 3)) {
    return appendUTF8(text, nextstepCharacter(static_cast<std::uint8_t>(*code)));
  }
  // Whatever else follows stands for itself; the end of the text is met by the caller.
  if (atEnd()) return true;
  text.push_back(escapedCharacter(letter));
  ++position_;
  return true;
}

bool PropertyListTextReader::readUnicodeEscape(std::string& text) {
  std::u16string units;
  do {
    ++position_;
    const std::optional<char16_t> unit = readDigits(16, 4);
    if (!unit) {
      fail("hexadecimal digits expected after \\U");
      return false;
    }
    units.push_back(*unit);
    // Beyond the basic plane a character is a pair of escapes.
  } while (units.size() == 1 && U16_IS_LEAD(units[0]) && accept("\\") && peek() == 'U');
  const std::optional<std::string> characters = utf8FromUTF16(units);
  if (!characters) {
    fail("half of a surrogate pair");
    return false;
  }
  text.append(*characters);
  return true;
}

std::optional<char16_t> PropertyListTextReader::readDigits(int base, std::size_t count) {
  const char* start = text_.data() + position_;
  const char* end = text_.data() + std::min(position_ + count, text_.size());
  unsigned number = 0;
  const char* behind = std::from_chars(start, end, number, base).ptr;
  if (behind == start) return std::nullopt;
  position_ += static_cast<std::size_t>(behind - start);
  return static_cast<char16_t>(number);
}

bool PropertyListTextReader::skipSpace() {
  while (true) {
    position_ = std::min(text_.find_first_not_of(kWhiteSpace, position_), text_.size());
    if (accept("//")) {
      position_ = std::min(text_.find_first_of("\r\n", position_), text_.size());
    } else if (accept("/*")) {
      if (!skipBlockComment()) return false;
    } else {
      return true;
    }
  }
}

bool PropertyListTextReader::skipBlockComment() {
  const std::size_t end = text_.find("*/", position_);
  if (end == std::string_view::npos) {
    fail("a comment without its end");
    return false;
  }
  position_ = end + 2;
  return true;
}

bool PropertyListTextReader::accept(std::string_view token) {
  if (!text_.substr(position_).starts_with(token)) return false;
  position_ += token.size();
  return true;
}

std::nullopt_t PropertyListTextReader::fail(std::string_view what) {
  return propertyListFailure(error_, std::string(what) + atLine(text_, position_));
}

}  // namespace velto
