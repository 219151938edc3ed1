// SPDX-License-Identifier: Apache-2.0
// The text of a message pattern for one alert: the parts that ICU has found in it are gone through
// from the first to the last, and of every plural or selection one form only.

#include <cstdint>
#include <optional>

#include <unicode/messagepattern.h>

#include "alerts/texts/MessageArgument.h"
#include "alerts/texts/MessageStyles.h"
#include "alerts/texts/MessageTemplate.h"
#include "alerts/texts/ReaderFormats.h"

namespace velto {
namespace {

std::optional<double> numberOf(const PropertyList* value) {
  if (value == nullptr) return std::nullopt;
  if (value->integer() != nullptr) return static_cast<double>(*value->integer());
  if (value->unsignedInteger() != nullptr) return static_cast<double>(*value->unsignedInteger());
  return value->real() != nullptr ? std::optional(*value->real()) : std::nullopt;
}

/// What a selection compares with the names of its forms.
std::string keywordOf(const PropertyList* value) {
  if (value == nullptr) return {};
  if (value->string() != nullptr) return *value->string();
  if (value->boolean() != nullptr) return *value->boolean() ? "true" : "false";
  if (value->integer() != nullptr) return std::to_string(*value->integer());
  if (value->unsignedInteger() != nullptr) return std::to_string(*value->unsignedInteger());
  return {};
}

class MessageWriter {
 public:
  MessageWriter(const icu::MessagePattern& pattern, const PropertyList::Dictionary& attributes,
                const ReaderFormats& formats)
      : pattern_(pattern), attributes_(attributes), text_(formats) {}

  /// Writes the message that starts with a part. `counted` is what "#" stands for in it.
  void writeMessage(std::int32_t start, const PropertyList* counted) {
    std::int32_t written = pattern_.getPart(start).getLimit();
    for (std::int32_t index = start + 1; !text_.isFull(); ++index) {
      const auto& part = pattern_.getPart(index);
      append(pattern_.getPatternString().tempSubStringBetween(written, part.getIndex()));
      if (part.getType() == UMSGPAT_PART_TYPE_MSG_LIMIT) return;
      if (part.getType() == UMSGPAT_PART_TYPE_REPLACE_NUMBER && counted != nullptr) {
        text_.appendValue(*counted);
      }
      if (part.getType() == UMSGPAT_PART_TYPE_ARG_START) {
        writeArgument(index);
        index = pattern_.getLimitPartIndex(index);
      }
      written = pattern_.getPart(index).getLimit();
    }
  }

  std::string take() { return text_.take(); }

 private:
  void append(const icu::UnicodeString& text) {
    std::string utf8;
    text.toUTF8String(utf8);
    text_.append(utf8);
  }

  void writeArgument(std::int32_t start) {
    const MessageArgument argument = argumentOf(pattern_, start);
    const PropertyList* value = valueForKey(attributes_, argument.name);
    switch (pattern_.getPart(start).getArgType()) {
      case UMSGPAT_ARG_TYPE_PLURAL:
        return writePlural(start, value, UPLURAL_TYPE_CARDINAL);
      case UMSGPAT_ARG_TYPE_SELECTORDINAL:
        return writePlural(start, value, UPLURAL_TYPE_ORDINAL);
      case UMSGPAT_ARG_TYPE_SELECT:
        return writeMessage(formNamed(start, keywordOf(value)), nullptr);
      default:
        if (value != nullptr) writeStyled(argument, *value);
    }
  }

  void writeStyled(const MessageArgument& argument, const PropertyList& value) {
    const icu::Locale& locale = text_.formats().locale();
    const auto parts = datePartsNamed(argument.format);
    if (argument.format == u"number" && numberOf(&value)) {
      if (const auto style = numberStyle(argument.style, locale)) {
        return text_.append(ReaderFormats::number(*style, value));
      }
    } else if (parts && value.date() != nullptr && hasCalendarYear(*value.date())) {
      if (const auto style = dateStyle(*parts, argument.style, locale)) {
        icu::UnicodeString date;
        return append(style->format(value.date()->unixSeconds() * 1000, date));
      }
    }
    text_.appendValue(value);
  }

  void writePlural(std::int32_t start, const PropertyList* value, UPluralType type) {
    const auto number = numberOf(value);
    if (!number) return writeMessage(formNamed(start, "other"), value);
    const double offset = pattern_.getPluralOffset(start + 2);
    const PropertyList counted = offset == 0 ? *value : PropertyList(*number - offset);
    const auto exact = formOfExactly(start, *number);
    writeMessage(
        exact ? *exact : formNamed(start, text_.formats().pluralForm(*number - offset, type)),
        &counted);
  }

  /// A form of a plural or a selection.
  struct Form {
    std::int32_t name;     ///< the part that is its name
    std::int32_t message;  ///< the part with which its message starts
    bool isExact;          ///< "=2"
  };

  /// The form whose name is that part; nothing behind the last one.
  std::optional<Form> formAt(std::int32_t name) const {
    if (pattern_.getPartType(name) != UMSGPAT_PART_TYPE_ARG_SELECTOR) return std::nullopt;
    const bool isExact = icu::MessagePattern::Part::hasNumericValue(pattern_.getPartType(name + 1));
    return Form{name, name + (isExact ? 2 : 1), isExact};
  }
  /// Of the argument that starts there; an offset may stand before it.
  std::optional<Form> firstForm(std::int32_t start) const {
    const auto type = pattern_.getPartType(start + 2);
    return formAt(start + (icu::MessagePattern::Part::hasNumericValue(type) ? 3 : 2));
  }
  std::optional<Form> next(const Form& form) const {
    return formAt(pattern_.getLimitPartIndex(form.message) + 1);
  }

  /// The message of the form of this name, or of "other", which there always is.
  std::int32_t formNamed(std::int32_t start, const std::string& name) const {
    const auto wanted = icu::UnicodeString::fromUTF8(name);
    std::int32_t message = start;
    for (auto form = firstForm(start); form; form = next(*form)) {
      const auto& part = pattern_.getPart(form->name);
      if (form->isExact) continue;
      if (pattern_.partSubstringMatches(part, wanted)) return form->message;
      if (pattern_.partSubstringMatches(part, u"other")) message = form->message;
    }
    return message;
  }

  std::optional<std::int32_t> formOfExactly(std::int32_t start, double number) const {
    for (auto form = firstForm(start); form; form = next(*form)) {
      if (form->isExact && pattern_.getNumericValue(pattern_.getPart(form->name + 1)) == number) {
        return form->message;
      }
    }
    return std::nullopt;
  }

  const icu::MessagePattern& pattern_;
  const PropertyList::Dictionary& attributes_;
  ReaderText text_;
};

}  // namespace

std::string MessageTemplate::text(const PropertyList::Dictionary& attributes,
                                  const ReaderFormats& formats) const {
  MessageWriter writer(pattern_, attributes, formats);
  writer.writeMessage(0, nullptr);
  return writer.take();
}

}  // namespace velto
