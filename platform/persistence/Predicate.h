#pragma once

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
/// The same condition is compiled to SQL with bound arguments and evaluated in memory, with the same
/// result. Immutable; any thread.
class Predicate {
 public:
  /// A format that does not parse, or arguments that do not fit it, are a mistake of the program
  /// and end the process with a line that says where.
  static Predicate withFormat(std::string_view format,
                              std::initializer_list<PredicateArgument> arguments = {});

  // The members that the context and the SQL compiler need are the implementation's to add.
};

}  // namespace velto
