// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

/// The least that the persistence must be equal to: a map as the file, and contexts that are
/// written down as simply as they can be.

struct PlainRecord {
  std::string tag;  ///< never changes, and no two records share one
  std::optional<std::string> text;
  std::optional<double> date;
  std::optional<bool> flag;

  bool operator==(const PlainRecord&) const = default;
};

struct PlainQuery {
  std::function<bool(const PlainRecord&)> matches;
  /// Compares by the sort key; absent is below present.
  std::function<std::weak_ordering(const PlainRecord&, const PlainRecord&)> order;
  bool ascending = true;
  std::size_t limit = 0;
};

struct PlainFile {
  struct Row {
    PlainRecord record;
    int version;
  };
  std::map<std::int64_t, Row> rows;
  std::int64_t nextId = 1;
};

class PlainContext {
 public:
  enum class Change { kNone, kInserted, kUpdated, kDeleted };
  struct Known {
    PlainRecord record;
    std::int64_t id;
    int version;
    Change change;
    int save = 0;  ///< after which of the context's saves it was read
  };

  explicit PlainContext(PlainFile& file) : file_(file) {}

  std::map<std::string, Known>& known() { return known_; }

  void insert(const PlainRecord& record) {
    known_.insert({record.tag, {record, nextPendingId_++, 0, Change::kInserted, saves_}});
  }

  void update(Known& known, const PlainRecord& record) {
    known.record = record;
    known.change = known.change == Change::kNone ? Change::kUpdated : known.change;
  }

  void remove(const std::string& tag) {
    Known& known = known_.at(tag);
    if (known.change == Change::kInserted) {
      known_.erase(tag);
    } else {
      known.change = Change::kDeleted;
    }
  }

  std::vector<PlainRecord> fetch(const PlainQuery& query) {
    const auto isBefore = [&](const Candidate& left, const Candidate& right) {
      const auto order = query.order(left.record, right.record);
      return order != 0 ? (order < 0) == query.ascending : (left.id < right.id) == query.ascending;
    };
    // The file's rows stand where the file has them, and look as they were first read.
    std::vector<Candidate> rows = unchangedRows(query);
    std::sort(rows.begin(), rows.end(), isBefore);
    cut(rows, query.limit);
    for (Candidate& row : rows) {
      row.record = read(row);
    }
    std::vector<Candidate> changed = changedRecords(query);
    std::sort(changed.begin(), changed.end(), isBefore);
    std::vector<Candidate> merged;
    std::merge(rows.begin(), rows.end(), changed.begin(), changed.end(), std::back_inserter(merged),
               isBefore);
    cut(merged, query.limit);
    std::vector<PlainRecord> records;
    for (const Candidate& candidate : merged) {
      records.push_back(candidate.record);
    }
    return records;
  }

  /// False on a conflict.
  bool save() {
    for (const auto& [tag, known] : known_) {
      const bool inFile = known.change == Change::kUpdated || known.change == Change::kDeleted;
      const auto row = file_.rows.find(known.id);
      if (inFile && (row == file_.rows.end() || row->second.version != known.version)) {
        return false;
      }
    }
    std::map<std::int64_t, std::string> inserts;
    for (auto& [tag, known] : known_) {
      if (known.change == Change::kInserted) {
        inserts[known.id] = tag;
      } else if (known.change == Change::kUpdated) {
        file_.rows.at(known.id) = {known.record, ++known.version};
        known.change = Change::kNone;
      } else if (known.change == Change::kDeleted) {
        file_.rows.erase(known.id);
      }
    }
    std::erase_if(known_, [](const auto& one) { return one.second.change == Change::kDeleted; });
    for (const auto& [id, tag] : inserts) {
      Known& known = known_.at(tag);
      known = {known.record, file_.nextId++, 1, Change::kNone, saves_};
      file_.rows[known.id] = {known.record, 1};
    }
    ++saves_;
    return true;
  }

  bool hasChanges() const {
    return std::any_of(known_.begin(), known_.end(),
                       [](const auto& one) { return one.second.change != Change::kNone; });
  }

 private:
  struct Candidate {
    PlainRecord record;
    std::int64_t id;
    int version;
  };

  static void cut(std::vector<Candidate>& candidates, std::size_t limit) {
    if (limit != 0 && candidates.size() > limit) {
      candidates.erase(candidates.begin() + static_cast<std::ptrdiff_t>(limit), candidates.end());
    }
  }

  std::vector<Candidate> unchangedRows(const PlainQuery& query) const {
    std::vector<Candidate> found;
    for (const auto& [id, row] : file_.rows) {
      const auto known = known_.find(row.record.tag);
      const bool pending = known != known_.end() && known->second.change != Change::kNone;
      if (!pending && query.matches(row.record)) {
        found.push_back({row.record, id, row.version});
      }
    }
    return found;
  }

  std::vector<Candidate> changedRecords(const PlainQuery& query) const {
    std::vector<Candidate> found;
    for (const auto& [tag, known] : known_) {
      const bool shown = known.change == Change::kInserted || known.change == Change::kUpdated;
      if (shown && query.matches(known.record)) {
        found.push_back({known.record, known.id, known.version});
      }
    }
    return found;
  }

  const PlainRecord& read(const Candidate& row) {
    const auto known = known_.find(row.record.tag);
    if (known != known_.end() && known->second.save == saves_) {
      return known->second.record;
    }
    const Known fresh{row.record, row.id, row.version, Change::kNone, saves_};
    return known_.insert_or_assign(row.record.tag, fresh).first->second.record;
  }

  PlainFile& file_;
  std::map<std::string, Known> known_;
  int saves_ = 0;
  std::int64_t nextPendingId_ = std::int64_t{1} << 40;
};

}  // namespace velto
