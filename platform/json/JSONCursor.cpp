// SPDX-License-Identifier: Apache-2.0
// The text is known to be JSON, so nothing is checked, and every search finds what it looks for.

#include "platform/json/JSONCursor.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "platform/foundation/UTF8.h"
#include "platform/json/JSONSyntax.h"

namespace velto {
namespace {

/// Replaces the escapes of a string that has some.
void unescape(std::string_view text, std::string& unescaped) {
  unescaped.clear();
  unescaped.reserve(text.size());
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t escape = std::min(text.find('\\', at), text.size());
    unescaped.append(text, at, escape - at);
    at = escape;
    if (at < text.size()) appendUTF8(unescaped, *escapedCharacter(text, at));
  }
}

/// Of a number, or of true, false or null. Words end with white space, a comma or a bracket.
bool isOfWord(char character) {
  return character > ' ' && character != ',' && character != ']' && character != '}';
}

}  // namespace

JSONCursor::Kind JSONCursor::kind() const {
  switch (text_[at_]) {
    case 'n':
      return Kind::kNull;
    case 't':
    case 'f':
      return Kind::kBool;
    case '"':
      return Kind::kString;
    case '[':
      return Kind::kArray;
    case '{':
      return Kind::kObject;
    default:
      return Kind::kNumber;
  }
}

void JSONCursor::skip() {
  switch (kind()) {
    case Kind::kString:
      at_ = stringEnd();
      break;
    case Kind::kArray:
    case Kind::kObject:
      enter();
      leave();
      break;
    case Kind::kNull:
    case Kind::kBool:
    case Kind::kNumber:
      while (at_ < text_.size() && isOfWord(text_[at_]))
        ++at_;
      break;
  }
}

bool JSONCursor::readBool() {
  const bool value = text_[at_] == 't';
  skip();
  return value;
}

JSONNumber JSONCursor::readNumber() {
  const std::size_t start = at_;
  skip();
  return *jsonNumber(text_.substr(start, at_ - start));
}

double JSONCursor::readDouble() {
  return std::visit([](auto number) { return static_cast<double>(number); }, readNumber());
}

std::string_view JSONCursor::readString() {
  const std::size_t start = at_ + 1;
  at_ = stringEnd();
  const std::string_view raw = text_.substr(start, at_ - 1 - start);
  if (raw.find('\\') == std::string_view::npos) return raw;
  unescape(raw, unescaped_);
  return unescaped_;
}

std::string JSONCursor::takeString() {
  const std::string_view value = readString();
  return value.data() == unescaped_.data() ? std::exchange(unescaped_, {}) : std::string(value);
}

void JSONCursor::enter() {
  ++at_;
}

bool JSONCursor::nextElement() {
  skipSpace();
  if (text_[at_] == ',') {
    ++at_;
    skipSpace();
  }
  const bool isAtEnd = text_[at_] == ']' || text_[at_] == '}';
  if (isAtEnd) ++at_;
  return !isAtEnd;
}

std::optional<std::string_view> JSONCursor::nextMember() {
  if (!nextElement()) return std::nullopt;
  const std::string_view name = readString();
  skipSpace();
  ++at_;  // the colon
  skipSpace();
  return name;
}

void JSONCursor::leave() {
  for (std::size_t open = 1; open > 0;) {
    switch (text_[at_]) {
      case '"':
        at_ = stringEnd();
        continue;
      case '[':
      case '{':
        ++open;
        break;
      case ']':
      case '}':
        --open;
        break;
      default:
        break;
    }
    ++at_;
  }
}

void JSONCursor::skipSpace() {
  while (at_ < text_.size() &&
         (text_[at_] == ' ' || text_[at_] == '\n' || text_[at_] == '\t' || text_[at_] == '\r')) {
    ++at_;
  }
}

std::size_t JSONCursor::stringEnd() const {
  for (std::size_t quote = at_;;) {
    quote = text_.find('"', quote + 1);
    // An odd number of backslashes escapes it. The string's own quote, if nothing else, ends them.
    std::size_t backslashes = 0;
    while (text_[quote - backslashes - 1] == '\\')
      ++backslashes;
    if (backslashes % 2 == 0) return quote + 1;
  }
}

}  // namespace velto
