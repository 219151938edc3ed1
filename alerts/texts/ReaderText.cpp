// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/ReaderText.h"

#include <utility>

#include "platform/foundation/Hexadecimal.h"

namespace velto {
namespace {

constexpr std::string_view kLeftOut = "…";

/// Of the character at `offset`, so that none is cut in two.
std::size_t startOfCharacter(std::string_view utf8, std::size_t offset) {
  while (offset > 0 && (static_cast<unsigned char>(utf8[offset]) & 0xc0U) == 0x80U)
    --offset;
  return offset;
}

}  // namespace

/// Appends one value of each kind.
struct ReaderText::Writer {
  ReaderText& text;

  void operator()(std::monostate) const {}
  void operator()(const std::string& value) const { text.append(value); }
  void operator()(std::int64_t value) const { text.append(text.formats_.number(value)); }
  void operator()(std::uint64_t value) const { text.append(text.formats_.number(value)); }
  void operator()(double value) const { text.append(text.formats_.number(value)); }
  void operator()(bool value) const { text.append(text.formats_.yesOrNo(value)); }
  void operator()(Date value) const { text.append(text.formats_.date(value)); }
  void operator()(const Data& value) const { text.append(hexadecimal(value)); }
  void operator()(const PropertyList::Array& value) const { text.appendElements(value); }
  void operator()(const PropertyList::Dictionary& value) const { text.appendEntries(value); }
};

void ReaderText::append(std::string_view utf8) {
  if (isFull_) return;
  const std::size_t room = kMaximumSize - text_.size();
  isFull_ = utf8.size() > room;
  text_.append(isFull_ ? utf8.substr(0, startOfCharacter(utf8, room)) : utf8);
  if (isFull_) text_ += kLeftOut;
}

void ReaderText::appendValue(const PropertyList& value) {
  if (isFull_) return;
  if (++values_ > kMaximumValues) {
    text_ += kLeftOut;
    isFull_ = true;
    return;
  }
  value.visit(Writer{*this});
}

/// What the element adds, taken off again, since a list wants to see all of its elements.
std::string ReaderText::elementText(const PropertyList& element) {
  const std::size_t start = text_.size();
  appendValue(element);
  std::string added = text_.substr(start);
  text_.resize(start);
  return added;
}

void ReaderText::appendElements(const PropertyList::Array& elements) {
  std::vector<std::string> texts;
  for (const PropertyList& element : elements) {
    if (isFull_) break;
    texts.push_back(elementText(element));
  }
  appendList(texts);
}

void ReaderText::appendEntries(const PropertyList::Dictionary& entries) {
  std::vector<std::string> texts;
  for (const auto& [key, value] : entries) {
    if (isFull_) break;
    texts.push_back(key + ": " + elementText(value));
  }
  appendList(texts);
}

void ReaderText::appendList(const std::vector<std::string>& texts) {
  const bool isCut = std::exchange(isFull_, false);
  append(formats_.list(texts));
  isFull_ = isFull_ || isCut;
}

std::string ReaderText::take() {
  return std::move(text_);
}

namespace {

/// Gives the pieces of a pattern, one after the other, to `literal` or `named`, as long as both say
/// true.
template <typename Literal, typename Named>
void forEachPiece(std::string_view pattern, const Literal& literal, const Named& named) {
  bool mayClose = true;  // so that many that are not closed are not looked for again and again
  for (std::size_t percent; (percent = pattern.find('%')) != std::string_view::npos;) {
    if (!literal(pattern.substr(0, percent))) return;
    pattern.remove_prefix(percent + 1);
    const bool isOpen = mayClose && pattern.starts_with('{');
    const std::size_t end = isOpen ? pattern.find('}') : std::string_view::npos;
    mayClose = mayClose && (!isOpen || end != std::string_view::npos);
    if (end != std::string_view::npos) {
      if (!named(pattern.substr(1, end - 1))) return;
      pattern.remove_prefix(end + 1);
    } else {
      if (!literal("%")) return;
      pattern.remove_prefix(pattern.starts_with('%') ? 1 : 0);
    }
  }
  literal(pattern);
}

}  // namespace

std::string expandedText(std::string_view pattern, const PropertyList::Dictionary& attributes,
                         const ReaderFormats& formats) {
  ReaderText text(formats);
  const auto literal = [&text](std::string_view piece) {
    text.append(piece);
    return !text.isFull();
  };
  forEachPiece(pattern, literal, [&](std::string_view name) {
    if (const PropertyList* value = valueForKey(attributes, name)) text.appendValue(*value);
    return !text.isFull();
  });
  return text.take();
}

std::optional<std::size_t> unendedName(std::string_view pattern) {
  for (std::size_t at = 0; (at = pattern.find('%', at)) != std::string_view::npos; ++at) {
    const std::string_view rest = pattern.substr(at + 1);
    if (rest.starts_with('%')) {
      ++at;
    } else if (rest.starts_with('{')) {
      const std::size_t end = pattern.find('}', at);
      if (end == std::string_view::npos) return at;
      at = end;
    }
  }
  return std::nullopt;
}

std::vector<std::string> attributesNamedIn(std::string_view pattern) {
  std::vector<std::string> names;
  forEachPiece(
      pattern, [](std::string_view) { return true; },
      [&names](std::string_view name) {
        names.emplace_back(name);
        return true;
      });
  return names;
}

}  // namespace velto
