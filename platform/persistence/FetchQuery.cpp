// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/FetchQuery.h"

#include <utility>

namespace velto {

namespace {

using Operator = Predicate::Operator;

std::string_view symbol(Operator comparison) {
  switch (comparison) {
    case Operator::kEqual:
      return " = ";
    case Operator::kNotEqual:
      return " IS NOT ";  // holds for absent values too
    case Operator::kLess:
      return " < ";
    case Operator::kLessOrEqual:
      return " <= ";
    case Operator::kGreater:
      return " > ";
    case Operator::kGreaterOrEqual:
      return " >= ";
    case Operator::kIn:
      break;
  }
  return " IN ";
}

bool isAbsent(const Predicate::Operand& operand) {
  const auto* value = std::get_if<AttributeValue>(&operand);
  return value != nullptr && std::holds_alternative<std::monostate>(*value);
}

std::string comparisonWithNil(const std::string& column, Operator comparison) {
  switch (comparison) {
    case Operator::kEqual:
      return column + " IS NULL";
    case Operator::kNotEqual:
      return column + " IS NOT NULL";
    default:
      return "0";
  }
}

/// Turns a condition into text, noting the operands that its parameters stand for.
class ConditionWriter {
 public:
  /// With a `positionKey` the rows that it finds begin after a position in its descending order.
  ConditionWriter(const EntityDescription& entity, std::vector<const Predicate::Operand*>& operands,
                  std::string_view positionKey)
      : entity_(entity), operands_(operands), positionKey_(positionKey) {}

  std::string write(const Predicate::Condition& condition) {
    return std::visit([this](const auto& one) { return text(one); }, condition);
  }

 private:
  std::string text(const Predicate::Comparison& leaf) {
    const std::size_t index = Predicate::attributeIndex(leaf, entity_);
    const std::string column = quoted(entity_.attributes()[index].name);
    if (isAbsent(leaf.operand)) {
      return comparisonWithNil(column, leaf.comparison);
    }
    operands_.push_back(&leaf.operand);
    const std::string_view operand =
        leaf.comparison == Operator::kIn ? "(SELECT value FROM velto_strings(?))" : "?";
    return plus(leaf) + column + std::string(symbol(leaf.comparison)).append(operand);
  }

  /// Unary plus keeps the end of a range from being what an index is entered by: the planner takes
  /// the first of two, and would go through all that lies before the position, for each portion.
  std::string plus(const Predicate::Comparison& leaf) const {
    const bool isEnd =
        leaf.comparison == Operator::kLess || leaf.comparison == Operator::kLessOrEqual;
    return isEnd && leaf.key == positionKey_ ? "+" : "";
  }

  std::string text(const Predicate::Compound& compound) {
    const bool all = compound.connective == Predicate::Connective::kAnd;
    std::string joined;
    for (const Predicate::Condition& part : compound.parts) {
      joined.append(joined.empty() ? "(" : all ? " AND " : " OR ").append(write(part));
    }
    return joined + ")";
  }

  const EntityDescription& entity_;
  std::vector<const Predicate::Operand*>& operands_;
  const std::string_view positionKey_;
};

/// Whether the condition is one equality: then an index that begins with its attribute gives the
/// rows in order, and its use is certain.
bool isEquality(const Predicate::Condition& condition) {
  const auto* comparison = std::get_if<Predicate::Comparison>(&condition);
  return comparison != nullptr && comparison->comparison == Operator::kEqual;
}

/// The planner, which knows nothing of how many rows a range holds, would rather walk the whole
/// table in order than sort the few rows of a range: unary plus keeps it from using an index for
/// the order, so that it uses those of the condition.
std::string orderBy(const FetchRequest& request, const EntityDescription& entity) {
  if (request.order() == FetchRequest::Order::kAny) {
    return {};
  }
  const bool plain = request.order() == FetchRequest::Order::kIndexed || !request.predicate() ||
                     isEquality(request.predicate()->condition());
  const std::string_view plus = plain ? "" : "+";
  std::string terms = " ORDER BY ";
  bool ascending = true;
  for (const SortDescriptor& sort : request.sortDescriptors()) {
    ascending = sort.ascending;
    terms.append(plus)
        .append(quoted(entity.attributes()[entity.requiredAttributeIndex(sort.key)].name))
        .append(ascending ? ", " : " DESC, ");
  }
  return terms.append(plus).append(ascending ? "_id" : "_id DESC");
}

/// Rows without the key come after all others.
std::string conditionAfter(const FetchPosition& after, const std::string& column,
                           std::vector<const Predicate::Operand*>& operands) {
  if (isAbsent(after.key)) {
    operands.push_back(&after.rowId);
    return "_id < ?";
  }
  operands.insert(operands.end(), {&after.key, &after.rowId});
  return "(" + column + ", _id) < (?, ?)";
}

}  // namespace

FetchQuery::FetchQuery(std::string select, const FetchRequest& request,
                       const EntityDescription& entity, std::size_t rowLimit,
                       const FetchPosition* after)
    : sql(std::move(select)), limit(rowLimit) {
  if (request.predicate()) {
    const std::string_view positionKey =
        after == nullptr ? std::string_view() : request.sortDescriptors().front().key;
    sql += " WHERE " +
           ConditionWriter(entity, operands, positionKey).write(request.predicate()->condition());
  }
  if (after != nullptr) {
    sql += request.predicate() ? " AND " : " WHERE ";
    sql += conditionAfter(*after, quoted(request.sortDescriptors().front().key), operands);
  }
  sql += orderBy(request, entity);
  if (limit != 0) {
    sql += " LIMIT ?";
  }
}

}  // namespace velto
