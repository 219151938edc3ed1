// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/persistence/CommitObserver.h"

namespace velto {

/// What a commit has done to an alert's record, read where the observer of the commit is told of
/// it. Points into the row. Any thread.
class AlertChange {
 public:
  /// Whether the row is an alert's; nothing else may be asked of any other one.
  static bool isOfAlert(const ChangedRow& row);

  explicit AlertChange(const ChangedRow& row) : row_(row) {}

  // Of the alert as it is now, or was when it was deleted; null when it is absent.
  const std::string* identifier() const;
  const std::string* type() const;
  const std::string* bundle() const;

  /// Appends the JSON of the alert as it is now; it has not been deleted.
  void appendAlert(std::string& text) const;

  /// By how much the change has moved the number of alerts, of unread and of unresolved ones: each
  /// -1, 0 or 1.
  int alerts() const { return (row_.after == nullptr ? 0 : 1) - (row_.before.empty() ? 0 : 1); }
  int unread() const;
  int unresolved() const;

 private:
  const std::vector<AttributeValue>& values() const {
    return row_.after == nullptr ? row_.before : *row_.after;
  }
  int withoutValue(std::size_t position) const;

  const ChangedRow& row_;
};

}  // namespace velto
