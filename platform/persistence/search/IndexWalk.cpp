// SPDX-License-Identifier: Apache-2.0
// A list in descending order has up to three stretches behind a place: the rest of the rows of the
// same date, the rows of earlier dates, and those without a date. Each is one range of the index.
// One condition for the first two together would be shorter, but SQLite uses its date alone to find
// the place: it would step over all rows of that date again for each page, and there may be very
// many, when a store was imported for instance. For the same reason each bound is told once, the
// narrower one, and not left to SQLite to choose from.

#include "platform/persistence/search/IndexWalk.h"

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

std::string searchColumns(const RowSearch& search) {
  std::string columns = "SELECT _id, " + quoted(search.key);
  for (const std::string& column : search.columns) {
    columns += ", " + quoted(column);
  }
  return columns + " FROM " + quoted(search.entityName);
}

RowPlace placeOf(const Statement& row) {
  return {row.isAbsent(1) ? std::nullopt : std::optional(Date(row.real(1))), row.integer(0)};
}

IndexWalk::IndexWalk(PersistentStoreCoordinator& coordinator, const RowSearch& search,
                     const Predicate* way, const std::optional<RowPlace>& after, std::size_t limit)
    : coordinator_(coordinator),
      search_(search),
      way_(way),
      test_(search.makeTest()),
      limit_(limit),
      last_(after) {}

IndexWalk::State IndexWalk::goOn(std::size_t rows, ErrorSlot error) {
  for (const Stretch& stretch : stretches()) {
    const State state = goAlong(stretch, rows, error);
    if (state == State::kFailed || found_.size() == limit_) {
      return state;
    }
    if (rows == 0) {
      return State::kUnderWay;
    }
  }
  return State::kDone;
}

/// Done also at the end of the stretch.
IndexWalk::State IndexWalk::goAlong(const Stretch& stretch, std::size_t& rows, ErrorSlot error) {
  const FetchQuery query(searchColumns(search_), stretch.request,
                         *coordinator_.model().entity(search_.entityName), 0,
                         stretch.after ? &*stretch.after : nullptr);
  const auto take = [&](const Statement& row) {
    last_ = placeOf(row);
    if (test_(row)) {
      found_.push_back(*last_);
    }
    return --rows != 0 && found_.size() < limit_;
  };
  return coordinator_.fetch(query, take, error) ? State::kDone : State::kFailed;
}

/// What is behind the last place.
std::vector<IndexWalk::Stretch> IndexWalk::stretches() const {
  std::vector<Stretch> stretches;
  if (!last_ || last_->date) {
    addDated(stretches);
  }
  if (!search_.from && !search_.to) {
    const bool isBegun = last_ && !last_->date;
    stretches.push_back(stretch(Predicate::withFormat(search_.key + " = nil"), isBegun));
  }
  return stretches;
}

void IndexWalk::addDated(std::vector<Stretch>& stretches) const {
  const std::string& key = search_.key;
  const auto& from = search_.from;
  const auto& to = search_.to;
  const Predicate above = Predicate::withFormat(key + (from ? " > %@" : " != %@"),
                                                {from ? AttributeValue(*from) : AttributeValue()});
  const auto under = [&](const char* comparison, Date date) {
    return Predicate::both(Predicate::withFormat(key + comparison, {date}), above);
  };
  if (last_ && (!to || last_->date <= to)) {
    if (!from || last_->date > from) {
      stretches.push_back(stretch(Predicate::withFormat(key + " = %@", {*last_->date}), true));
    }
    stretches.push_back(stretch(under(" < %@", *last_->date), false));
  } else {
    stretches.push_back(stretch(to ? under(" <= %@", *to) : above, false));
  }
}

/// The rows for whose dates the condition holds; with `isBegun`, those of them alone that come
/// after the last one, whose date they have.
IndexWalk::Stretch IndexWalk::stretch(const Predicate& dates, bool isBegun) const {
  FetchRequest request(search_.entityName);
  request.setPredicate(way_ == nullptr ? dates : Predicate::both(*way_, dates));
  request.setSortDescriptors({{.key = search_.key, .ascending = false}});
  request.setOrder(FetchRequest::Order::kIndexed);
  if (!isBegun) {
    return {std::move(request), std::nullopt};
  }
  return {std::move(request), FetchPosition{AttributeValue(), last_->rowId}};
}

}  // namespace velto
