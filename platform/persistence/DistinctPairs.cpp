// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/DistinctPairs.h"

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {
namespace {

/// What comes after a value in ascending order, where absent ones come first.
Predicate isAfter(const std::string& key, const AttributeValue& value) {
  return std::holds_alternative<std::monostate>(value)
             ? Predicate::withFormat(key + " != nil")
             : Predicate::withFormat(key + " > %@", {value});
}

}  // namespace

DistinctPairs::DistinctPairs(PersistentStoreCoordinator& coordinator, std::string entityName,
                             std::string first, std::string second, Predicate condition)
    : coordinator_(coordinator),
      entityName_(std::move(entityName)),
      first_(std::move(first)),
      second_(std::move(second)),
      condition_(std::move(condition)) {}

std::optional<std::vector<DistinctPairs::Pair>> DistinctPairs::find(ErrorSlot error) {
  std::vector<Pair> pairs;
  bool failed = false;
  auto next = firstWhere({}, {first_, second_}, failed, error);
  while (next) {
    pairs.push_back(*std::move(next));
    const auto& [first, second] = pairs.back();
    next = firstWhere({Predicate::withFormat(first_ + " = %@", {first}), isAfter(second_, second)},
                      {second_}, failed, error);
    if (!next && !failed) {
      next = firstWhere({isAfter(first_, first)}, {first_, second_}, failed, error);
    }
  }
  return failed ? std::nullopt : std::optional(std::move(pairs));
}

std::optional<DistinctPairs::Pair> DistinctPairs::firstWhere(
    const std::vector<Predicate>& conditions, const std::vector<std::string>& order, bool& failed,
    ErrorSlot error) {
  FetchRequest request(entityName_);
  Predicate all = condition_;
  for (const Predicate& condition : conditions) {
    all = Predicate::both(all, condition);
  }
  request.setPredicate(std::move(all));
  request.setOrder(FetchRequest::Order::kAny);
  const EntityDescription& entity = *coordinator_.model().entity(entityName_);
  FetchQuery query(
      "SELECT " + quoted(first_) + ", " + quoted(second_) + " FROM " + quoted(entityName_), request,
      entity, 0);
  for (std::size_t place = 0; place < order.size(); ++place) {
    query.sql += (place == 0 ? " ORDER BY " : ", ") + quoted(order[place]);
  }
  const auto typeOf = [&](const std::string& key) {
    return entity.attributes()[entity.requiredAttributeIndex(key)].type;
  };
  std::optional<Pair> pair;
  failed = !coordinator_.fetch(
      query,
      [&](const Statement& row) {
        pair.emplace(row.value(0, typeOf(first_)), row.value(1, typeOf(second_)));
        return false;
      },
      error);
  return pair;
}

}  // namespace velto
