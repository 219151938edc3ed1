// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/Predicate.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/ProgramMistake.h"

namespace velto {

namespace {

using Operator = Predicate::Operator;

template <typename Value>
bool holds(const Value& left, Operator comparison, const Value& right) {
  switch (comparison) {
    case Operator::kEqual:
    case Operator::kIn:
      return left == right;
    case Operator::kNotEqual:
      return !(left == right);
    case Operator::kLess:
      return left < right;
    case Operator::kLessOrEqual:
      return left <= right;
    case Operator::kGreater:
      return left > right;
    case Operator::kGreaterOrEqual:
      break;
  }
  return left >= right;
}

bool isAbsent(const AttributeValue& value) {
  return std::holds_alternative<std::monostate>(value);
}

bool compare(const AttributeValue& value, Operator comparison, const AttributeValue& operand) {
  if (isAbsent(value) || isAbsent(operand)) {
    return (comparison == Operator::kEqual && value == operand) ||
           (comparison == Operator::kNotEqual && value != operand);
  }
  return holds(value, comparison, operand);
}

bool compare(const AttributeValue& value, Operator comparison, std::int64_t operand) {
  const bool* boolean = std::get_if<bool>(&value);
  return boolean == nullptr ? comparison == Operator::kNotEqual
                            : holds<std::int64_t>(*boolean ? 1 : 0, comparison, operand);
}

bool compare(const AttributeValue& value, Operator, const std::vector<std::string>& list) {
  const std::string* text = std::get_if<std::string>(&value);
  return text != nullptr && std::binary_search(list.begin(), list.end(), *text);
}

bool evaluate(const Predicate::Condition& condition, const EntityDescription& entity,
              const std::vector<AttributeValue>& values);

bool evaluate(const Predicate::Comparison& leaf, const EntityDescription& entity,
              const std::vector<AttributeValue>& values) {
  const AttributeValue& value = values[Predicate::attributeIndex(leaf, entity)];
  return std::visit([&](const auto& operand) { return compare(value, leaf.comparison, operand); },
                    leaf.operand);
}

bool evaluate(const Predicate::Compound& compound, const EntityDescription& entity,
              const std::vector<AttributeValue>& values) {
  const auto holdsForPart = [&](const auto& part) { return evaluate(part, entity, values); };
  return compound.connective == Predicate::Connective::kAnd
             ? std::all_of(compound.parts.begin(), compound.parts.end(), holdsForPart)
             : std::any_of(compound.parts.begin(), compound.parts.end(), holdsForPart);
}

bool evaluate(const Predicate::Condition& condition, const EntityDescription& entity,
              const std::vector<AttributeValue>& values) {
  return std::visit([&](const auto& one) { return evaluate(one, entity, values); }, condition);
}

bool fits(const AttributeValue& operand, AttributeType type) {
  return isAbsent(operand) || isOfType(operand, type);
}
bool fits(std::int64_t, AttributeType type) {
  return type == AttributeType::kBoolean;
}
bool fits(const std::vector<std::string>&, AttributeType type) {
  return type == AttributeType::kString;
}

}  // namespace

Predicate::Predicate(Condition condition)
    : condition_(std::make_shared<const Condition>(std::move(condition))) {}

Predicate Predicate::isIn(std::string key, std::vector<std::string> list) {
  std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
  return Predicate(Comparison{std::move(key), Operator::kIn, std::move(list)});
}

Predicate Predicate::both(const Predicate& one, const Predicate& other) {
  return Predicate(Compound{Connective::kAnd, {one.condition(), other.condition()}});
}

bool Predicate::matches(const EntityDescription& entity,
                        const std::vector<AttributeValue>& values) const {
  return evaluate(*condition_, entity, values);
}

std::size_t Predicate::attributeIndex(const Comparison& comparison,
                                      const EntityDescription& entity) {
  const std::size_t index = entity.requiredAttributeIndex(comparison.key);
  const AttributeType type = entity.attributes()[index].type;
  if (!std::visit([type](const auto& operand) { return fits(operand, type); },
                  comparison.operand)) {
    programMistake("predicate on " + entity.name() + ": operand of another type than attribute " +
                   comparison.key);
  }
  return index;
}

}  // namespace velto
