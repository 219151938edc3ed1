// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/search/DatedGroups.h"

#include <utility>

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

DatedGroups::DatedGroups(PersistentStoreCoordinator& coordinator, std::string entityName,
                         std::string text, std::string date)
    : coordinator_(coordinator),
      entityName_(std::move(entityName)),
      text_(std::move(text)),
      date_(std::move(date)) {}

std::optional<AttributeValue> DatedGroups::next(const std::optional<AttributeValue>& group,
                                                ErrorSlot error) const {
  FetchRequest request(entityName_);
  if (group) {
    request.setPredicate(std::holds_alternative<std::monostate>(*group)
                             ? Predicate::withFormat(text_ + " != nil")
                             : Predicate::withFormat(text_ + " > %@", {*group}));
  }
  request.setOrder(FetchRequest::Order::kAny);
  // Not by the row id as well, or all of the first group would be sorted.
  FetchQuery first = query(quoted(text_), request);
  first.sql += " ORDER BY " + quoted(text_);
  std::optional<AttributeValue> found;
  coordinator_.fetch(
      first,
      [&](const Statement& row) {
        found = row.value(0, AttributeType::kString);
        return false;
      },
      error);
  return found;
}

bool DatedGroups::dates(const AttributeValue& group, const Predicate& dates,
                        const std::function<bool(Date)>& take, ErrorSlot error) const {
  FetchRequest request = of(group, dates);
  request.setSortDescriptors({{.key = date_}});
  request.setOrder(FetchRequest::Order::kIndexed);
  return coordinator_.fetch(
      query(quoted(date_), request), [&](const Statement& row) { return take(Date(row.real(0))); },
      error);
}

std::optional<std::int64_t> DatedGroups::count(const AttributeValue& group, const Predicate& dates,
                                               ErrorSlot error) const {
  const FetchRequest request = of(group, dates);
  std::int64_t number = 0;
  const auto take = [&](const Statement& row) {
    number = row.integer(0);
    return false;
  };
  return coordinator_.fetch(query("count(*)", request), take, error) ? std::optional(number)
                                                                     : std::nullopt;
}

FetchRequest DatedGroups::of(const AttributeValue& group, const Predicate& dates) const {
  FetchRequest request(entityName_);
  request.setPredicate(Predicate::both(Predicate::withFormat(text_ + " = %@", {group}), dates));
  request.setOrder(FetchRequest::Order::kAny);
  return request;
}

FetchQuery DatedGroups::query(const std::string& column, const FetchRequest& request) const {
  return {"SELECT " + column + " FROM " + quoted(entityName_), request,
          *coordinator_.model().entity(entityName_), 0};
}

}  // namespace velto
