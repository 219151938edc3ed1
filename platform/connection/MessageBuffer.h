// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace velto {

/// Cuts a stream of bytes into messages, each ended by a NUL. Bytes are looked at once, however
/// small the portions they arrive in, and copied only when they have to wait for later ones;
/// nothing is held while no bytes wait. One thread at a time.
class MessageBuffer {
 public:
  /// Takes the bytes that follow. They are only borrowed: `keep` has to be called before they go.
  /// This one and `keep` throw std::bad_alloc, after which only the size may be asked for.
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
  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }
  };
  /// Grown by realloc, which moves the pages of a long message instead of copying it: twice its
  /// length would be in memory otherwise.
  using Bytes = std::unique_ptr<char[], Free>;

  void setCapacity(std::size_t capacity);

  Bytes kept_;
  std::size_t capacity_ = 0;
  std::string_view pending_;  ///< within `kept_` or the bytes borrowed
  std::size_t scanned_ = 0;   ///< how much of `pending_` is known to hold no NUL
};

}  // namespace velto
