// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <functional>
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
    /// A fetch with a limit reads more rows than it gives, and how many is its own affair.
    bool versionIsCertain = true;
  };

  explicit PlainContext(PlainFile& file) : file_(file) {}

  std::map<std::string, Known>& known() { return known_; }

  void insert(const PlainRecord& record) {
    known_.insert({record.tag, {record, nextPendingId_++, 0, Change::kInserted}});
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
    std::vector<Candidate> found = candidates(query);
    std::sort(found.begin(), found.end(), [&](const Candidate& left, const Candidate& right) {
      const auto order = query.order(left.record, right.record);
      return order != 0 ? (order < 0) == query.ascending : (left.id < right.id) == query.ascending;
    });
    std::vector<PlainRecord> records;
    for (const Candidate& candidate : found) {
      const bool given = query.limit == 0 || records.size() < query.limit;
      if (given) {
        records.push_back(candidate.record);
      }
      if (!candidate.pending) {
        read(candidate, given);
      }
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
      known = {known.record, file_.nextId++, 1, Change::kNone};
      file_.rows[known.id] = {known.record, 1};
    }
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
    bool pending;
  };

  std::vector<Candidate> candidates(const PlainQuery& query) const {
    std::vector<Candidate> found;
    for (const auto& [id, row] : file_.rows) {
      const auto known = known_.find(row.record.tag);
      const bool pending = known != known_.end() && known->second.change != Change::kNone;
      if (!pending && query.matches(row.record)) {
        found.push_back({row.record, id, row.version, false});
      }
    }
    for (const auto& [tag, known] : known_) {
      const bool shown = known.change == Change::kInserted || known.change == Change::kUpdated;
      if (shown && query.matches(known.record)) {
        found.push_back({known.record, known.id, known.version, true});
      }
    }
    return found;
  }

  void read(const Candidate& candidate, bool given) {
    const auto known = known_.find(candidate.record.tag);
    if (given) {
      known_.insert_or_assign(candidate.record.tag, Known{candidate.record, candidate.id,
                                                          candidate.version, Change::kNone});
    } else if (known != known_.end() && known->second.version != candidate.version) {
      known->second.versionIsCertain = false;
    }
  }

  PlainFile& file_;
  std::map<std::string, Known> known_;
  std::int64_t nextPendingId_ = std::int64_t{1} << 40;
};

}  // namespace velto
