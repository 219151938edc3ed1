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

/// An alert that is not kept itself, but as a record, whose texts and encoded attributes are about
/// as long as the alert's text.
WrongPath checkAlert(JSONSource& source, const ArgumentClasses* classes) {
  const std::size_t start = source.cursor.position();
  WrongPath wrong = checkElement<VLAlert>(source, classes);
  const bool isTooMuch = !source.budget.take(kRecord + source.cursor.position() - start);
  return isTooMuch && !wrong ? WrongPath("") : wrong;
}

/// Reads the alerts of an array that has been checked, a few at a time.
class AlertReader {
 public:
  AlertReader(const JSONCursor& array, const ArgumentClasses* classes)
      : source_{JSONCursor(array.text(), array.position()),
                MemoryBudget(std::numeric_limits<std::size_t>::max())},
        classes_(classes) {
    source_.cursor.enter();
  }

  std::vector<VLAlert> nextFew() {
    constexpr std::size_t kFew = 16;
    std::vector<VLAlert> alerts;
    while (!isAtEnd_ && alerts.size() < kFew) {
      isAtEnd_ = !source_.cursor.nextElement();
      if (isAtEnd_) break;
      if (isPassedOver(source_.cursor.kind(), classes_)) {
        source_.cursor.skip();
      } else {
        decode(source_, classes_, alerts.emplace_back());
      }
    }
    return alerts;
  }

 private:
  JSONSource source_;
  const ArgumentClasses* classes_;
  bool isAtEnd_ = false;
};

}  // namespace

WrongPath decode(JSONSource& source, const ArgumentClasses* classes, AlertSequence& value) {
  const auto reader = std::make_shared<AlertReader>(source.cursor, classes);
  WrongPath wrong = decodeElements<VLAlert>(source, classes, checkAlert);
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
