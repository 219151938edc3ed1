// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/json/JSONCursor.h"
#include "platform/json/MemoryBudget.h"

namespace velto {

/// What a call's values are read from, and what they may cost. A decoder reads the value that the
/// cursor stands in front of and leaves the cursor behind it, also when the value is wrong.
struct JSONSource {
  JSONCursor cursor;
  MemoryBudget budget;
};

/// Where a value is wrong: empty for the value itself, else the way to what is wrong within it,
/// ".token", "[3].sentDate". Nothing when it is as it should be.
using WrongPath = std::optional<std::string>;

/// Passes over a value that is wrong itself.
inline WrongPath wrongValue(JSONSource& source) {
  source.cursor.skip();
  return std::string();
}

/// The same place as seen from the value that holds the member or element. Of a long name the path
/// has the beginning.
std::string pathWithin(std::string_view member, std::string_view path);
std::string pathWithin(std::size_t element, std::string_view path);

/// Reads the members of an object, whose names are the sender's, into a map. The object has been
/// entered, and `name` is that of its first member. Of several members of one name the last counts,
/// also when those before it were wrong. `cost` is what a member takes beside its name and value;
/// `mayBeName` tells of each name whether the object can hold it.
template <typename Map, typename MayBeName, typename Decode>
WrongPath decodeMembers(JSONSource& source, std::optional<std::string_view> name, Map& map,
                        std::size_t cost, const MayBeName& mayBeName, const Decode& decode) {
  std::map<std::string, std::string, std::less<>> wrong;  // paths by name
  for (; name; name = source.cursor.nextMember()) {
    std::string key(*name);
    if (!mayBeName(*name) || !source.budget.take(cost + heapSize(key))) {
      source.cursor.leave();
      return std::string();
    }
    typename Map::mapped_type value;
    if (WrongPath path = decode(source, value)) {
      source.budget.take(cost);
      wrong.insert_or_assign(std::move(key), *std::move(path));
    } else {
      if (!wrong.empty()) wrong.erase(key);
      map.insert_or_assign(std::move(key), std::move(value));
    }
  }
  if (wrong.empty()) return std::nullopt;
  return pathWithin(wrong.begin()->first, wrong.begin()->second);
}

}  // namespace velto
