// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/connection/EventSource.h"

namespace velto {

/// A signal as an event: is ready once the signal has come, and served on a thread of the run loop,
/// where anything may be done. One object a signal in the life of a process.
class SignalSource : public EventSource {
 public:
  /// Takes the signal for itself; `flags` are those of sigaction.
  SignalSource(int signal, int flags);

 protected:
  /// To be called on serving: what comes from now on is another event.
  void take() const noexcept;
};

}  // namespace velto
