// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <unicode/messagepattern.h>

#include "alerts/texts/ReaderText.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// What is wrong with a message pattern.
struct PatternProblem {
  std::size_t position = 0;  ///< of the character, from 1 on
  std::string reason;        ///< in a phrase
};

/// A text in the syntax of ICU's MessageFormat over named attributes: "{name}", numbers and dates
/// with a style, plural forms (also of ordinal numbers) and selections. Constant once it is made;
/// any thread.
///
/// An attribute of another kind than its place asks for never spoils the text: it stands there as
/// "{name}" would have it, or chooses the form "other". A selection sees a boolean as "true" or
/// "false" and a whole number by its digits.
class MessageTemplate {
 public:
  static constexpr std::size_t kMaximumSize = std::size_t{64} * 1024;  ///< bytes
  static constexpr int kMaximumArguments = 1000;  ///< those in the forms of others included
  static constexpr int kMaximumStyled = 100;      ///< those with a format: ICU takes a while
  static constexpr int kMaximumDepth = 32;        ///< of forms within forms

  /// Nothing, with what is wrong, when it cannot be understood or is too large.
  static std::optional<MessageTemplate> parse(std::string_view pattern, PatternProblem& problem);

  std::string text(const PropertyList::Dictionary& attributes, const ReaderFormats& formats) const;
  /// The names in it, in their order, as often as they stand there.
  std::vector<std::string> attributeNames() const;
  /// Those that leave a hole when the attribute is missing: not those that choose a form, or stand
  /// within one.
  std::vector<std::string> neededNames() const;

 private:
  explicit MessageTemplate(icu::MessagePattern pattern) : pattern_(std::move(pattern)) {}

  icu::MessagePattern pattern_;
};

}  // namespace velto
