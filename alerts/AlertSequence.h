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

  /// A few alerts as JSON, one after the other.
  struct Texts {
    std::string text;
    std::vector<std::size_t> ends;  ///< of each alert's text
  };
  /// The same as text.
  using TextSource = std::function<Texts(ErrorSlot)>;

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

  /// For who takes the alerts as text from here on. Whether there is another one; an error ends
  /// what comes from the source.
  bool hasNext(ErrorSlot error);
  /// Appends the next one, which there is.
  void appendNext(std::string& text);

  /// These come after all others.
  void append(std::vector<VLAlert> alerts) { appended_ = std::move(alerts); }

 private:
  std::vector<VLAlert> ready_;
  std::size_t next_ = 0;
  Source source_;  ///< null when it has nothing more
  TextSource textSource_;
  Texts texts_;
  std::size_t nextText_ = 0;
  std::vector<VLAlert> appended_;

  bool drawTexts(ErrorSlot error);
};

}  // namespace velto
