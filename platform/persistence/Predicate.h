// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/persistence/AttributeValue.h"
#include "platform/persistence/ManagedObjectModel.h"

namespace velto {

/// One argument of a predicate format: a value (absent compares against nil) or a list of strings
/// for IN.
using PredicateArgument = std::variant<AttributeValue, std::vector<std::string>>;

/// A condition on an object's attributes, in the format language:
///
///     condition := condition OR condition | condition AND condition | ( condition )
///                | key = operand | key != operand | key < operand | key <= operand
///                | key > operand | key >= operand | key IN %@
///     operand   := %@ | nil | integer
///
/// AND binds tighter than OR; %@ stands for the next argument. Equality with nil (or an absent
/// argument) matches the objects whose attribute is absent; every other comparison in which either
/// side is absent matches nothing, and != matches whatever = does not. An integer compares with a
/// boolean attribute as 1 or 0. Text compares by its bytes.
///
/// The same condition is compiled to SQL with bound arguments and evaluated in memory, with the
/// same result. Immutable; any thread.
class Predicate {
 public:
  enum class Operator { kEqual, kNotEqual, kLess, kLessOrEqual, kGreater, kGreaterOrEqual, kIn };
  /// A list is sorted and without duplicates.
  using Operand = std::variant<AttributeValue, std::int64_t, std::vector<std::string>>;
  struct Comparison {
    std::string key;
    Operator comparison;
    Operand operand;
  };
  enum class Connective { kAnd, kOr };
  /// Two or more conditions, joined.
  struct Compound;
  using Condition = std::variant<Comparison, Compound>;
  struct Compound {
    Connective connective;
    std::vector<Condition> parts;
  };

  /// A format that does not parse, or arguments that do not fit it, are a mistake of the program
  /// and end the process with a line that says where.
  static Predicate withFormat(std::string_view format,
                              std::initializer_list<PredicateArgument> arguments = {});
  /// `key IN` this list, which may be so long that a second one in memory is too much.
  static Predicate isIn(std::string key, std::vector<std::string> list);

  /// Holds where both hold.
  static Predicate both(const Predicate& one, const Predicate& other);

  const Condition& condition() const { return *condition_; }

  /// Whether the condition holds for an object with these values.
  bool matches(const EntityDescription& entity, const std::vector<AttributeValue>& values) const;

  /// The position of the compared attribute. A key that the entity does not have, or an operand of
  /// another type than the attribute's, ends the process.
  static std::size_t attributeIndex(const Comparison& comparison, const EntityDescription& entity);

 private:
  explicit Predicate(Condition condition);

  std::shared_ptr<const Condition> condition_;
};

}  // namespace velto
