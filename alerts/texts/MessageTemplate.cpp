// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/MessageTemplate.h"

#include <algorithm>
#include <vector>

#include <unicode/parseerr.h>
#include <unicode/unistr.h>

#include "alerts/texts/MessageArgument.h"
#include "alerts/texts/MessageStyles.h"
#include "alerts/texts/ReaderFormats.h"

namespace velto {
namespace {

/// ICU's parser calls itself for each, and a stack has an end. An argument has up to seven.
constexpr std::ptrdiff_t kMaximumBraces = 4000;

/// Of the character at an offset in ICU's text, as people count.
std::size_t positionOf(const icu::UnicodeString& text, std::int32_t offset) {
  return static_cast<std::size_t>(text.countChar32(0, std::max(offset, 0))) + 1;
}

/// The offset behind what is quoted from an apostrophe on. Only one before a brace quotes anything.
std::int32_t endOfQuotation(const icu::UnicodeString& text, std::int32_t apostrophe) {
  const char16_t next = text.charAt(apostrophe + 1);
  if (next == u'\'') return apostrophe + 2;
  if (next != u'{' && next != u'}') return apostrophe + 1;
  const std::int32_t end = text.indexOf(u'\'', apostrophe + 2);
  return end < 0 ? text.length() : end + 1;
}

/// The offset of the last brace that nothing closes, which ICU does not tell; -1 without one.
std::int32_t unclosedBrace(const icu::UnicodeString& text) {
  std::vector<std::int32_t> open;
  for (std::int32_t offset = 0; offset < text.length();) {
    const char16_t character = text.charAt(offset);
    if (character == u'{') open.push_back(offset);
    if (character == u'}' && !open.empty()) open.pop_back();
    offset = character == u'\'' ? endOfQuotation(text, offset) : offset + 1;
  }
  return open.empty() ? -1 : open.back();
}

std::string reasonOf(UErrorCode status) {
  switch (status) {
    case U_UNMATCHED_BRACES:
      return "a brace without its other one";
    case U_DEFAULT_KEYWORD_MISSING:
      return "the form \"other\" is missing";
    default:
      return "not in the syntax of a message";
  }
}

/// Whether an argument's style says something to ICU. What a style does may depend on the locale,
/// but hardly whether it is one.
bool isStyleKnown(const MessageArgument& argument) {
  const icu::Locale& anywhere = icu::Locale::getRoot();
  if (argument.format == u"number") return numberStyle(argument.style, anywhere).has_value();
  const auto parts = datePartsNamed(argument.format);
  return parts && dateStyle(*parts, argument.style, anywhere) != nullptr;
}

/// Looks at one argument after the other.
class Inspection {
 public:
  explicit Inspection(const icu::MessagePattern& pattern) : pattern_(pattern) {}

  std::optional<PatternProblem> problem() {
    for (std::int32_t index = 0; index < pattern_.countParts(); ++index) {
      if (auto found = problemOfPart(index)) return found;
    }
    return std::nullopt;
  }

 private:
  std::optional<PatternProblem> problemOfPart(std::int32_t index) {
    const auto& part = pattern_.getPart(index);
    if (part.getType() == UMSGPAT_PART_TYPE_MSG_START &&
        part.getValue() > MessageTemplate::kMaximumDepth) {
      return problemAt(index, "too many forms within each other");
    }
    if (part.getType() != UMSGPAT_PART_TYPE_ARG_START) return std::nullopt;
    if (++arguments_ > MessageTemplate::kMaximumArguments) {
      return problemAt(
          index, "more than " + std::to_string(MessageTemplate::kMaximumArguments) + " arguments");
    }
    if (part.getArgType() == UMSGPAT_ARG_TYPE_CHOICE) {
      return problemAt(index, "\"choice\" is not supported; use \"plural\" or \"select\"");
    }
    return part.getArgType() == UMSGPAT_ARG_TYPE_SIMPLE ? problemOfStyle(index) : std::nullopt;
  }

  std::optional<PatternProblem> problemOfStyle(std::int32_t index) {
    if (++styled_ > MessageTemplate::kMaximumStyled) {
      return problemAt(index, "more than " + std::to_string(MessageTemplate::kMaximumStyled) +
                                  " arguments with a format");
    }
    const auto argument = argumentOf(pattern_, index);
    return isStyleKnown(argument)
               ? std::nullopt
               : problemAt(index, "an unknown format or style of \"" + argument.name + "\"");
  }

  std::optional<PatternProblem> problemAt(std::int32_t part, const std::string& reason) const {
    return PatternProblem{
        positionOf(pattern_.getPatternString(), pattern_.getPart(part).getIndex()), reason};
  }

  const icu::MessagePattern& pattern_;
  int arguments_ = 0;
  int styled_ = 0;
};

}  // namespace

std::optional<MessageTemplate> MessageTemplate::parse(std::string_view pattern,
                                                      PatternProblem& problem) {
  if (pattern.size() > kMaximumSize ||
      std::count(pattern.begin(), pattern.end(), '{') > kMaximumBraces) {
    problem = {1, "too long, or too many braces"};
    return std::nullopt;
  }
  const auto text =
      icu::UnicodeString::fromUTF8({pattern.data(), static_cast<std::int32_t>(pattern.size())});
  UParseError where{};
  UErrorCode status = U_ZERO_ERROR;
  icu::MessagePattern parsed(text, &where, status);
  throwIfOutOfMemory(status);
  if (U_FAILURE(status)) {
    const std::int32_t brace = unclosedBrace(text);
    problem = {positionOf(text, brace < 0 ? where.offset : brace), reasonOf(status)};
    return std::nullopt;
  }
  if (const auto found = Inspection(parsed).problem()) {
    problem = *found;
    return std::nullopt;
  }
  return MessageTemplate(std::move(parsed));
}

std::vector<std::string> MessageTemplate::attributeNames() const {
  std::vector<std::string> names;
  for (std::int32_t index = 0; index < pattern_.countParts(); ++index) {
    if (pattern_.getPartType(index) == UMSGPAT_PART_TYPE_ARG_START) {
      names.push_back(argumentOf(pattern_, index).name);
    }
  }
  return names;
}

std::vector<std::string> MessageTemplate::neededNames() const {
  std::vector<std::string> names;
  for (std::int32_t index = 0; index < pattern_.countParts(); ++index) {
    const auto& part = pattern_.getPart(index);
    if (part.getType() != UMSGPAT_PART_TYPE_ARG_START) continue;
    const bool isChoice = UMSGPAT_ARG_TYPE_HAS_PLURAL_STYLE(part.getArgType()) ||
                          part.getArgType() == UMSGPAT_ARG_TYPE_SELECT;
    if (!isChoice) names.push_back(argumentOf(pattern_, index).name);
    index = pattern_.getLimitPartIndex(index);
  }
  return names;
}

}  // namespace velto
