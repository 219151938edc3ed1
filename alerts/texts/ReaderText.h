// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/texts/ReaderFormats.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// A text for the readers of a locale, in UTF-8, that grows up to a limit: a short pattern can name
/// a long attribute ten thousand times. What would go beyond is left out, and "…" says so. One
/// thread at a time.
class ReaderText {
 public:
  /// Bytes. Nobody reads more in a mail.
  static constexpr std::size_t kMaximumSize = std::size_t{1} << 20;
  /// Values that are put in, those within others included.
  static constexpr std::size_t kMaximumValues = 10000;

  /// `formats` outlives it.
  explicit ReaderText(const ReaderFormats& formats) : formats_(formats) {}

  void append(std::string_view utf8);
  /// A value as the locale's readers write it: strings as they are, numbers, dates, yes and no, and
  /// lists as ReaderFormats has them, "key: value" for each entry of a dictionary, and data in
  /// hexadecimal. Nothing for an absent value.
  void appendValue(const PropertyList& value);

  /// Whether something has been left out: more is of no use.
  bool isFull() const { return isFull_; }
  const ReaderFormats& formats() const { return formats_; }
  std::string take();

 private:
  struct Writer;
  std::string elementText(const PropertyList& element);
  void appendElements(const PropertyList::Array& elements);
  void appendEntries(const PropertyList::Dictionary& entries);
  void appendList(const std::vector<std::string>& texts);

  const ReaderFormats& formats_;
  std::string text_;
  std::size_t values_ = 0;
  bool isFull_ = false;
};

/// The pattern with the attribute `name` for "%{name}", nothing for an attribute that is missing,
/// and "%" for "%%". Any other "%" stands for itself. What is put in is not looked at again. Any
/// thread.
std::string expandedText(std::string_view pattern, const PropertyList::Dictionary& attributes,
                         const ReaderFormats& formats);

/// The names in such a pattern, in their order, as often as they stand there. Any thread.
std::vector<std::string> attributesNamedIn(std::string_view pattern);

/// The offset of the first "%{" that nothing ends, which stands for itself. Any thread.
std::optional<std::size_t> unendedName(std::string_view pattern);

}  // namespace velto
