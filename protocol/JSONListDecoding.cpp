// SPDX-License-Identifier: Apache-2.0
// Lists are what calls are long with. Room is made for the elements that are kept, once, and what
// is not kept costs nothing but a look.

#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

#include "protocol/JSONCoding.h"

namespace velto {
namespace {

using Kind = JSONCursor::Kind;

/// What a record takes in the store's handle, and its place in the list of what is to be written.
constexpr std::size_t kRecord = 600;

/// What an element costs beside its strings, and beside the record that becomes of it.
template <typename T>
constexpr std::size_t kElement = sizeof(T) + kRecord;
/// Identifiers to look for.
template <>
constexpr std::size_t kElement<std::string> = sizeof(std::string);

bool isPassedOver(Kind kind, const ArgumentClasses* classes) {
  return kind == Kind::kArray && classes != nullptr && classes->contains(kArrayClass);
}

template <typename T>
bool isKept(Kind kind, const ArgumentClasses* classes) {
  return !isPassedOver(kind, classes) &&
         (!std::is_same_v<T, std::optional<PushRecipient>> || kind == Kind::kObject);
}

template <typename T>
WrongPath decodeElement(JSONSource& source, const ArgumentClasses* classes, T& element) {
  return decode(source, classes, element);
}

template <typename T>
WrongPath decodeElement(JSONSource& source, const ArgumentClasses* classes,
                        std::optional<T>& element) {
  return decode(source, classes, element.emplace());
}

/// Looks at an element's shape alone.
template <typename T>
WrongPath checkElement(JSONSource& source, const ArgumentClasses* classes) {
  const std::size_t left = source.budget.left();
  T element;
  WrongPath wrong = decodeElement(source, classes, element);
  source.budget.giveBackTo(left);
  return wrong;
}

/// Goes through an array and reads the elements that are kept with `read`.
template <typename T, typename Read>
WrongPath decodeElements(JSONSource& source, const ArgumentClasses* classes, const Read& read) {
  JSONCursor& cursor = source.cursor;
  if (cursor.kind() != Kind::kArray) return wrongValue(source);
  cursor.enter();
  for (std::size_t index = 0; cursor.nextElement(); ++index) {
    WrongPath wrong;
    if (isKept<T>(cursor.kind(), classes)) {
      wrong = read(source, classes);
    } else if (isPassedOver(cursor.kind(), classes)) {
      wrong = decodeElements<T>(source, classes, checkElement<T>);
    } else {
      cursor.skip();
    }
    if (wrong) {
      cursor.leave();
      return pathWithin(index, *wrong);
    }
  }
  return std::nullopt;
}

/// How many elements of the array, if it is one, are kept.
template <typename T>
std::size_t countKept(const JSONSource& source, const ArgumentClasses* classes) {
  std::size_t count = 0;
  JSONCursor cursor(source.cursor.text(), source.cursor.position());
  if (cursor.kind() != Kind::kArray) return count;
  cursor.enter();
  for (; cursor.nextElement(); cursor.skip()) {
    count += isKept<T>(cursor.kind(), classes) ? 1U : 0U;
  }
  return count;
}

template <typename T>
WrongPath decodeList(JSONSource& source, const ArgumentClasses* classes, std::vector<T>& values) {
  const std::size_t count = countKept<T>(source, classes);
  if (!source.budget.take(count * kElement<T>)) return wrongValue(source);
  values.reserve(count);
  return decodeElements<T>(source, classes, [&](JSONSource& from, const ArgumentClasses* of) {
    return decodeElement(from, of, values.emplace_back());
  });
}

/// The alerts of an array: those at its beginning as they were decoded when it was checked, and
/// then the others, read from the text once more, a few at a time.
class AlertReader {
 public:
  /// Of so much text the alerts are kept, which are all of them in most calls.
  static constexpr std::size_t kKeptText = std::size_t{64} * 1024;

  AlertReader(const JSONSource& array, const ArgumentClasses* classes)
      : text_(array.cursor.text()),
        start_(array.cursor.position()),
        rest_(start_ + 1),
        classes_(classes) {}

  /// Checks the next alert.
  WrongPath check(JSONSource& source) {
    const std::size_t start = source.cursor.position();
    const std::size_t left = source.budget.left();
    VLAlert alert;
    WrongPath wrong = decode(source, classes_, alert);
    source.budget.giveBackTo(left);
    const std::size_t end = source.cursor.position();
    // What becomes of it is a record, with texts and encoded attributes about as long as its text.
    if (!source.budget.take(kRecord + end - start) && !wrong) return std::string();
    if (end - start_ <= kKeptText) {
      first_.push_back(std::move(alert));
      rest_ = end;
    }
    return wrong;
  }

  /// The alerts of the array, which has been checked.
  std::vector<VLAlert> nextFew() {
    if (!first_.empty()) return std::exchange(first_, {});
    constexpr std::size_t kFew = 16;
    std::vector<VLAlert> alerts;
    JSONSource source{JSONCursor(text_, rest_),
                      MemoryBudget(std::numeric_limits<std::size_t>::max())};
    while (alerts.size() < kFew && source.cursor.nextElement()) {
      if (isPassedOver(source.cursor.kind(), classes_)) {
        source.cursor.skip();
      } else {
        decode(source, classes_, alerts.emplace_back());
      }
      rest_ = source.cursor.position();
    }
    return alerts;
  }

 private:
  const std::string_view text_;
  const std::size_t start_;
  std::size_t rest_;  ///< behind the last one that was kept or read
  const ArgumentClasses* const classes_;
  std::vector<VLAlert> first_;
};

}  // namespace

WrongPath decode(JSONSource& source, const ArgumentClasses* classes, AlertSequence& value) {
  const auto reader = std::make_shared<AlertReader>(source, classes);
  WrongPath wrong = decodeElements<VLAlert>(
      source, classes,
      [&](JSONSource& from, const ArgumentClasses*) { return reader->check(from); });
  if (!wrong) value = AlertSequence([reader](ErrorSlot) { return reader->nextFew(); });
  return wrong;
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<std::string>& values) {
  return decodeList(source, classes, values);
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<MailRecipient>& values) {
  return decodeList(source, classes, values);
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<MailRecipientOrAddress>& values) {
  return decodeList(source, classes, values);
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<PushRecipient>& values) {
  return decodeList(source, classes, values);
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<std::optional<PushRecipient>>& values) {
  return decodeList(source, classes, values);
}

}  // namespace velto
