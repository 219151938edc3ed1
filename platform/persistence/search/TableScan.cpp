// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/search/TableScan.h"

#include <algorithm>
#include <future>
#include <system_error>
#include <utility>

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/search/IndexWalk.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {
namespace {

/// So many that neither thread waits long for the other's last one.
constexpr std::int64_t kPieces = 64;

bool isBefore(const RowPlace& one, const RowPlace& other) {
  return one.isBefore(other);
}

void add(std::optional<Predicate>& all, const Predicate& one) {
  all = all ? Predicate::both(*all, one) : one;
}

/// What SQLite can tell by itself, so that only few rows come out of it: all but the test, and
/// which of the rows of the place's date are behind it.
std::optional<Predicate> conditionOf(const RowSearch& search,
                                     const std::optional<RowPlace>& after) {
  const std::string& key = search.key;
  std::optional<Predicate> condition;
  for (const Predicate& way : search.ways) {
    add(condition, way);
  }
  if (search.from) {
    add(condition, Predicate::withFormat(key + " > %@", {*search.from}));
  }
  if (search.to) {
    add(condition, Predicate::withFormat(key + " <= %@", {*search.to}));
  }
  if (after && after->date) {
    add(condition, Predicate::withFormat(key + " <= %@ OR " + key + " = nil", {*after->date}));
  } else if (after) {
    add(condition, Predicate::withFormat(key + " = nil"));
  }
  return condition;
}

}  // namespace

TableScan::TableScan(PersistentStoreCoordinator& coordinator, const RowSearch& search,
                     const std::optional<RowPlace>& after, std::size_t limit)
    : coordinator_(coordinator),
      search_(search),
      after_(after),
      limit_(limit),
      condition_(conditionOf(search, after)) {}

std::optional<std::vector<RowPlace>> TableScan::find(ErrorSlot error) {
  std::optional<Error> failure;
  const auto first = rowIdAt("min", &failure);
  const auto last = rowIdAt("max", &failure);
  if (failure) {
    replaceError(error, *std::move(failure));
    return std::nullopt;
  }
  if (!first || !last) {
    return std::vector<RowPlace>();
  }
  firstRowId_ = *first;
  lastRowId_ = *last;
  rowIdsOfPiece_ = (lastRowId_ - firstRowId_) / kPieces + 1;
  std::future<Result> other;
  try {
    other = std::async(std::launch::async, [this] { return scanPieces(); });
  } catch (const std::system_error&) {
    // One thread does it as well.
  }
  Result result = scanPieces();
  if (other.valid()) {
    Result rest = other.get();
    result.error = result.error ? std::move(result.error) : std::move(rest.error);
    for (const RowPlace& place : rest.places) {
      keep(result.places, place);
    }
  }
  if (result.error) {
    replaceError(error, *std::move(result.error));
    return std::nullopt;
  }
  std::sort_heap(result.places.begin(), result.places.end(), isBefore);
  return std::move(result.places);
}

/// The least or the greatest; nothing of an empty table, or with the error.
std::optional<std::int64_t> TableScan::rowIdAt(const char* end, ErrorSlot error) {
  FetchRequest all(search_.entityName);
  all.setOrder(FetchRequest::Order::kAny);
  const FetchQuery query(std::string("SELECT ") + end + "(_id) FROM " + quoted(search_.entityName),
                         all, *coordinator_.model().entity(search_.entityName), 0);
  std::optional<std::int64_t> rowId;
  const auto take = [&](const Statement& row) {
    if (!row.isAbsent(0)) {
      rowId = row.integer(0);
    }
    return false;
  };
  coordinator_.fetch(query, take, error);
  return rowId;
}

/// One piece after the other, of those that the other thread has not taken.
TableScan::Result TableScan::scanPieces() {
  Result result;
  const RowTest test = search_.makeTest();
  const std::int64_t lastPiece = (lastRowId_ - firstRowId_) / rowIdsOfPiece_;
  for (std::int64_t piece = nextPiece_++; piece <= lastPiece; piece = nextPiece_++) {
    if (!scanPiece(firstRowId_ + piece * rowIdsOfPiece_, test, result)) {
      nextPiece_ = kPieces;
    }
  }
  return result;
}

bool TableScan::scanPiece(std::int64_t firstRowId, const RowTest& test, Result& result) {
  FetchRequest request(search_.entityName);
  if (condition_) {
    request.setPredicate(*condition_);
  }
  request.setOrder(FetchRequest::Order::kAny);
  // An index would lead through the table in another order than it lies in.
  FetchQuery query(searchColumns(search_) + " NOT INDEXED", request,
                   *coordinator_.model().entity(search_.entityName), 0);
  const Predicate::Operand first = firstRowId;
  const Predicate::Operand last =
      firstRowId + std::min(rowIdsOfPiece_ - 1, lastRowId_ - firstRowId);
  query.sql += condition_ ? " AND " : " WHERE ";
  query.sql += "_id >= ? AND _id <= ?";
  query.operands.insert(query.operands.end(), {&first, &last});
  const auto take = [&](const Statement& row) {
    if (test(row)) {
      keepIfAfter(result.places, placeOf(row));
    }
    return true;
  };
  return coordinator_.fetch(query, take, &result.error);
}

void TableScan::keepIfAfter(std::vector<RowPlace>& places, const RowPlace& place) const {
  if (!after_ || after_->isBefore(place)) {
    keep(places, place);
  }
}

/// The places are a heap of the first ones so far, the last of them on top.
void TableScan::keep(std::vector<RowPlace>& places, const RowPlace& place) const {
  if (places.size() < limit_) {
    places.push_back(place);
  } else if (place.isBefore(places.front())) {
    std::pop_heap(places.begin(), places.end(), isBefore);
    places.back() = place;
  } else {
    return;
  }
  std::push_heap(places.begin(), places.end(), isBefore);
}

}  // namespace velto
