// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>
#include <variant>

#include <boost/json/value.hpp>

#include "platform/connection/JSONReader.h"
#include "platform/json/JSONCursor.h"
#include "platform/json/JSONSyntax.h"

namespace velto {

/// A tree of the value in front of the cursor.
inline boost::json::value treeOf(JSONCursor& cursor) {
  using Kind = JSONCursor::Kind;
  switch (cursor.kind()) {
    case Kind::kNull:
      cursor.skip();
      return nullptr;
    case Kind::kBool:
      return cursor.readBool();
    case Kind::kNumber:
      return std::visit([](auto number) { return boost::json::value(number); },
                        cursor.readNumber());
    case Kind::kString:
      return boost::json::string(cursor.takeString());
    case Kind::kArray: {
      boost::json::array array;
      for (cursor.enter(); cursor.nextElement();) {
        array.push_back(treeOf(cursor));
      }
      return array;
    }
    case Kind::kObject:
      break;
  }
  boost::json::object object;
  cursor.enter();
  while (const auto name = cursor.nextMember()) {
    const boost::json::string key(*name);
    object.insert_or_assign(key, treeOf(cursor));
  }
  return object;
}

/// Whether the two are the same, the kinds of their numbers included.
inline bool isSame(const boost::json::value& one, const boost::json::value& other) {
  if (one.kind() != other.kind() || one != other) return false;
  if (const auto* array = one.if_array()) {
    for (std::size_t index = 0; index < array->size(); ++index) {
      if (!isSame((*array)[index], other.at(index))) return false;
    }
  } else if (const auto* object = one.if_object()) {
    for (const auto& member : *object) {
      if (!isSame(member.value(), other.at(member.key()))) return false;
    }
  }
  return true;
}

/// Whether the cursor reads a text as Boost.JSON does, or both refuse it; and whether what passes
/// over the text comes to its end, too.
inline bool readsAsBoostDoes(std::string_view text) {
  const auto expected = readJSON(text);
  if (isJSON(text) != expected.has_value()) return false;
  if (!expected) return true;
  JSONCursor passing(text);
  passing.skip();
  JSONCursor reading(text);
  return isSame(treeOf(reading), *expected) && passing.position() == reading.position() &&
         text.find_first_not_of(" \t\r\n", reading.position()) == std::string_view::npos;
}

}  // namespace velto
