#pragma once

#include <memory>

namespace velto {

/// Waits for events and serves them, for ever. Calls are served on the thread that found them
/// ready; as long as all threads are inside calls, another thread takes over the waiting, so a call
/// that takes minutes holds up nobody. Threads that find nothing to do for a while end again.
class RunLoop {
 public:
  /// Ends the process when the system has no means to wait for events.
  RunLoop() noexcept;
  ~RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  /// Serves until `stop`. Called by one thread.
  void run();
  /// Makes `run` return once the calls under way have ended. Any thread. For tests: the daemon has
  /// no way to stop of its own.
  void stop();

  class Implementation;
  Implementation& implementation() { return *implementation_; }

 private:
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace velto
