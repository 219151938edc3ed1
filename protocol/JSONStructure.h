// SPDX-License-Identifier: Apache-2.0
#pragma once

// Decoding of objects whose members have names that are known: structures, and parameters.

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/json/JSONSource.h"
#include "protocol/JSONCoding.h"

namespace velto {

/// One member of a structure: its name, and what reads it.
template <typename Structure>
struct JSONMember {
  std::string_view name;
  WrongPath (*decode)(JSONSource& source, const ArgumentClasses* classes, Structure& structure);
};

/// Absent when it is null.
template <typename T>
WrongPath decodeOptional(JSONSource& source, const ArgumentClasses* classes,
                         std::optional<T>& value) {
  if (source.cursor.kind() != JSONCursor::Kind::kNull) {
    return decode(source, classes, value.emplace());
  }
  source.cursor.skip();
  value.reset();
  return std::nullopt;
}

/// Reads a member that may be absent. What a white-list says of the structure's own class does not
/// hold for its members.
template <auto Member, typename Structure>
WrongPath decodeMember(JSONSource& source, const ArgumentClasses* /*classes*/,
                       Structure& structure) {
  return decodeOptional(source, nullptr, structure.*Member);
}

/// Reads an object. What is wrong is a member that the structure does not have, or else the first
/// in the structure's order that does not fit.
template <typename Structure, std::size_t N>
WrongPath decodeStructure(JSONSource& source, const ArgumentClasses* classes, Structure& structure,
                          const std::array<JSONMember<Structure>, N>& members) {
  if (source.cursor.kind() != JSONCursor::Kind::kObject) return wrongValue(source);
  std::array<WrongPath, N> wrong;
  source.cursor.enter();
  while (const auto name = source.cursor.nextMember()) {
    const auto known = std::find_if(members.begin(), members.end(),
                                    [&](const auto& member) { return member.name == *name; });
    if (known == members.end()) {
      std::string path = pathWithin(*name, "");
      source.cursor.leave();
      return path;
    }
    wrong[static_cast<std::size_t>(known - members.begin())] =
        known->decode(source, classes, structure);
  }
  for (std::size_t index = 0; index < N; ++index) {
    if (wrong[index]) return pathWithin(members[index].name, *wrong[index]);
  }
  return std::nullopt;
}

}  // namespace velto
