// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include <velto/Error.h>
#include <velto/Monitor.h>
#include <velto/api.h>

namespace velto::alerts {

/// Follows the service's changes as they come; `Client::follow` makes one. It has a connection of
/// its own and outlives the client. When that connection is lost it is not made anew, since changes
/// may have been missed meanwhile: read what is of interest again, and follow anew.
///
/// One thread at a time, but for `close`, which any thread may call while the object lives.
class VELTO_API Follower {
 public:
  ~Follower();
  Follower(Follower&& other) noexcept;
  Follower& operator=(Follower&& other) noexcept;

  /// Waits for the next changes, as long as it takes or so long. The first ones come at once,
  /// without events. kTimedOut leaves everything as it is, and the next changes may be waited for
  /// again; any other error is the end of this object's use.
  Outcome<Changes> next(std::optional<std::chrono::milliseconds> timeLimit = {});

  /// To be polled: readable when there is something to read, or `close` was called. Then call
  /// `next` with a limit of 0 until it has timed out. Owned by this object.
  int descriptor() const;

  /// Ends a `next` that waits, and all later ones, with kClosed.
  void close();

 private:
  friend class Client;
  struct VELTO_INNER Parts;
  VELTO_INNER explicit Follower(std::unique_ptr<Parts> parts);

  std::unique_ptr<Parts> parts_;
};

}  // namespace velto::alerts
