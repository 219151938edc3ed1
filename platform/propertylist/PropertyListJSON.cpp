// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListJSON.h"

#include <algorithm>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "platform/foundation/Base64.h"
#include "platform/foundation/JSONText.h"

namespace velto {
namespace {

using Kind = JSONCursor::Kind;

/// What an element, a key or a value may cost beside its text, from the call to the store: its
/// place in its container, in the copy that a bundle's code gets, and in the binary form.
constexpr std::size_t kCost = 448;
/// How often its text may be in memory on that way.
constexpr std::size_t kCopies = 3;

bool isReserved(std::string_view key) {
  return key.starts_with('$');
}

bool isNotReserved(std::string_view key) {
  return !isReserved(key);
}

WrongPath decodeArray(JSONSource& source, PropertyList& value) {
  PropertyList::Array values;
  source.cursor.enter();
  while (source.cursor.nextElement()) {
    PropertyList& element = values.emplace_back();
    WrongPath wrong = decodePropertyList(source, element);
    if (wrong || element.isAbsent()) {
      source.cursor.leave();
      return pathWithin(values.size() - 1, wrong.value_or(""));
    }
  }
  values.shrink_to_fit();
  value = std::move(values);
  return std::nullopt;
}

template <typename MayBeName>
WrongPath decodeDictionary(JSONSource& source, std::optional<std::string_view> firstName,
                           const MayBeName& mayBeName, PropertyList& value) {
  PropertyList::Dictionary dictionary;
  WrongPath wrong =
      decodeMembers(source, firstName, dictionary, kCost, mayBeName, decodePropertyList);
  if (!wrong) value = std::move(dictionary);
  return wrong;
}

WrongPath decodeData(JSONSource& source, PropertyList& value) {
  auto data = base64Decoded(source.cursor.readString());
  if (!data || !source.budget.take(kCopies * data->size())) return std::string();
  value = std::move(*data);
  return std::nullopt;
}

/// The value under a reserved key.
WrongPath decodeReserved(JSONSource& source, std::string_view key, PropertyList& value) {
  JSONCursor& cursor = source.cursor;
  const Kind kind = cursor.kind();
  if (key == "$data" && kind == Kind::kString) return decodeData(source, value);
  if (key == "$dict" && kind == Kind::kObject) {
    cursor.enter();
    return decodeDictionary(
        source, cursor.nextMember(), [](auto) { return true; }, value);
  }
  if (key == "$date" && kind == Kind::kNumber) {
    value = Date(cursor.readDouble());
  } else if (key == "$absent" && kind == Kind::kBool) {
    value = PropertyList();
    if (!cursor.readBool()) return std::string();
  } else {
    return wrongValue(source);
  }
  return std::nullopt;
}

/// An object with one reserved key, which stands for a value that JSON has no form for.
WrongPath decodeReservedObject(JSONSource& source, const std::string& key, PropertyList& value) {
  WrongPath wrong;
  std::optional<std::string_view> name;
  do {
    wrong = decodeReserved(source, key, value);
    name = source.cursor.nextMember();
  } while (name == key);
  if (!name) return wrong;
  source.cursor.leave();
  return std::string();
}

WrongPath decodeObject(JSONSource& source, PropertyList& value) {
  source.cursor.enter();
  const auto name = source.cursor.nextMember();
  return name && isReserved(*name) ? decodeReservedObject(source, std::string(*name), value)
                                   : decodeDictionary(source, name, isNotReserved, value);
}

void appendMembers(std::string& text, const PropertyList::Dictionary& dictionary) {
  JSONObjectText object(text);
  for (const auto& [key, value] : dictionary) {
    if (!value.isAbsent()) {
      object.add(key, value);
    }
  }
  object.end();
}

/// An object with one reserved key.
template <typename Append>
void appendReserved(std::string& text, std::string_view key, Append append) {
  JSONObjectText object(text);
  object.beginMember(key);
  append();
  object.end();
}

}  // namespace

WrongPath decodePropertyList(JSONSource& source, PropertyList& value) {
  JSONCursor& cursor = source.cursor;
  if (!source.budget.take(kCost)) return wrongValue(source);
  switch (cursor.kind()) {
    case Kind::kNull:
      cursor.skip();
      value = PropertyList();
      break;
    case Kind::kBool:
      value = cursor.readBool();
      break;
    case Kind::kNumber:
      std::visit([&value](auto number) { value = number; }, cursor.readNumber());
      break;
    case Kind::kString:
      value = cursor.takeString();
      if (!source.budget.take(kCopies * heapSize(*value.string()))) return std::string();
      break;
    case Kind::kArray:
      return decodeArray(source, value);
    case Kind::kObject:
      return decodeObject(source, value);
  }
  return std::nullopt;
}

void appendJSON(std::string& text, const PropertyList::Dictionary& value) {
  const bool hasReservedKey = std::any_of(
      value.begin(), value.end(), [](const auto& member) { return isReserved(member.first); });
  if (hasReservedKey) {
    appendReserved(text, "$dict", [&] { appendMembers(text, value); });
  } else {
    appendMembers(text, value);
  }
}

void appendJSON(std::string& text, const PropertyList& value) {
  value.visit([&](const auto& held) {
    using Held = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<Held, std::monostate>) {
      text += "null";
    } else if constexpr (std::is_same_v<Held, Date>) {
      appendReserved(text, "$date", [&] { appendJSON(text, held.secondsSinceReference()); });
    } else if constexpr (std::is_same_v<Held, Data>) {
      appendReserved(text, "$data", [&] { appendJSON(text, base64Encoded(held)); });
    } else {
      appendJSON(text, held);
    }
  });
}

}  // namespace velto
