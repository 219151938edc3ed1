// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "platform/persistence/CommitObserver.h"

namespace velto {

/// An event of the watching interface: a change of the store.
struct ChangeEvent {
  std::uint64_t sequence = 0;
  bool isOfAlert = false;
  std::optional<std::string> bundle = {};
  std::optional<std::string> type = {};
  /// As JSON, but for the sequence, which the member order puts first.
  std::string text = {};

  /// Without its text. Throws std::bad_alloc, as the next does.
  static ChangeEvent of(const ChangedRow& row, std::uint64_t sequence);
  static std::string textOf(const ChangedRow& row);

  std::size_t size() const { return sizeof(ChangeEvent) + text.capacity(); }
};

/// Appends the event's JSON text.
void appendEvent(std::string& text, std::uint64_t sequence, std::string_view members);

/// Events in the order of their numbers, which need not be without gaps. Not synchronised.
class EventLog {
 public:
  std::uint64_t sequence = 0;  ///< of the last event, whether it is kept or not

  void push(ChangeEvent event);
  void popFront();

  bool isEmpty() const { return events_.empty(); }
  const ChangeEvent& front() const { return events_.front(); }
  /// Bytes of the events.
  std::size_t size() const { return size_; }
  /// The first one behind this number up to another one that `wants` says yes to, or null.
  template <typename Wants>
  const ChangeEvent* find(std::uint64_t after, std::uint64_t last, const Wants& wants) const {
    for (auto event = firstAfter(after); event != events_.end() && event->sequence <= last;
         ++event) {
      if (wants(*event)) return &*event;
    }
    return nullptr;
  }

 private:
  using Events = std::deque<ChangeEvent>;

  Events::const_iterator firstAfter(std::uint64_t sequence) const;

  Events events_;
  std::size_t size_ = 0;
};

}  // namespace velto
