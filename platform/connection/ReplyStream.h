// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace velto {

/// A reply without an end: the parameters of one message after the other, as there is something to
/// tell, until the client hangs up or the service stops. While it has nothing to tell it costs no
/// thread. The connection asks for the next part when the client has taken those before it, one
/// thread at a time; it destroys the stream with itself, after the exported object's calls, and
/// possibly while another thread is about to rouse it, which the stream has to see to.
class ReplyStream {
 public:
  /// Whoever has the stream. Lives as long as the stream.
  class Listener {
   public:
    virtual ~Listener() = default;
    /// There is something to tell. Any thread, also while the stream is asked.
    virtual void rouse() noexcept = 0;
  };

  enum class Part : std::uint8_t {
    kNone,   ///< nothing was appended: there is nothing to tell yet
    kMore,   ///< the message goes on with the next part
    kWhole,  ///< the message is whole
  };

  virtual ~ReplyStream() = default;

  /// Appends the next part of a message's parameters, a JSON object. After kNone the stream rouses
  /// its listener once there is something to tell; before, it need not.
  virtual Part append(std::string& text) = 0;
  /// Called before the first part is asked for, unless nobody waits for a second message.
  virtual void setListener(Listener& listener) = 0;
};

}  // namespace velto
