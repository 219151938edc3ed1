// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "alerts/VLAlert.h"
#include "platform/foundation/Error.h"

namespace velto {

/// A list of alerts that is gone through once, and need not be in memory as a whole. One thread at
/// a time.
class AlertSequence {
 public:
  /// Returns the next few alerts; none at the end, and none with an error when they cannot be had.
  using Source = std::function<std::vector<VLAlert>(ErrorSlot)>;

  /// Appends the next alerts to a JSON array that the text ends with, until the text is that long
  /// or longer, as it may be already. Whether another one follows; an error ends the source.
  using TextSource = std::function<bool(std::string& text, std::size_t length, ErrorSlot)>;

  AlertSequence() = default;
  // A list is a sequence.
  // NOLINTNEXTLINE(google-explicit-constructor)
  AlertSequence(std::vector<VLAlert> alerts) : ready_(std::move(alerts)) {}
  /// A text source is for those who only pass the alerts on, and costs less: each of the two goes
  /// on where the other one has stopped.
  explicit AlertSequence(Source source, TextSource textSource = {})
      : source_(std::move(source)), textSource_(std::move(textSource)) {}

  /// The alert whose turn it is, valid until `advance`; null at the end. An error ends what comes
  /// from the source.
  const VLAlert* current(ErrorSlot error);
  void advance() { ++next_; }

  /// For who takes the alerts as text from here on: appends them to a JSON array that the text ends
  /// with, until the text is that long or longer. Whether another one follows, but for those that
  /// are deleted meanwhile; an error ends what comes from the source.
  bool appendElements(std::string& text, std::size_t length, ErrorSlot error);

  /// These come after all others.
  void append(std::vector<VLAlert> alerts) { appended_ = std::move(alerts); }

 private:
  std::vector<VLAlert> ready_;
  std::size_t next_ = 0;
  Source source_;  ///< null when it has nothing more
  TextSource textSource_;
  std::vector<VLAlert> appended_;

  bool appendFromSource(std::string& text, std::size_t length, ErrorSlot error);
};

}  // namespace velto
