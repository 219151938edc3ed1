// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

/// Cuts a stream of bytes into messages, each ended by a NUL. Bytes are looked at once, however
/// small the portions they arrive in, and copied only when they have to wait for later ones;
/// nothing is held while no bytes wait. One thread at a time.
class MessageBuffer {
 public:
  /// Takes the bytes that follow. They are only borrowed: `keep` has to be called before they go.
  void add(std::string_view bytes);

  /// The next complete message, without its NUL; valid until `keep` or `add`. Nothing when there is
  /// no complete one.
  std::optional<std::string_view> next();

  /// The message that was given last comes again; before anything else is asked of the buffer.
  void putBack(std::string_view message);

  /// Makes what has been added and not yet been given out the buffer's own.
  void keep();

  /// How many bytes wait.
  std::size_t size() const { return pending_.size(); }

 private:
  std::string kept_;
  std::string_view pending_;  ///< within `kept_` or the bytes borrowed
  std::size_t scanned_ = 0;   ///< how much of `pending_` is known to hold no NUL
};

}  // namespace velto
