// SPDX-License-Identifier: Apache-2.0
// The format language of predicates.

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "platform/foundation/ProgramMistake.h"
#include "platform/persistence/Predicate.h"

namespace velto {

namespace {

using Operator = Predicate::Operator;

/// Longer spellings stand before those they begin with.
constexpr std::array<std::pair<std::string_view, Operator>, 6> kOperators{{
    {"!=", Operator::kNotEqual},
    {"<=", Operator::kLessOrEqual},
    {">=", Operator::kGreaterOrEqual},
    {"=", Operator::kEqual},
    {"<", Operator::kLess},
    {">", Operator::kGreater},
}};

bool isWordCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

/// Reads one format from left to right by recursive descent. One thread, one parse.
class PredicateParser {
 public:
  PredicateParser(std::string_view format, std::initializer_list<PredicateArgument> arguments)
      : format_(format), arguments_(arguments), nextArgument_(arguments_.begin()) {}

  Predicate::Condition parse() {
    Predicate::Condition condition = parseAny();
    if (!rest().empty()) {
      fail("expected the end");
    }
    if (nextArgument_ != arguments_.end()) {
      fail("more arguments than %@");
    }
    return condition;
  }

 private:
  Predicate::Condition parseAny() {
    return parseJoined("OR", Predicate::Connective::kOr, &PredicateParser::parseAll);
  }
  Predicate::Condition parseAll() {
    return parseJoined("AND", Predicate::Connective::kAnd, &PredicateParser::parseOne);
  }

  Predicate::Condition parseJoined(std::string_view word, Predicate::Connective connective,
                                   Predicate::Condition (PredicateParser::*parsePart)()) {
    Predicate::Condition first = (this->*parsePart)();
    if (!skipWord(word)) {
      return first;
    }
    Predicate::Compound compound{connective, {}};
    compound.parts.push_back(std::move(first));
    do {
      compound.parts.push_back((this->*parsePart)());
    } while (skipWord(word));
    return compound;
  }

  Predicate::Condition parseOne() {
    if (!skip("(")) {
      return parseComparison();
    }
    Predicate::Condition condition = parseAny();
    if (!skip(")")) {
      fail("expected )");
    }
    return condition;
  }

  Predicate::Comparison parseComparison() {
    std::string key(word());
    if (key.empty()) {
      fail("expected a key");
    }
    position_ += key.size();
    const Operator comparison = parseOperator();
    return {std::move(key), comparison, comparison == Operator::kIn ? parseList() : parseOperand()};
  }

  Operator parseOperator() {
    if (skipWord("IN")) {
      return Operator::kIn;
    }
    const auto found = std::find_if(kOperators.begin(), kOperators.end(),
                                    [&](const auto& known) { return skip(known.first); });
    if (found == kOperators.end()) {
      fail("expected an operator");
    }
    return found->second;
  }

  Predicate::Operand parseList() {
    const auto* list = std::get_if<std::vector<std::string>>(&parseArgument());
    if (list == nullptr) {
      fail("the argument is not a list");
    }
    std::vector<std::string> sorted = *list;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    return sorted;
  }

  Predicate::Operand parseOperand() {
    if (skipWord("nil")) {
      return {};  // absent
    }
    if (const auto integer = parseInteger()) {
      return *integer;
    }
    const auto* value = std::get_if<AttributeValue>(&parseArgument());
    if (value == nullptr) {
      fail("a list only goes with IN");
    }
    return *value;
  }

  std::optional<std::int64_t> parseInteger() {
    const std::string_view text = rest();
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) {
      return std::nullopt;
    }
    position_ += static_cast<std::size_t>(end - text.data());
    return value;
  }

  const PredicateArgument& parseArgument() {
    if (!skip("%@")) {
      fail("expected an operand");
    }
    if (nextArgument_ == arguments_.end()) {
      fail("no argument is left");
    }
    return *nextArgument_++;
  }

  /// What is left, less the white space before it.
  std::string_view rest() {
    position_ = std::min(format_.find_first_not_of(" \t\n", position_), format_.size());
    return format_.substr(position_);
  }

  std::string_view word() {
    const std::string_view text = rest();
    const auto end = std::find_if_not(text.begin(), text.end(), isWordCharacter);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
  }

  bool skip(std::string_view text) {
    const bool found = rest().starts_with(text);
    position_ += found ? text.size() : 0;
    return found;
  }

  bool skipWord(std::string_view text) { return word() == text && skip(text); }

  [[noreturn]] void fail(std::string_view what) const {
    programMistake("predicate \"" + std::string(format_) + "\", character " +
                   std::to_string(position_) + ": " + std::string(what));
  }

  const std::string_view format_;
  const std::initializer_list<PredicateArgument> arguments_;
  const PredicateArgument* nextArgument_;
  std::size_t position_ = 0;
};

}  // namespace

Predicate Predicate::withFormat(std::string_view format,
                                std::initializer_list<PredicateArgument> arguments) {
  return Predicate(PredicateParser(format, arguments).parse());
}

}  // namespace velto
