// SPDX-License-Identifier: Apache-2.0
// A descent through the grammar, no deeper than kMaximumJSONDepth. Each function stands at the
// beginning of what it is named after and is true when it has moved behind it.

#include "platform/json/JSONSyntax.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "platform/foundation/UTF8.h"
#include "platform/json/JSONNumber.h"

namespace velto {
namespace {

/// Stand for themselves in a string: ASCII but for control characters, the quote and the backslash.
constexpr std::array<bool, 256> kIsPlain = [] {
  std::array<bool, 256> table{};
  std::fill(table.begin() + 0x20, table.begin() + 0x80, true);
  table['"'] = false;
  table['\\'] = false;
  return table;
}();

class Syntax {
 public:
  explicit Syntax(std::string_view text) : text_(text) {}

  bool document() {
    skipSpace();
    if (!value(0)) return false;
    skipSpace();
    return at_ == text_.size() || misses("the end");
  }

  /// What was missed first; meaningful when there is no document.
  JSONMistake mistake() const { return {at_, missed_}; }

 private:
  bool misses(std::string_view what) {
    if (missed_.empty()) missed_ = what;
    return false;
  }
  /// The character here; NUL, which begins nothing, at the end.
  char here() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool take(char character) {
    const bool isHere = at_ < text_.size() && text_[at_] == character;
    if (isHere) ++at_;
    return isHere;
  }
  void skipSpace() {
    while (at_ < text_.size() &&
           (text_[at_] == ' ' || text_[at_] == '\n' || text_[at_] == '\t' || text_[at_] == '\r')) {
      ++at_;
    }
  }

  bool value(std::size_t depth) {
    switch (here()) {
      case '{':
        return container(depth, '}');
      case '[':
        return container(depth, ']');
      case '"':
        return string();
      case 't':
        return word("true");
      case 'f':
        return word("false");
      case 'n':
        return word("null");
      default:
        return number();
    }
  }

  bool container(std::size_t depth, char end) {
    if (depth == kMaximumJSONDepth) return misses("less nesting");
    ++at_;
    skipSpace();
    if (take(end)) return true;
    for (;;) {
      if (end == '}' && !name()) return false;
      if (!value(depth + 1)) return false;
      skipSpace();
      if (take(end)) return true;
      if (!take(',')) return misses(end == '}' ? "',' or '}'" : "',' or ']'");
      skipSpace();
    }
  }

  bool name() {
    if (here() != '"') return misses("a name in quotes");
    if (!string()) return false;
    skipSpace();
    if (!take(':')) return misses("':'");
    skipSpace();
    return true;
  }

  bool word(std::string_view word) {
    if (!text_.substr(at_).starts_with(word)) return misses("a value");
    at_ += word.size();
    return true;
  }

  bool string() {
    ++at_;
    for (;;) {
      while (at_ < text_.size() && kIsPlain[static_cast<unsigned char>(text_[at_])])
        ++at_;
      if (take('"')) return true;
      if (at_ == text_.size()) return misses("'\"'");
      if (static_cast<unsigned char>(text_[at_]) < 0x20) return misses("a character or its escape");
      if (!(here() == '\\' ? escapedCharacter(text_, at_) : nextCharacter(text_, at_))) {
        return misses("a character or its escape");
      }
    }
  }

  bool number() {
    const std::size_t start = at_;
    take('-');
    if (!take('0') && !digits()) return misses(at_ == start ? "a value" : "a digit");
    if (take('.') && !digits()) return misses("a digit");
    bool hasExponent = take('e') || take('E');
    if (hasExponent && !((take('+') || take('-') || true) && digits())) return misses("a digit");
    // No number of so few digits is beyond a double's range.
    constexpr std::size_t kShort = 300;
    return (!hasExponent && at_ - start < kShort) ||
           jsonNumber(text_.substr(start, at_ - start)).has_value() || misses("a smaller number");
  }

  /// At least one.
  bool digits() {
    const std::size_t start = at_;
    while (here() >= '0' && here() <= '9')
      ++at_;
    return at_ != start;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::string_view missed_;
};

/// The number in the four hexadecimal digits behind `\u`; moves `at` behind them.
std::optional<char32_t> codeUnit(std::string_view text, std::size_t& at) {
  constexpr std::size_t kDigits = 4;
  const std::string_view digits = text.substr(std::min(at + 2, text.size())).substr(0, kDigits);
  std::uint16_t unit = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16);
  if (digits.size() != kDigits || result.ptr != digits.data() + kDigits) return std::nullopt;
  at += 2 + kDigits;
  return unit;
}

constexpr char32_t kFirstHighSurrogate = 0xd800;
constexpr char32_t kFirstLowSurrogate = 0xdc00;
constexpr char32_t kBehindSurrogates = 0xe000;

std::optional<char32_t> unicodeEscape(std::string_view text, std::size_t& at) {
  const auto first = codeUnit(text, at);
  if (!first || *first < kFirstHighSurrogate || *first >= kBehindSurrogates) return first;
  if (*first >= kFirstLowSurrogate || !text.substr(at).starts_with("\\u")) return std::nullopt;
  const auto second = codeUnit(text, at);
  if (!second || *second < kFirstLowSurrogate || *second >= kBehindSurrogates) return std::nullopt;
  return 0x10000 + ((*first - kFirstHighSurrogate) << 10) + (*second - kFirstLowSurrogate);
}

}  // namespace

bool isJSON(std::string_view text) {
  return Syntax(text).document();
}

std::optional<JSONMistake> jsonMistake(std::string_view text) {
  Syntax syntax(text);
  return syntax.document() ? std::nullopt : std::optional(syntax.mistake());
}

std::optional<char32_t> escapedCharacter(std::string_view text, std::size_t& at) {
  constexpr std::string_view kNames = "\"\\/bfnrt";
  constexpr std::string_view kCharacters = "\"\\/\b\f\n\r\t";
  if (at + 1 >= text.size()) return std::nullopt;
  if (text[at + 1] == 'u') return unicodeEscape(text, at);
  const std::size_t known = kNames.find(text[at + 1]);
  if (known == std::string_view::npos) return std::nullopt;
  at += 2;
  return static_cast<char32_t>(kCharacters[known]);
}

}  // namespace velto
